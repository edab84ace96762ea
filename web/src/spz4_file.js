// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * SPZ files of version 4 (nianticlabs/spz). They hold the same values as those of version 3, which
 * are one gzip file, but each kind of value in a stream of its own:
 *
 *     offset  bytes
 *          0      4  "NGSP"
 *          4      4  version
 *          8      4  count of Gaussians
 *         12      1  degree of the harmonics
 *         13      1  fractional bits of the positions
 *         14      1  flags
 *         15      1  count of streams: 5, or 6 with harmonics
 *         16      4  place of the table; what lies between header and table is skipped
 *      table     16  for each stream: its bytes in the file, its bytes when unpacked
 *     behind it      the streams, each a frame of Zstandard: positions, opacities, colours, scales,
 *                    rotations, harmonics
 *
 * All numbers are little-endian.
 */
import { storedGzip } from "./gzip.js";
import { SceneError, damaged } from "./texts.js";
import { mostOfZstd, unpackZstd } from "./zstd_frame.js";

export const kSpzMagic = 0x5053474e;
/** Header of the versions before, and of this one. */
export const kSpzHeader = 16;
const kHeader = 32;
const kTableEntry = 16;
const kVersion = 4;
/** Bits of the flags that version 3 has, too: antialiasing. */
const kFlags = 1;
/** Bytes of a Gaussian in the streams before the harmonics, and of these by degree. */
const kRecords = [9, 1, 3, 3, 4];
const kHarmonics = [0, 9, 24, 45];
/**
 * Bytes for each byte of the file, at most, as gzip could pack it: what is packed better is no
 * scene.
 */
const kMostUnpacked = 1032;

/**
 * @param {ArrayBuffer} bytes
 * @returns {{ view: DataView, count: number, sizes: number[], total: number }} sizes of the
 *     unpacked streams
 */
function headerOf(bytes) {
    if (bytes.byteLength < kHeader) throw damaged("The file ends in its header");
    const view = new DataView(bytes);
    const version = view.getUint32(4, true);
    if (version !== kVersion) throw new SceneError("version", `Its version is ${version}`);
    const count = view.getUint32(8, true);
    const harmonics = kHarmonics[view.getUint8(12)];
    if (harmonics === undefined) throw new SceneError("harmonics");
    const sizes = [...kRecords, harmonics].filter((size) => size > 0).map((size) => size * count);
    const total = sizes.reduce((sum, size) => sum + size, kSpzHeader);
    if (total > kMostUnpacked * bytes.byteLength) {
        throw damaged(`The file claims ${count} Gaussians, more than it holds`);
    }
    if (view.getUint8(15) !== sizes.length) throw damaged("The file has other streams");
    return { view, count, sizes, total };
}

/**
 * @param {ArrayBuffer} bytes of a file
 * @returns {{ frames: Uint8Array[], sizes: number[], total: number }} the streams, each of which may
 *     unpack to its size, and the size of all of it as version 3
 * @throws {Error} when the file claims more than it holds
 */
function streamsOf(bytes) {
    const { view, sizes, total } = headerOf(bytes);
    const table = view.getUint32(16, true);
    let at = table + sizes.length * kTableEntry;
    if (table < kHeader || at > bytes.byteLength) throw damaged("The file ends in its table");
    const frames = sizes.map((size, i) => {
        const packed = Number(view.getBigUint64(table + i * kTableEntry, true));
        const unpacked = Number(view.getBigUint64(table + i * kTableEntry + 8, true));
        if (unpacked !== size) throw damaged(`Stream ${i} has ${unpacked} bytes and not ${size}`);
        if (packed > bytes.byteLength - at) throw damaged(`The file ends in stream ${i}`);
        const frame = new Uint8Array(bytes, at, packed);
        if (mostOfZstd(frame) < size) throw damaged(`Stream ${i} holds less than ${size} bytes`);
        at += packed;
        return frame;
    });
    return { frames, sizes, total };
}

/**
 * @param {ArrayBuffer} bytes of a file of version 4
 * @returns {ArrayBuffer} the same scene as a file of version 3
 * @throws {Error} when it is damaged, or claims more than it holds
 */
export function spz3Of(bytes) {
    const { frames, sizes, total } = streamsOf(bytes);
    const content = new Uint8Array(total);
    content.set(new Uint8Array(bytes, 0, kSpzHeader));
    content[4] = 3;
    content[14] &= kFlags;
    content[15] = 0;
    frames.reduce((at, frame, i) => {
        unpackZstd(frame, content.subarray(at, at + sizes[i]));
        return at + sizes[i];
    }, kSpzHeader);
    return storedGzip(content).buffer;
}
