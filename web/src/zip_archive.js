// SPDX-License-Identifier: GPL-3.0-or-later
/** The files in a zip archive, as its directory tells (PKWARE's APPNOTE, without zip64). */
import { crc32, inflated } from "./gzip.js";
import { damaged } from "./texts.js";

/** How an archive with files in it begins: "PK", then these. */
export const kZipStart = 0x04034b50;
const kDirectoryEntry = { magic: 0x02014b50, size: 46 };
const kFileHeader = { magic: 0x04034b50, size: 30 };
const kEnd = { magic: 0x06054b50, size: 22 };
/** Bytes of a comment behind the archive's end. */
const kMostComment = 65535;
const [kStored, kDeflated] = [0, 8];
/** Most bytes that one deflated byte can become. */
const kMostInflated = 1032;

/**
 * @typedef {object} ZipEntry
 * @property {boolean} isPacked
 * @property {number} crc
 * @property {number} packedSize
 * @property {number} size
 * @property {number} at where its header begins
 */

/** @param {DataView} view */
function endOf(view) {
    const last = view.byteLength - kEnd.size;
    for (let at = last; at >= Math.max(0, last - kMostComment); --at) {
        if (view.getUint32(at, true) === kEnd.magic) return at;
    }
    throw damaged("The archive has no directory");
}

export class ZipArchive {
    /** @type {Map<string, ZipEntry>} by their names */
    #entries = new Map();
    #bytes;

    /**
     * @param {ArrayBuffer} bytes
     * @throws {Error} when the directory is damaged
     */
    constructor(bytes) {
        this.#bytes = bytes;
        const view = new DataView(bytes);
        const end = endOf(view);
        const count = view.getUint16(end + 10, true);
        let at = view.getUint32(end + 16, true);
        for (let i = 0; i < count; ++i) {
            if (at + kDirectoryEntry.size > end) {
                throw damaged("The archive's directory is cut short");
            }
            if (view.getUint32(at, true) !== kDirectoryEntry.magic) {
                throw damaged("The archive's directory is damaged");
            }
            at = this.#add(view, at);
        }
    }

    /**
     * @param {DataView} view
     * @param {number} at where an entry of the directory begins
     * @returns {number} where the next one does
     */
    #add(view, at) {
        const start = at + kDirectoryEntry.size;
        const nameEnd = start + view.getUint16(at + 28, true);
        if (nameEnd > view.byteLength) throw damaged("The archive's directory is cut short");
        const name = new TextDecoder().decode(this.#bytes.slice(start, nameEnd));
        const method = view.getUint16(at + 10, true);
        if (method === kStored || method === kDeflated) {
            this.#entries.set(name, {
                isPacked: method === kDeflated,
                crc: view.getUint32(at + 16, true),
                packedSize: view.getUint32(at + 20, true),
                size: view.getUint32(at + 24, true),
                at: view.getUint32(at + 42, true),
            });
        }
        return nameEnd + view.getUint16(at + 30, true) + view.getUint16(at + 32, true);
    }

    /** @returns {string[]} of the files that can be read */
    get names() {
        return [...this.#entries.keys()];
    }

    /**
     * @param {string} name
     * @param {number} most bytes that it may have
     * @returns {Promise<Uint8Array<ArrayBuffer>>} the file, in memory of its own
     * @throws {Error} when it is not there, larger, or damaged
     */
    async read(name, most) {
        const entry = this.#entries.get(name);
        if (entry === undefined) throw damaged(`There is no "${name}"`);
        const { crc, size, packedSize, isPacked } = entry;
        const packed = this.#packed(name, entry);
        const isTooLarge = size > most || (isPacked ? size > kMostInflated * packedSize : false);
        if (isTooLarge) throw damaged(`"${name}" claims ${size} bytes`);
        if (isPacked) {
            return inflated(packed, size, crc).catch((error) => {
                throw damaged(`"${name}" cannot be unpacked: ${error}`);
            });
        }
        if (size !== packedSize || crc32(packed) !== crc) throw damaged(`"${name}" is damaged`);
        return packed.slice();
    }

    /**
     * @param {string} name
     * @param {ZipEntry} entry
     */
    #packed(name, { at, packedSize }) {
        const view = new DataView(this.#bytes);
        const isInside = at + kFileHeader.size <= view.byteLength;
        if (!isInside || view.getUint32(at, true) !== kFileHeader.magic) {
            throw damaged(`There is no "${name}" where the archive says`);
        }
        const names = view.getUint16(at + 26, true) + view.getUint16(at + 28, true);
        const start = at + kFileHeader.size + names;
        if (start + packedSize > view.byteLength) throw damaged(`"${name}" is cut short`);
        return new Uint8Array(this.#bytes, start, packedSize);
    }
}
