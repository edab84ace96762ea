// SPDX-License-Identifier: GPL-3.0-or-later
import { SceneError, damaged } from "./texts.js";

/**
 * @typedef {{ type: string, countType?: string }} Property countType: of a list's counts
 * @typedef {{ name: string, count: number, properties: Map<string, Property> }} Element
 */

const kHeaderEnd = "end_header\n";
/** Longer headers are not read. */
const kLongestHeader = 65536;
const kAscii = /^format ascii\b/m;
/** @typedef {(view: DataView, at: number, isLittle: boolean) => number} Read */
const kTypes = new Map(
    /** @type {[string, { size: number, read: Read }][]} */ ([
        ["char", { size: 1, read: (view, at) => view.getInt8(at) }],
        ["uchar", { size: 1, read: (view, at) => view.getUint8(at) }],
        ["short", { size: 2, read: (view, at, isLittle) => view.getInt16(at, isLittle) }],
        ["ushort", { size: 2, read: (view, at, isLittle) => view.getUint16(at, isLittle) }],
        ["int", { size: 4, read: (view, at, isLittle) => view.getInt32(at, isLittle) }],
        ["uint", { size: 4, read: (view, at, isLittle) => view.getUint32(at, isLittle) }],
        ["float", { size: 4, read: (view, at, isLittle) => view.getFloat32(at, isLittle) }],
        ["double", { size: 8, read: (view, at, isLittle) => view.getFloat64(at, isLittle) }],
    ]),
);

/**
 * @param {ArrayBuffer} bytes of a PLY file
 * @throws {SceneError} when it is not binary, or its header claims more than the file holds
 */
export function checkPly(bytes) {
    const start = new Uint8Array(bytes, 0, Math.min(bytes.byteLength, kLongestHeader));
    const text = new TextDecoder("latin1").decode(start);
    const end = text.indexOf(kHeaderEnd);
    if (kAscii.test(end < 0 ? text : text.slice(0, end))) {
        throw new SceneError("ascii");
    }
    if (end < 0) throw damaged("The header does not end");
    const isLittle = !text.slice(0, end).includes("format binary_big_endian");
    let at = end + kHeaderEnd.length;
    const view = new DataView(bytes);
    for (const element of elements(text.slice(0, end)).values()) {
        at = endOf(element, view, at, isLittle);
        if (at > bytes.byteLength) throw damaged(`The file ends in its "${element.name}"`);
    }
}

/**
 * @param {string} header
 * @returns {Map<string, Element>} by their names
 */
function elements(header) {
    /** @type {Map<string, Element>} */
    const found = new Map();
    /** @type {Element | undefined} */
    let current;
    for (const line of header.split("\n")) {
        const words = line.trim().split(" ");
        if (words[0] === "element") {
            current = { name: words[1], count: Number.parseInt(words[2]), properties: new Map() };
            if (!Number.isSafeInteger(current.count) || current.count < 0) {
                throw damaged(`The count of "${words[1]}" cannot be ${words[2]}`);
            }
            found.set(current.name, current);
        }
        if (words[0] === "property" && words[1] === "list") {
            current?.properties.set(words[4], { type: words[3], countType: words[2] });
        } else if (words[0] === "property") {
            current?.properties.set(words[2], { type: words[1] });
        }
    }
    return found;
}

/** @param {string} name */
function typeOf(name) {
    const type = kTypes.get(name);
    if (type === undefined) throw damaged(`There is no type "${name}"`);
    return type;
}

/**
 * @param {Element} element
 * @param {DataView} view
 * @param {number} start
 * @param {boolean} isLittle
 * @returns {number} where the element's records end, or a place after the file's end
 */
function endOf({ name, count, properties }, view, start, isLittle) {
    const fields = [...properties.values()].map(({ type, countType }) => {
        const length = countType === undefined ? null : typeOf(countType);
        return { size: typeOf(type).size, length };
    });
    const record = fields.reduce((sum, { size, length }) => sum + (length?.size ?? size), 0);
    if (record === 0 && count > 0) throw damaged(`There is nothing in "${name}"`);
    const least = start + count * record;
    if (least > view.byteLength || fields.every(({ length }) => length === null)) return least;
    let at = start;
    for (let i = 0; i < count * fields.length; ++i) {
        const { size, length } = fields[i % fields.length];
        const items = length === null ? 1 : length.read(view, at, isLittle);
        if (!Number.isInteger(items) || items < 0) {
            throw damaged(`A list in "${name}" has no length`);
        }
        at += (length?.size ?? 0) + items * size;
    }
    return at;
}
