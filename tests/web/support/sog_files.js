// SPDX-License-Identifier: GPL-3.0-or-later
/** SOG files made of a few Gaussians: zip archives of lossless WebP pictures. */
import { deflateRawSync } from "node:zlib";
import { crc32 } from "../../../web/src/gzip.js";

/** @typedef {import("./splat_files.js").Gaussian} Gaussian */

const kShDc = 0.28209478;
const kWidth = 4;

/** Bits in the order in which WebP has them: the lowest of a byte first. */
class Bits {
    /** @type {number[]} */
    #bits = [];

    /**
     * @param {number} value
     * @param {number} count of bits, the lowest first
     */
    put(value, count) {
        for (let i = 0; i < count; ++i) this.#bits.push((value >>> i) & 1);
    }

    /** @param {number} value of a byte whose code is the byte itself; codes start with their highest bit */
    putCode(value) {
        for (let i = 7; i >= 0; --i) this.#bits.push((value >>> i) & 1);
    }

    bytes() {
        const bytes = Buffer.alloc(Math.ceil(this.#bits.length / 8));
        this.#bits.forEach((bit, i) => (bytes[i >> 3] |= bit << (i & 7)));
        return bytes;
    }
}

/**
 * Puts a table of codes of which the first 256 are as long as the byte that they stand for.
 * @param {Bits} bits
 * @param {number} size of the alphabet
 */
function putByteCodes(bits, size) {
    bits.put(0, 1); // not one of the short tables
    bits.put(8, 4); // twelve lengths of the lengths' codes: those of 17, 18, 0, 1 to 5, 16, 6, 7, 8
    for (let i = 0; i < 12; ++i) bits.put(i === 2 || i === 11 ? 1 : 0, 3);
    bits.put(0, 1); // all of the alphabet follows
    for (let symbol = 0; symbol < size; ++symbol) bits.put(symbol < 256 ? 1 : 0, 1);
}

/**
 * @param {number} width
 * @param {number} height
 * @param {number[]} rgba of the pixels, row by row from the top
 * @returns {Buffer} a lossless WebP file
 */
export function webpFile(width, height, rgba) {
    const bits = new Bits();
    bits.put(0x2f, 8);
    bits.put(width - 1, 14);
    bits.put(height - 1, 14);
    bits.put(1, 4); // with opacities, version 0
    bits.put(0, 3); // no transform, no cache of colours, one set of tables
    for (const size of [280, 256, 256, 256]) putByteCodes(bits, size);
    bits.put(1, 4); // distances have one code, for 0
    for (let at = 0; at < 4 * width * height; at += 4) {
        for (const i of [1, 0, 2, 3]) bits.putCode(rgba[at + i]);
    }
    const data = bits.bytes();
    const padded = Buffer.concat([data, Buffer.alloc(data.length & 1)]);
    const header = Buffer.from("RIFF....WEBPVP8L....");
    header.writeUInt32LE(12 + padded.length, 4);
    header.writeUInt32LE(data.length, 16);
    return Buffer.concat([header, padded]);
}

/**
 * @param {Record<string, Buffer>} files by their names
 * @param {{ isPacked?: boolean }} [options]
 * @returns {Buffer} a zip archive
 */
export function zipFile(files, { isPacked = false } = {}) {
    const parts = [];
    const directory = [];
    let at = 0;
    for (const [name, content] of Object.entries(files)) {
        const data = isPacked ? deflateRawSync(content) : content;
        const entry = Buffer.alloc(46);
        entry.writeUInt32LE(0x02014b50, 0);
        entry.writeUInt16LE(20, 6);
        entry.writeUInt16LE(isPacked ? 8 : 0, 10);
        entry.writeUInt32LE(crc32(content), 16);
        entry.writeUInt32LE(data.length, 20);
        entry.writeUInt32LE(content.length, 24);
        entry.writeUInt16LE(Buffer.byteLength(name), 28);
        entry.writeUInt32LE(at, 42);
        const header = Buffer.concat([Buffer.from("PK\x03\x04"), entry.subarray(6, 32)]);
        parts.push(header, Buffer.from(name), data);
        directory.push(entry, Buffer.from(name));
        at += header.length + Buffer.byteLength(name) + data.length;
    }
    const entries = Buffer.concat(directory);
    const end = Buffer.alloc(22);
    end.writeUInt32LE(0x06054b50, 0);
    end.writeUInt16LE(directory.length / 2, 8);
    end.writeUInt16LE(directory.length / 2, 10);
    end.writeUInt32LE(entries.length, 12);
    end.writeUInt32LE(at, 16);
    return Buffer.concat([...parts, entries, end]);
}

/**
 * @param {number} from
 * @param {number} to
 */
function table(from, to) {
    return Array.from({ length: 256 }, (_, i) => from + ((to - from) * i) / 255);
}

/**
 * @param {number} value
 * @param {number} from
 * @param {number} to
 * @param {number} [most]
 */
function place(value, from, to, most = 255) {
    return Math.max(0, Math.min(most, Math.round(((value - from) / (to - from)) * most)));
}

/** @param {number} value */
function logarithm(value) {
    return Math.sign(value) * Math.log(1 + Math.abs(value));
}

/**
 * @typedef {object} SogOptions
 * @property {1 | 2} [version]
 * @property {0 | 1 | 2 | 3} [degree] of the harmonics, which each Gaussian has for itself
 */

/**
 * @param {Gaussian[]} gaussians
 * @param {SogOptions} [options]
 * @returns {{ meta: any, pictures: Record<string, Buffer> }} what is in a SOG file
 */
export function sogParts(gaussians, { version = 2, degree = 0 } = {}) {
    const count = gaussians.length;
    const height = Math.ceil(count / kWidth);
    const picture = (/** @type {(gaussian: Gaussian, i: number) => number[]} */ pixel) => {
        const rgba = gaussians.flatMap(pixel);
        return webpFile(kWidth, height, [...rgba, ...new Array(4 * kWidth).fill(0)]);
    };
    const [low, high, scale, colour] = [-3, 3, [-8, 1], [-2, 2]];
    const words = gaussians.map(({ center }) =>
        center.map((value) => place(logarithm(value), low, high, 65535)),
    );
    const logScales = (/** @type {Gaussian} */ { scale: s }) => (typeof s === "number" ? [s, s, s] : s).map(Math.log);
    const opacity = (/** @type {Gaussian} */ { opacity: o = 1 }) =>
        version === 2 ? Math.round(255 * o) : place(Math.log(o / (1.0001 - o)), -12, 12);
    /** @type {Record<string, Buffer>} */
    const pictures = {
        "means_l.webp": picture((_, i) => [...words[i].map((word) => word & 255), 255]),
        "means_u.webp": picture((_, i) => [...words[i].map((word) => word >> 8), 255]),
        "scales.webp": picture((g) => [
            ...logScales(g).map((value) => place(value, scale[0], scale[1])),
            255,
        ]),
        "quats.webp": picture(() => [128, 128, 128, 252]),
        "sh0.webp": picture((g) => [
            ...g.color.map((value) => place((value - 0.5) / kShDc, colour[0], colour[1])),
            opacity(g),
        ]),
    };
    const ends = (/** @type {number[]} */ from, /** @type {number[]} */ to) => ({
        mins: from,
        maxs: to,
        shape: [count, from.length],
    });
    const three = (/** @type {number} */ value) => [value, value, value];
    const means = { ...ends(three(low), three(high)), files: ["means_l.webp", "means_u.webp"] };
    const files = (/** @type {string} */ name) => ({ files: [`${name}.webp`] });
    /** @type {any} */
    const meta =
        version === 2
            ? {
                  version,
                  count,
                  means,
                  scales: { codebook: table(scale[0], scale[1]), ...files("scales") },
                  quats: files("quats"),
                  sh0: { codebook: table(colour[0], colour[1]), ...files("sh0") },
              }
            : {
                  means,
                  scales: { ...ends(three(scale[0]), three(scale[1])), ...files("scales") },
                  quats: { shape: [count, 4], encoding: "quaternion_packed", ...files("quats") },
                  sh0: { ...ends([...three(colour[0]), -12], [...three(colour[1]), 12]), ...files("sh0") },
              };
    if (degree > 0) addHarmonics(gaussians, { meta, pictures, degree });
    return { meta, pictures };
}

/**
 * @param {Gaussian[]} gaussians
 * @param {{ meta: any, pictures: Record<string, Buffer>, degree: number }} sog
 */
function addHarmonics(gaussians, { meta, pictures, degree }) {
    const coefficients = (degree + 1) ** 2 - 1;
    const count = gaussians.length;
    const rows = Math.ceil(count / 64);
    const palette = new Array(4 * 64 * coefficients * rows).fill(0);
    gaussians.forEach(({ harmonics = [] }, i) => {
        for (let k = 0; k < coefficients; ++k) {
            const at = 4 * (i * coefficients + k);
            for (const c of [0, 1, 2]) {
                palette[at + c] = place(harmonics[c * coefficients + k] ?? 0, -1, 1);
            }
            palette[at + 3] = 255;
        }
    });
    pictures["shN_centroids.webp"] = webpFile(64 * coefficients, rows, palette);
    const labels = gaussians.flatMap((_, i) => [i & 255, i >> 8, 0, 255]);
    const height = Math.ceil(count / kWidth);
    const spare = new Array(4 * kWidth).fill(0);
    pictures["shN_labels.webp"] = webpFile(kWidth, height, [...labels, ...spare]);
    const files = ["shN_centroids.webp", "shN_labels.webp"];
    meta.shN =
        meta.version === 2
            ? { count, bands: degree, codebook: table(-1, 1), files }
            : { shape: [count, 3 * coefficients], mins: -1, maxs: 1, files };
}

/**
 * @param {Gaussian[]} gaussians
 * @param {SogOptions & { folder?: string, isPacked?: boolean }} [options]
 * @returns {Buffer}
 */
export function sogFile(gaussians, { folder = "", isPacked = false, ...options } = {}) {
    const { meta, pictures } = sogParts(gaussians, options);
    const files = Object.entries({ "meta.json": Buffer.from(JSON.stringify(meta)), ...pictures });
    return zipFile(
        Object.fromEntries(files.map(([name, content]) => [`${folder}${name}`, content])),
        { isPacked },
    );
}
