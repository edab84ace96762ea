// SPDX-License-Identifier: GPL-3.0-or-later
/** One frame of Zstandard (RFC 8878), which must hold exactly as many bytes as are expected. */
import { decompress } from "fzstd";
import { damaged } from "./texts.js";

const kMagic = 0xfd2fb528;
const kDescriptor = 4;
/** Bits of the descriptor. */
const kDictionary = 3;
const kChecksum = 4;
const kSingleSegment = 32;
const kBlockHeader = 3;
/** Kinds of blocks. */
const [kRaw, kRepeated, kPacked] = [0, 1, 2];
/** Most bytes that a block can become. */
const kMostOfBlock = 1 << 17;

/**
 * @param {Uint8Array} frame
 * @returns {number} where its first block begins
 */
function headerEnd(frame) {
    const view = new DataView(frame.buffer, frame.byteOffset, frame.byteLength);
    if (frame.length <= kDescriptor || view.getUint32(0, true) !== kMagic) {
        throw damaged("A part of the file is not packed by Zstandard");
    }
    const descriptor = frame[kDescriptor];
    if (descriptor & kDictionary) throw damaged("A part of the file needs a dictionary");
    const isSingle = (descriptor & kSingleSegment) !== 0;
    const sizeBytes = [isSingle ? 1 : 0, 2, 4, 8][descriptor >> 6];
    return kDescriptor + 1 + (isSingle ? 0 : 1) + sizeBytes;
}

/**
 * Walks over the blocks, all of which must be there.
 * @param {Uint8Array} frame
 * @returns {{ last: number, end: number, most: number }} where the last block begins and ends, and
 *     how many bytes come out at most
 */
function blocksOf(frame) {
    let most = 0;
    for (let at = headerEnd(frame); at + kBlockHeader <= frame.length; ) {
        const header = frame[at] | (frame[at + 1] << 8) | (frame[at + 2] << 16);
        const kind = (header >> 1) & 3;
        const size = header >> 3;
        if (kind > kPacked) break;
        most += kind === kPacked ? kMostOfBlock : size;
        const end = at + kBlockHeader + (kind === kRepeated ? 1 : size);
        if (end > frame.length) break;
        if (header & 1) return { last: at, end, most };
        at = end;
    }
    throw damaged("A part of the file is cut short");
}

/**
 * @param {Uint8Array} frame the whole of it and nothing else
 * @returns {number} bytes that come out of it at most
 * @throws {Error} when it is no frame, or not exactly one
 */
export function mostOfZstd(frame) {
    const { end, most } = blocksOf(frame);
    const checksum = frame[kDescriptor] & kChecksum ? 4 : 0;
    if (end + checksum !== frame.length) throw damaged("A part of the file does not end");
    return most;
}

/**
 * Unpacks a frame that mostOfZstd() has looked at.
 * @param {Uint8Array} frame
 * @param {Uint8Array} content is filled
 * @throws {Error} when more comes out, or less
 */
export function unpackZstd(frame, content) {
    const { last, end } = blocksOf(frame);
    // The library does not tell how much came out; it does tell where it puts a block of no bytes.
    const open = new Uint8Array(end + kBlockHeader);
    open.set(frame.subarray(0, end));
    open[last] &= ~1;
    open[end] = 1 | (kRaw << 1);
    let size = -1;
    const target = Object.defineProperty(content.subarray(), "set", {
        value(/** @type {Uint8Array} */ part, /** @type {number} */ at) {
            size = at;
            content.set(part, at);
        },
    });
    try {
        decompress(open, target);
    } catch (error) {
        throw damaged(`A part of the file cannot be unpacked: ${error}`);
    }
    if (size !== content.length) throw damaged("A part of the file has another size");
}
