// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Splat files made of a few Gaussians, in every format that the viewer opens.
 */
import { gzipSync } from "node:zlib";

/**
 * @typedef {object} Gaussian
 * @property {[number, number, number]} center world units
 * @property {number | [number, number, number]} scale standard deviations, world units
 * @property {[number, number, number]} color sRGB, 0..1
 * @property {number} [opacity] 0..1, 1 when absent
 * @property {number[]} [harmonics] of the file's degree: red's coefficients, green's, blue's
 */

/** @typedef {[number, number, number]} Three */

const kShDc = 0.28209478;

/**
 * @param {Gaussian} gaussian
 * @returns {[number, number, number]}
 */
function scales({ scale }) {
    return typeof scale === "number" ? [scale, scale, scale] : scale;
}

/**
 * @param {Gaussian} gaussian
 * @returns {number}
 */
function logit({ opacity = 1 }) {
    const o = Math.min(0.999999, Math.max(1e-6, opacity));
    return Math.log(o / (1 - o));
}

/**
 * A hilly surface of many small Gaussians, as the program makes them of a photograph, with a fainter
 * one behind it.
 * @param {number} side columns and rows of each surface
 * @returns {Gaussian[]}
 */
export function relief(side) {
    return Array.from({ length: 2 * side * side }, (_, i) => {
        const layer = Math.floor(i / (side * side));
        const u = ((i % side) + 0.5) / side - 0.5;
        const v = ((Math.floor(i / side) % side) + 0.5) / side - 0.5;
        const depth = 3 + layer + 0.6 * Math.sin(9 * u) * Math.cos(7 * v);
        const size = (0.7 * depth) / side;
        return {
            center: [u * depth * 0.9, v * depth * 0.9, depth - 3],
            scale: [size, size, size / 3],
            color: [
                0.5 + 0.28 * Math.sin(20 * u),
                0.5 + 0.28 * Math.cos(15 * v),
                0.5 + 0.28 * Math.sin(30 * (u + v)),
            ],
            opacity: layer === 0 ? 0.92 : 0.6,
        };
    });
}

/**
 * Gaussians of all sizes around the origin, whose colours depend on where they are seen from.
 * @param {number} count
 * @returns {Gaussian[]} with harmonics of degree 3
 */
export function cloud(count) {
    const wave = (/** @type {number} */ i, /** @type {number} */ k) => Math.sin(i * k + k * k);
    return Array.from({ length: count }, (_, i) => ({
        center: [1.1 * wave(i, 1.7), 0.9 * wave(i, 2.9), 1.1 * wave(i, 0.61)],
        scale: /** @type {Three} */ ([3, 5, 7].map((k) => 0.02 * Math.exp(1.2 * wave(i, k)))),
        color: /** @type {Three} */ ([11, 13, 19].map((k) => 0.5 + 0.4 * wave(i, k))),
        opacity: 0.55 + 0.44 * wave(i, 2.3),
        harmonics: Array.from({ length: 45 }, (_, k) => 0.15 * wave(i, 1 + k / 7)),
    }));
}

/** The elements that the program's own files carry beside the Gaussians. */
const kCameraElements = /** @type {const} */ ([
    ["extrinsic", 16, "float"],
    ["intrinsic", 9, "float"],
    ["image_size", 2, "uint"],
    ["frame", 2, "int"],
    ["disparity", 2, "float"],
    ["color_space", 1, "uchar"],
    ["version", 3, "uchar"],
]);

/**
 * @param {Gaussian[]} gaussians
 * @param {{ camera?: boolean, count?: number, degree?: 0 | 1 | 2 | 3 }} [options] camera: with the
 *     seven camera elements; count: what the header claims, if not the truth; degree: with
 *     spherical harmonics of that degree; Gaussians without any have a red that depends on the
 *     viewing direction's y
 * @returns {Buffer}
 */
export function plyFile(gaussians, { camera = false, count = gaussians.length, degree = 0 } = {}) {
    const rest = 3 * ((degree + 1) ** 2 - 1);
    const names = ["x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2"];
    for (let i = 0; i < rest; ++i) names.push(`f_rest_${i}`);
    names.push("opacity", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3");
    const lines = ["ply", "format binary_little_endian 1.0", `element vertex ${count}`];
    for (const name of names) lines.push(`property float ${name}`);
    if (camera) {
        for (const [name, size, type] of kCameraElements) {
            lines.push(`element ${name} ${size}`, `property ${type} ${name}`);
        }
    }
    const header = Buffer.from(lines.join("\n") + "\nend_header\n");
    const vertices = new Float32Array(gaussians.length * names.length);
    gaussians.forEach((gaussian, index) => {
        const record = [
            ...gaussian.center,
            ...gaussian.color.map((c) => (c - 0.5) / kShDc),
            ...(gaussian.harmonics ?? [0.5, ...new Array(rest).fill(0)]).slice(0, rest),
            logit(gaussian),
            ...scales(gaussian).map((s) => Math.log(s)),
            1, 0, 0, 0,
        ];
        vertices.set(record, index * names.length);
    });
    const body = Buffer.from(vertices.buffer);
    const end = camera ? cameraElements(gaussians.length) : Buffer.alloc(0);
    return Buffer.concat([header, body, end]);
}

/**
 * @param {number} count of Gaussians
 * @returns {Buffer}
 */
function cameraElements(count) {
    const extrinsic = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];
    const intrinsic = [1000, 0, 320, 0, 1000, 240, 0, 0, 1];
    return Buffer.concat([
        Buffer.from(new Float32Array([...extrinsic, ...intrinsic]).buffer),
        Buffer.from(new Uint32Array([640, 480]).buffer),
        Buffer.from(new Int32Array([1, count]).buffer),
        Buffer.from(new Float32Array([0.1, 1]).buffer),
        Buffer.from([1, 1, 5, 0]),
    ]);
}

/** @param {number} value 0..1 */
function byte(value) {
    return Math.max(0, Math.min(255, Math.round(value * 255)));
}

/**
 * 32 bytes a Gaussian: position, scale, colour with opacity, quaternion w, x, y, z.
 * @param {Gaussian[]} gaussians
 * @returns {Buffer}
 */
export function splatFile(gaussians) {
    const file = Buffer.alloc(32 * gaussians.length);
    gaussians.forEach((gaussian, index) => {
        const at = 32 * index;
        [...gaussian.center, ...scales(gaussian)].forEach((value, i) => {
            file.writeFloatLE(value, at + 4 * i);
        });
        [...gaussian.color, gaussian.opacity ?? 1].forEach((value, i) => {
            file.writeUInt8(byte(value), at + 24 + i);
        });
        file.set([255, 128, 128, 128], at + 28);
    });
    return file;
}

/**
 * @param {Gaussian[]} gaussians
 * @param {number} version
 * @returns {{ header: Buffer, streams: Buffer[] }} an SPZ file's first 16 bytes and its arrays, one
 *     for each attribute
 */
function spzParts(gaussians, version) {
    const kFractionalBits = 12;
    const count = gaussians.length;
    const header = Buffer.alloc(16);
    header.write("NGSP", 0, "latin1");
    header.writeUInt32LE(version, 4);
    header.writeUInt32LE(count, 8);
    header.writeUInt8(0, 12);
    header.writeUInt8(kFractionalBits, 13);
    const positions = Buffer.alloc(9 * count);
    const alphas = Buffer.alloc(count);
    const colors = Buffer.alloc(3 * count);
    const logScales = Buffer.alloc(3 * count);
    // Nothing is turned: x, y and z are 0, or the three smaller ones, of which w is none.
    const rotations =
        version < 3 ? Buffer.alloc(3 * count, 128) : Buffer.alloc(4 * count, "000000c0", "hex");
    gaussians.forEach((gaussian, index) => {
        gaussian.center.forEach((value, i) => {
            const fixed = Math.round(value * 2 ** kFractionalBits);
            positions.writeIntLE(fixed, 9 * index + 3 * i, 3);
        });
        alphas.writeUInt8(byte(gaussian.opacity ?? 1), index);
        gaussian.color.forEach((value, i) => {
            colors.writeUInt8(byte(((value - 0.5) / kShDc) * 0.15 + 0.5), 3 * index + i);
        });
        scales(gaussian).forEach((value, i) => {
            logScales.writeUInt8(Math.round((Math.log(value) + 10) * 16), 3 * index + i);
        });
    });
    return { header, streams: [positions, alphas, colors, logScales, rotations] };
}

/**
 * Version 2: gzip over a 16-byte header and one array for each attribute.
 * @param {Gaussian[]} gaussians
 * @returns {Buffer}
 */
export function spzFile(gaussians) {
    const { header, streams } = spzParts(gaussians, 2);
    return gzipSync(Buffer.concat([header, ...streams]));
}

/**
 * @param {Buffer} content of less than 256 bytes or of up to 64 kB
 * @returns {Buffer} a frame of Zstandard with the content as it is, in one block
 */
export function storedZstd(content) {
    const { length } = content;
    const size = length < 256 ? [0x20, length] : [0x60, (length - 256) & 255, (length - 256) >> 8];
    const block = 1 | (length << 3);
    const header = [0x28, 0xb5, 0x2f, 0xfd, ...size, block & 255, (block >> 8) & 255, block >> 16];
    return Buffer.concat([Buffer.from(header), content]);
}

/**
 * @param {Buffer} header of 16 bytes
 * @param {{ packed: Buffer, size: number }[]} streams frames, and what is to come out of each
 * @returns {Buffer} an SPZ file of version 4
 */
export function spz4Of(header, streams) {
    const start = Buffer.alloc(32 + 16 * streams.length);
    header.copy(start);
    start.writeUInt8(streams.length, 15);
    start.writeUInt32LE(32, 16);
    streams.forEach(({ packed, size }, i) => {
        start.writeBigUInt64LE(BigInt(packed.length), 32 + 16 * i);
        start.writeBigUInt64LE(BigInt(size), 40 + 16 * i);
    });
    return Buffer.concat([start, ...streams.map(({ packed }) => packed)]);
}

/**
 * Version 4: a frame of Zstandard for each attribute; nothing is packed in it.
 * @param {Gaussian[]} gaussians
 * @returns {Buffer}
 */
export function spz4File(gaussians) {
    const { header, streams } = spzParts(gaussians, 4);
    return spz4Of(
        header,
        streams.map((stream) => ({ packed: storedZstd(stream), size: stream.length })),
    );
}

/**
 * Version 0.1, uncompressed, one section.
 * @param {Gaussian[]} gaussians
 * @returns {Buffer}
 */
export function ksplatFile(gaussians) {
    const kHeader = 4096;
    const kSection = 1024;
    const kRecord = 44;
    const count = gaussians.length;
    const file = Buffer.alloc(kHeader + kSection + kRecord * count);
    file.writeUInt8(0, 0);
    file.writeUInt8(1, 1);
    file.writeUInt32LE(1, 4); // sections that there is room for
    file.writeUInt32LE(1, 8); // sections
    file.writeUInt32LE(count, 12);
    file.writeUInt32LE(count, 16);
    file.writeUInt16LE(0, 20); // not compressed
    file.writeUInt32LE(count, kHeader);
    file.writeUInt32LE(count, kHeader + 4);
    gaussians.forEach((gaussian, index) => {
        const at = kHeader + kSection + kRecord * index;
        [...gaussian.center, ...scales(gaussian), 1, 0, 0, 0].forEach((value, i) => {
            file.writeFloatLE(value, at + 4 * i);
        });
        [...gaussian.color, gaussian.opacity ?? 1].forEach((value, i) => {
            file.writeUInt8(byte(value), at + 40 + i);
        });
    });
    return file;
}
