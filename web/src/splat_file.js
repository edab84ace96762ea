// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * What a file of Gaussians says about itself, compared with what it holds. Spark trusts the header:
 * it allocates memory for as many Gaussians as that claims, and reads as many records.
 *
 * @typedef {"ply" | "spz" | "spz4" | "splat" | "ksplat" | "zip"} Format
 */
import { checkPly } from "./ply_header.js";
import { kSpzHeader, kSpzMagic } from "./spz4_file.js";
import { SceneError, damaged } from "./texts.js";
import { kZipStart } from "./zip_archive.js";

const kSplatRecord = 32;
const kKsplatHeader = 4096;
const kKsplatSection = 1024;
/** The smallest record that a file in the format may have. */
const kKsplatRecord = 24;
/** Most bytes that one compressed byte of a gzip file can become. */
const kMostInflated = 1032;
/** Bytes of a gzip file in which its content starts; a file name may come before. */
const kMostRead = 65536;
/** The first bytes of a file, as a little-endian number. */
const kPlyStart = 0x796c70;
const kGzipStart = 0x088b1f;
const kGltfStart = 0x46546c67;
/** Bytes of the spherical harmonics, by degree. */
const kSpzHarmonics = [0, 9, 24, 45];

/**
 * @param {ArrayBuffer} bytes of a file
 * @param {string} name of it; its ending decides where the bytes do not show the format
 * @returns {Promise<Format>} "spz4" and "zip" are still to be looked at
 * @throws {Error} when it is none of the formats, or claims more than it holds
 */
export async function checkedFormat(bytes, name) {
    const format = (await formatOfContent(bytes)) ?? formatOfName(name);
    if (format === "ply") checkPly(bytes);
    if (format === "ksplat") checkKsplat(new DataView(bytes));
    if (format === "splat" && bytes.byteLength % kSplatRecord !== 0) {
        throw damaged("The file ends in a Gaussian");
    }
    return format;
}

/**
 * @param {string} name of a file whose bytes do not show its format
 * @returns {Format}
 */
function formatOfName(name) {
    const ending = /[^]\.([^.]+)$/.exec(name)?.[1].toLowerCase();
    switch (ending) {
        case "ply":
        case "ksplat":
        case "splat":
            return ending;
        case "spz":
        case "sog":
            throw damaged("The file does not begin as its ending says");
        case "gltf":
        case "glb":
            throw new SceneError("gltf");
        default:
            throw new SceneError("noScene", "This is no file of Gaussians");
    }
}

/**
 * @param {ArrayBuffer} bytes of a file
 * @returns {Promise<Format | undefined>} undefined when the bytes do not show it
 */
async function formatOfContent(bytes) {
    if (bytes.byteLength < 4) return undefined;
    const view = new DataView(bytes);
    const start = view.getUint32(0, true);
    if ((start & 0xffffff) === kPlyStart) return "ply";
    if (start === kSpzMagic) return "spz4";
    if (start === kZipStart) return "zip";
    if (start === kGltfStart) throw new SceneError("gltf");
    if ((start & 0xffffff) !== kGzipStart) return undefined;
    const header = await inflatedStart(bytes, kSpzHeader);
    if (header.getUint32(0, true) !== kSpzMagic) return undefined;
    checkSpz(view, header);
    return "spz";
}

/**
 * @param {ArrayBuffer} bytes of a gzip file
 * @param {number} count of bytes of its content
 * @returns {Promise<DataView>}
 */
async function inflatedStart(bytes, count) {
    const start = new Blob([new Uint8Array(bytes, 0, Math.min(bytes.byteLength, kMostRead))]);
    const reader = start.stream().pipeThrough(new DecompressionStream("gzip")).getReader();
    const header = new Uint8Array(count);
    for (let at = 0; at < count; ) {
        const { value, done } = await reader.read();
        if (done) throw damaged("The file has no content");
        const part = value.subarray(0, count - at);
        header.set(part, at);
        at += part.length;
    }
    reader.cancel().catch(() => {});
    return new DataView(header.buffer);
}

/**
 * @param {DataView} file
 * @param {DataView} header
 */
function checkSpz(file, header) {
    const version = header.getUint32(4, true);
    const count = header.getUint32(8, true);
    const harmonics = kSpzHarmonics[header.getUint8(12)];
    if (harmonics === undefined) {
        throw new SceneError("harmonics", "The file has other spherical harmonics");
    }
    const record = (version === 1 ? 6 : 9) + 1 + 3 + 3 + (version === 3 ? 4 : 3) + harmonics;
    const needed = kSpzHeader + count * record;
    // A gzip file ends with the length of its content modulo 2^32.
    const inflated = file.getUint32(file.byteLength - 4, true);
    const isShort = needed < 2 ** 32 && inflated < needed;
    if (isShort || needed > kMostInflated * file.byteLength) throw tooMany(count);
}

/** @param {DataView} file */
function checkKsplat(file) {
    if (file.byteLength < kKsplatHeader) throw damaged("The file ends in its header");
    const count = file.getUint32(16, true);
    if (count * kKsplatRecord > file.byteLength) throw tooMany(count);
    const sections = filledSections(file);
    // Spark would put each section in the place of the one before.
    if (sections > 1) throw new SceneError("sections", `It has ${sections} sections`);
}

/**
 * @param {DataView} file
 * @returns {number} sections that have Gaussians
 */
function filledSections(file) {
    const end = Math.min(
        kKsplatHeader + file.getUint32(4, true) * kKsplatSection,
        file.byteLength - kKsplatSection + 1,
    );
    let filled = 0;
    for (let at = kKsplatHeader; at < end; at += kKsplatSection) {
        if (file.getUint32(at, true) > 0) filled += 1;
    }
    return filled;
}

/** @param {number} count */
function tooMany(count) {
    return damaged(`The file claims ${count} Gaussians, more than it holds`);
}
