// SPDX-License-Identifier: GPL-3.0-or-later
/** Gzip files (RFC 1952) put together around content that others pack or nobody does. */

/** A header without a name or a time. */
const kHeader = Uint8Array.of(0x1f, 0x8b, 8, 0, 0, 0, 0, 0, 0, 255);
const kTrailer = 8;
/** Most bytes of a block that is stored as it is, and the bytes before them. */
const kMostStored = 65535;
const kBlockHeader = 5;

const kCrcTable = Uint32Array.from({ length: 256 }, (_, byte) => {
    let crc = byte;
    for (let bit = 0; bit < 8; ++bit) crc = crc & 1 ? 0xedb88320 ^ (crc >>> 1) : crc >>> 1;
    return crc;
});

/**
 * @param {Uint8Array} bytes
 * @returns {number} the checksum of gzip and zip files
 */
export function crc32(bytes) {
    let crc = -1;
    for (let i = 0; i < bytes.length; ++i) crc = kCrcTable[(crc ^ bytes[i]) & 255] ^ (crc >>> 8);
    return ~crc >>> 0;
}

/**
 * @param {Uint8Array} file all of it
 * @param {number} crc of the content
 * @param {number} size of the content, bytes
 */
function putTrailer(file, crc, size) {
    const view = new DataView(file.buffer, file.byteLength - kTrailer);
    view.setUint32(0, crc, true);
    view.setUint32(4, size, true);
}

/**
 * @param {Uint8Array} content
 * @returns {Uint8Array<ArrayBuffer>} a gzip file with the content, not packed
 */
export function storedGzip(content) {
    const blocks = Math.max(1, Math.ceil(content.length / kMostStored));
    const size = kHeader.length + blocks * kBlockHeader + content.length + kTrailer;
    const file = new Uint8Array(size);
    const view = new DataView(file.buffer);
    file.set(kHeader);
    for (let i = 0, at = kHeader.length; i < blocks; ++i) {
        const part = content.subarray(i * kMostStored, (i + 1) * kMostStored);
        file[at] = i + 1 === blocks ? 1 : 0;
        view.setUint16(at + 1, part.length, true);
        view.setUint16(at + 3, ~part.length, true);
        file.set(part, at + kBlockHeader);
        at += kBlockHeader + part.length;
    }
    putTrailer(file, crc32(content), content.length);
    return file;
}

/**
 * Unpacks deflated bytes (RFC 1951). Browsers know deflated bytes alone only since Chromium 103.
 * @param {Uint8Array} packed
 * @param {number} size of what comes out, bytes; no more memory is taken, whatever the bytes hold
 * @param {number} crc of what comes out
 * @returns {Promise<Uint8Array<ArrayBuffer>>}
 * @throws {Error} when the size or the checksum is another
 */
export async function inflated(packed, size, crc) {
    const file = new Uint8Array(kHeader.length + packed.length + kTrailer);
    file.set(kHeader);
    file.set(packed, kHeader.length);
    putTrailer(file, crc, size);
    const stream = new Blob([file]).stream().pipeThrough(new DecompressionStream("gzip"));
    const reader = stream.getReader();
    const content = new Uint8Array(size);
    for (let at = 0; ; ) {
        const { value, done } = await reader.read();
        if (done) return content; // the stream has compared size and checksum
        if (at + value.length > size) {
            reader.cancel().catch(() => {});
            throw new RangeError("There is more than was said");
        }
        content.set(value, at);
        at += value.length;
    }
}
