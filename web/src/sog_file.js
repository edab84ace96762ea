// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * SOG files (PlayCanvas): a zip archive of meta.json and lossless WebP pictures, a pixel for each
 * Gaussian. Spark believes what meta.json and the pictures say; it gets them from here when they
 * agree with each other, and nothing else of the archive.
 */
import { SceneError, damaged } from "./texts.js";
import { ZipArchive } from "./zip_archive.js";

const kMeta = "meta.json";
/** Three tables of 256 numbers are some 20 kB of text. */
const kMostMeta = 1 << 18;
/** Values in a table. */
const kCodebook = 256;
/**
 * Gaussians, or bytes of a picture, for a byte of the file, at most. The pictures of a real scene
 * take some bytes for each of them, while a picture of a single colour takes none.
 */
const kMostForAByte = 64;
/** Pixels of a picture beside those of the Gaussians: rows of its own, and it is never small. */
const kSparePixels = 1 << 16;
/** Pixels of the palette of harmonics: for each colour, and of the smallest palette. */
const kPaletteColour = 16;
const kLeastPalette = 1 << 16;
/** 65536 colours. */
const kMostPalette = 1 << 20;
/** Coefficients of the harmonics, by degree. */
const kCoefficients = [0, 3, 8, 15];

/**
 * @typedef {{ files: string[], [name: string]: unknown }} Part
 * @typedef {object} SogMeta
 * @property {number} count of Gaussians
 * @property {Record<string, unknown>} json for Spark
 * @property {string[]} pictures with a pixel for each Gaussian
 * @property {string[]} palettes pictures of colours
 */

/**
 * @param {unknown} value
 * @param {number} length
 * @param {string} name
 * @returns {number[]}
 */
function numbers(value, length, name) {
    const isGood =
        Array.isArray(value) && value.length === length && value.every((x) => Number.isFinite(x));
    if (!isGood) throw damaged(`"${name}" does not have ${length} numbers`);
    return value;
}

/**
 * @param {any} part
 * @param {number} count of files
 * @param {string} name
 * @returns {string[]} of files
 */
function files(part, count, name) {
    const found = part?.files;
    const isGood =
        Array.isArray(found) &&
        found.length === count &&
        found.every((file) => typeof file === "string");
    if (!isGood) throw damaged(`"${name}" does not have ${count} files`);
    return found;
}

/**
 * @param {any} meta of version 2
 * @returns {Record<string, Part>}
 */
function parts2({ means, scales, quats, sh0, shN }) {
    const codebook = (/** @type {any} */ part, /** @type {string} */ name) =>
        numbers(part?.codebook, kCodebook, name);
    /** @type {Record<string, Part>} */
    const found = {
        means: { files: files(means, 2, "means"), ...ends(means, 3, "means") },
        scales: { files: files(scales, 1, "scales"), codebook: codebook(scales, "scales") },
        quats: { files: files(quats, 1, "quats") },
        sh0: { files: files(sh0, 1, "sh0"), codebook: codebook(sh0, "sh0") },
    };
    if (shN !== undefined && shN !== null) {
        if (kCoefficients[shN.bands] === undefined) throw new SceneError("harmonics");
        found.shN = {
            files: files(shN, 2, "shN"),
            codebook: codebook(shN, "shN"),
            bands: shN.bands,
        };
    }
    return found;
}

/**
 * @param {any} part
 * @param {number} length
 * @param {string} name
 */
function ends(part, length, name) {
    return { mins: numbers(part?.mins, length, name), maxs: numbers(part?.maxs, length, name) };
}

/**
 * @param {any} meta of version 1
 * @returns {Record<string, Part>}
 */
function parts1({ means, scales, quats, sh0, shN }) {
    if (quats?.encoding !== "quaternion_packed") throw damaged("Rotations are packed otherwise");
    /** @type {Record<string, Part>} */
    const found = {
        means: { files: files(means, 2, "means"), shape: means.shape, ...ends(means, 3, "means") },
        scales: { files: files(scales, 1, "scales"), ...ends(scales, 3, "scales") },
        quats: { files: files(quats, 1, "quats"), encoding: quats.encoding },
        sh0: { files: files(sh0, 1, "sh0"), ...ends(sh0, 4, "sh0") },
    };
    if (shN !== undefined && shN !== null) {
        const values = shN.shape?.[1];
        if (!kCoefficients.some((count) => 3 * count === values)) throw new SceneError("harmonics");
        const [mins, maxs] = numbers([shN.mins, shN.maxs], 2, "shN");
        found.shN = { files: files(shN, 2, "shN"), mins, maxs, shape: [shN.shape[0], values] };
    }
    return found;
}

/**
 * @param {any} meta as parsed
 * @returns {SogMeta}
 * @throws {Error} when something is missing, or of a version that is not known
 */
export function checkedMeta(meta) {
    const version = meta?.version ?? 1;
    if (version !== 1 && version !== 2) throw new SceneError("version", `Its version is ${version}`);
    const parts = version === 2 ? parts2(meta) : parts1(meta);
    const count = version === 2 ? meta.count : meta.means?.shape?.[0];
    if (!Number.isSafeInteger(count) || count < 0) throw damaged("There is no count of Gaussians");
    const { shN, ...others } = parts;
    const pictures = Object.values(others).flatMap((part) => part.files);
    const [palette, labels] = shN?.files ?? [];
    return {
        count,
        // Spark takes any file that tells a version for one of the second.
        json: version === 2 ? { version, count, ...parts } : parts,
        pictures: labels === undefined ? pictures : [...pictures, labels],
        palettes: palette === undefined ? [] : [palette],
    };
}

/**
 * @param {Uint8Array} picture a WebP file
 * @returns {number} its pixels
 * @throws {Error} when it is no lossless WebP file
 */
export function webpPixels(picture) {
    const kHeader = 30;
    const text = new TextDecoder("latin1").decode(picture.subarray(0, 16));
    const isWebp = text.startsWith("RIFF") && text.slice(8, 12) === "WEBP";
    if (!isWebp || picture.length < kHeader) throw damaged("A picture is no WebP file");
    const view = new DataView(picture.buffer, picture.byteOffset);
    if (text.endsWith("VP8L")) {
        const bits = view.getUint32(21, true);
        return ((bits & 0x3fff) + 1) * (((bits >>> 14) & 0x3fff) + 1);
    }
    if (text.endsWith("VP8X")) {
        const [width, height] = [view.getUint32(24, true), view.getUint32(26, true) >>> 8];
        return ((width & 0xffffff) + 1) * (height + 1);
    }
    throw damaged("A picture is no lossless WebP file");
}

/**
 * @param {ArrayBuffer} bytes of a zip archive
 * @returns {Promise<{ meta: ArrayBuffer, pictures: Record<string, ArrayBuffer> } | null>} what Spark
 *     reads; null when the archive is no scene
 * @throws {Error} when it is damaged, or claims more than it holds
 */
export async function readSog(bytes) {
    const archive = new ZipArchive(bytes);
    const name = archive.names.find((file) => file.split("/").pop() === kMeta);
    if (name === undefined) return null;
    const folder = name.slice(0, -kMeta.length);
    const text = new TextDecoder().decode(await archive.read(name, kMostMeta));
    const { count, json, pictures, palettes } = checkedMeta(parsed(text));
    if (count > kMostForAByte * bytes.byteLength) {
        throw damaged(`The file claims ${count} Gaussians, more than it holds`);
    }
    /** @type {Record<string, ArrayBuffer>} */
    const found = {};
    for (const file of [...pictures, ...palettes]) {
        const picture = await archive.read(folder + file, kMostForAByte * bytes.byteLength);
        const pixels = webpPixels(picture);
        const isPalette = palettes.includes(file);
        const isGood = isPalette
            ? pixels <= Math.min(kMostPalette, kPaletteColour * count + kLeastPalette)
            : pixels >= count && pixels <= 2 * count + kSparePixels;
        if (!isGood) throw damaged(`"${file}" has ${pixels} pixels for ${count} Gaussians`);
        found[file] = picture.buffer;
    }
    const meta = new TextEncoder().encode(JSON.stringify(json));
    return { meta: meta.buffer, pictures: found };
}

/** @param {string} text */
function parsed(text) {
    try {
        return JSON.parse(text);
    } catch {
        throw damaged(`"${kMeta}" is no JSON`);
    }
}
