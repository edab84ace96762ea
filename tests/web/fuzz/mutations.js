// SPDX-License-Identifier: GPL-3.0-or-later
/** Damaged files of Gaussians, each made from a small good one by the numbers that it is given. */
import { gunzipSync, gzipSync } from "node:zlib";
import { createSpz } from "../../support/adobe_spz.js";
import { sogFile, sogParts, zipFile } from "../support/sog_files.js";
import { cloud, ksplatFile, plyFile, spz4File, splatFile, spzFile } from "../support/splat_files.js";

/** @typedef {"ply" | "splat" | "spz" | "spz4" | "sog" | "ksplat"} Format */

export class Random {
    #state;

    /** @param {number} seed */
    constructor(seed) {
        this.#state = seed | 0;
    }

    /**
     * @param {number} end
     * @returns {number} a whole number from 0, less than the end
     */
    below(end) {
        this.#state = (this.#state + 0x9e3779b9) | 0;
        let mixed = Math.imul(this.#state ^ (this.#state >>> 16), 0x21f0aaad);
        mixed = Math.imul(mixed ^ (mixed >>> 15), 0x735a2d97);
        return Math.floor((((mixed ^ (mixed >>> 15)) >>> 0) / 2 ** 32) * end);
    }

    /**
     * @template T
     * @param {readonly T[]} values
     * @returns {T}
     */
    of(values) {
        return values[this.below(values.length)];
    }
}

/** @type {import("../support/splat_files.js").Gaussian[]} */
const kGaussians = [
    { center: [0, 0, 0], scale: 0.06, color: [1, 0, 0] },
    { center: [0.2, 0.2, 0.5], scale: 0.06, color: [0, 1, 0], opacity: 0.5 },
    { center: [-0.25, -0.15, 0.5], scale: [0.1, 0.2, 0.3], color: [0, 0, 1] },
];
/** Gaussians in every good file. */
export const kGoodCount = kGaussians.length;
const kChunk = ["x", "y", "z", "scale_x", "scale_y", "scale_z"];
const kPacked = ["packed_position", "packed_rotation", "packed_scale", "packed_color"];

/** @returns {Buffer} the compressed form of PLY files */
function packedPly() {
    const bounds = ["min", "max"].flatMap((end) => kChunk.map((name) => `${end}_${name}`));
    const chunk = bounds.map((name) => `property float ${name}`);
    const vertex = kPacked.map((name) => `property uint ${name}`);
    const header = [
        "ply", "format binary_little_endian 1.0", "element chunk 1", ...chunk,
        `element vertex ${kGoodCount}`, ...vertex, "end_header\n",
    ];
    const body = Buffer.alloc(4 * (chunk.length + kGoodCount * vertex.length), 0x3f);
    return Buffer.concat([Buffer.from(header.join("\n")), body]);
}

/** @returns {Buffer} with lists beside the Gaussians */
function listPly() {
    const plain = plyFile(kGaussians);
    const end = plain.indexOf("end_header");
    const more = "element face 2\nproperty list uchar int vertex_indices\n";
    const faces = Buffer.from([1, 0, 0, 0, 0, 2, 1, 0, 0, 0, 2, 0, 0, 0]);
    return Buffer.concat([plain.subarray(0, end), Buffer.from(more), plain.subarray(end), faces]);
}

/** @type {Record<Format, readonly Buffer[]>} */
export const kGood = {
    ply: [
        plyFile(kGaussians),
        plyFile(kGaussians, { camera: true }),
        plyFile(kGaussians, { degree: 1 }),
        packedPly(),
        listPly(),
    ],
    splat: [splatFile(kGaussians)],
    spz: [spzFile(kGaussians)],
    spz4: [spz4File(kGaussians)],
    sog: [
        sogFile(kGaussians),
        sogFile(kGaussians, { version: 1, degree: 1 }),
        sogFile(kGaussians, { degree: 3, isPacked: true, folder: "a/" }),
    ],
    ksplat: [ksplatFile(kGaussians)],
};

/** @returns {Promise<Buffer>} SPZ of version 4, by all means of Zstandard */
async function packedSpz4() {
    const spz = await createSpz();
    const count = 2000;
    const wave = (/** @type {number} */ size) =>
        Float32Array.from({ length: size * count }, (_, i) => Math.sin(i / 3) + Math.sin(i * i));
    const cloud = {
        numPoints: count, shDegree: 1, antialiased: false, extensions: [], positions: wave(3),
        scales: wave(3), rotations: wave(4), alphas: wave(1), colors: wave(3), sh: wave(9),
    };
    const options = { version: 4, from: spz.CoordinateSystem.UNSPECIFIED, sh1Bits: 5, shRestBits: 4 };
    return Buffer.from(spz.saveSpzToBuffer(cloud, /** @type {any} */ (options)));
}
/** More to start from. @type {Partial<Record<Format, readonly Buffer[]>>} */
const kSeeds = { spz4: [await packedSpz4()] };

const kNumbers = [
    0, 1, 2, 3, 4, 7, 12, 24, 44, 127, 128, 255, 256, 1000, 4096, 65535, 65536, 1e6, 1 << 24, 1e8,
    2 ** 31 - 1, 2 ** 31, 2 ** 32 - 4096, 2 ** 32 - 1, 0x7fc00000, 0x7f800000, 0x3f800000,
];
const kTexts = [
    "", "-1", "0", "1", "2", "3", "4", "255", "257", "1000", "1000000", "100000000", "4294967295",
    "99999999999999999999", "1e9", "1e999", "NaN", "Infinity", "0x7fffffff", "2.5", "three", "-0",
];
const kTypes = [
    "char", "uchar", "short", "ushort", "int", "uint", "float", "double", "float32", "list", "",
    "constructor", "toString", "__proto__",
];
const kNames = [
    "x", "y", "z", "f_dc_0", "opacity", "scale_0", "rot_0", "f_rest_0", "f_rest_8", "f_rest_99",
    "red", "alpha", "packed_position", "min_x", "vertex", "chunk", "sh", "name", "length", "7",
    "__proto__", "constructor", "a'b", "",
];

/**
 * @param {Random} random
 * @returns {string}
 */
function headerLine(random) {
    return random.of([
        `element ${random.of(kNames)} ${random.of(kTexts)}`,
        `property ${random.of(kTypes)} ${random.of(kNames)}`,
        `property list ${random.of(kTypes)} ${random.of(kTypes)} ${random.of(kNames)}`,
        `format ${random.of(["binary_big_endian", "binary_little_endian", "ascii"])} 1.0`,
        `comment ${"\u00e9".repeat(random.below(90))}`,
        "end_header",
        "ply",
        "",
    ]);
}

/**
 * @param {Buffer} file
 * @param {Random} random
 * @returns {Buffer}
 */
function otherHeader(file, random) {
    const end = Math.max(0, file.indexOf("end_header\n"));
    const lines = file.subarray(0, end).toString("latin1").split("\n");
    const at = random.below(lines.length);
    const words = lines[at].split(" ");
    const change = random.below(7);
    if (change === 0) lines.splice(at, 1);
    if (change === 1) lines.splice(at, 0, lines[random.below(lines.length)]);
    if (change === 2) lines.splice(at, 0, headerLine(random));
    if (change === 3) lines[at] = headerLine(random);
    if (change === 4) {
        words[random.below(words.length)] = random.of([...kTexts, ...kTypes, ...kNames]);
    }
    if (change === 5 && words[0] === "element") words[2] = random.of(kTexts);
    if (change === 6 && words[0] === "property") words[1] = random.of(kTypes);
    if (change > 3) lines[at] = words.join(" ");
    const text = Buffer.from(lines.join("\n"), random.below(8) === 0 ? "utf8" : "latin1");
    return Buffer.concat([text, file.subarray(end)]);
}

/**
 * @param {Buffer} file
 * @param {Random} random
 * @param {number} header bytes in which numbers are more often changed than elsewhere
 * @returns {Buffer}
 */
function otherBytes(file, random, header) {
    if (file.length === 0) return file;
    const changed = Buffer.from(file);
    const near = random.below(3) > 0 ? Math.min(header, file.length) : file.length;
    const at = random.below(near);
    const [from, to] = [random.below(file.length), random.below(file.length)].sort((a, b) => a - b);
    switch (random.below(8)) {
        case 0:
            return file.subarray(0, at);
        case 1:
            changed[at] ^= 1 << random.below(8);
            return changed;
        case 2:
            changed[at] = random.below(256);
            return changed;
        case 3:
        case 4: {
            const place = at & ~3;
            if (place + 4 <= file.length) changed.writeUInt32LE(random.of(kNumbers), place);
            return changed;
        }
        case 5:
            return Buffer.concat([file.subarray(0, from), file.subarray(to)]);
        case 6:
            return Buffer.concat([file.subarray(0, to), file.subarray(from)]);
        default:
            return Buffer.concat([file, Buffer.alloc(random.below(70), random.below(256))]);
    }
}

/**
 * @param {Buffer} file
 * @param {Random} random
 * @returns {Buffer}
 */
function otherSpz(file, random) {
    if (random.below(8) === 0) return otherBytes(file, random, 10);
    /** @type {Buffer} */
    let content = gunzipSync(file);
    for (let i = random.below(3); i >= 0; --i) content = otherBytes(content, random, 16);
    const packed = gzipSync(content);
    const name = Buffer.from("name\0".repeat(random.below(20)));
    if (random.below(8) > 0 || name.length === 0) return packed;
    packed[3] |= 8;
    return Buffer.concat([packed.subarray(0, 10), name, packed.subarray(10)]);
}

const kValues = [0, 1, -1, 2, 3, 4, 15, 64, 300, 1e6, 2 ** 32, 1e300, 0.5, null, true, "a", "", [], {}];

/**
 * Changes something somewhere in a value as JSON has it.
 * @param {any} value
 * @param {Random} random
 * @returns {any}
 */
function otherJson(value, random) {
    if (typeof value !== "object" || value === null || random.below(5) === 0) {
        return random.of(kValues);
    }
    const key = random.of(Object.keys(value));
    if (key === undefined) return random.of(kValues);
    const changed = Array.isArray(value) ? [...value] : { ...value };
    if (random.below(4) === 0) delete (/** @type {any} */ (changed)[key]);
    else /** @type {any} */ (changed)[key] = otherJson(value[key], random);
    return changed;
}

/**
 * @param {Random} random
 * @returns {Buffer} a SOG file that was damaged before it was put together
 */
function otherSog(random) {
    const version = random.of(/** @type {const} */ ([1, 2]));
    const degree = random.of(/** @type {const} */ ([0, 1, 2, 3]));
    const parts = sogParts(random.below(3) > 0 ? kGaussians : cloud(70), { version, degree });
    let { meta } = parts;
    const isMeta = random.below(2) === 0;
    for (let i = random.below(3); isMeta && i >= 0; --i) meta = otherJson(meta, random);
    /** @type {Record<string, Buffer>} */
    const files = { "meta.json": Buffer.from(JSON.stringify(meta)), ...parts.pictures };
    if (!isMeta) {
        const name = random.of(Object.keys(files));
        files[name] = otherBytes(files[name], random, 40);
    }
    return zipFile(files, { isPacked: random.below(3) === 0 });
}

/** Where most of the numbers are, if not in the first 64 bytes. */
const kHeaders = /** @type {Partial<Record<Format, number>>} */ ({ spz4: 160, sog: 1000 });

/**
 * @param {Format} format
 * @param {number} seed
 * @returns {{ bytes: Buffer, name: string }}
 */
export function damaged(format, seed) {
    const random = new Random(seed);
    if (format === "sog" && random.below(3) > 0) return { bytes: otherSog(random), name: "a.sog" };
    let bytes = random.of([...kGood[format], ...(kSeeds[format] ?? [])]);
    for (let i = random.below(4); i >= 0; --i) {
        if (format === "spz" && i === 0) bytes = otherSpz(kGood.spz[0], random);
        else if (format === "ply" && random.below(3) > 0) bytes = otherHeader(bytes, random);
        else if (format === "ksplat") bytes = otherKsplat(bytes, random);
        else if (format !== "spz") bytes = otherBytes(bytes, random, kHeaders[format] ?? 64);
    }
    const others = ["ply", "SPZ", "splat", "ksplat", "sog", ""];
    const ending = random.below(20) > 0 ? format : random.of(others);
    return { bytes, name: `a.${ending}` };
}

/**
 * @param {Buffer} file
 * @param {Random} random
 * @returns {Buffer}
 */
function otherKsplat(file, random) {
    const part = random.of([0, 4096]);
    if (random.below(4) === 0 || file.length < part + 48) return otherBytes(file, random, 48);
    const end = otherBytes(file.subarray(part), random, 48);
    return Buffer.concat([file.subarray(0, part), end]);
}
