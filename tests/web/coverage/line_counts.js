// SPDX-License-Identifier: GPL-3.0-or-later
/** Lines of the page's sources, from V8's counts of what ran in a script that was made of them. */

/**
 * Some code: where it lies in the script that runs and in its source.
 * @typedef {object} Segment
 * @property {number} offset in the script
 * @property {string} source as the source map names it
 * @property {number} line of the source, from 1
 * @property {number} column of the source, from 0
 */

/**
 * @typedef {object} FunctionCounts
 * @property {ReadonlyArray<{startOffset: number, endOffset: number, count: number}>} ranges
 */

const kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/**
 * @param {string} text one segment of a source map
 * @returns {number[]}
 */
function decodeNumbers(text) {
    const numbers = [];
    let value = 0;
    let shift = 0;
    for (const letter of text) {
        const digit = kDigits.indexOf(letter);
        value += (digit & 31) << shift;
        shift += 5;
        if (digit >= 32) continue;
        numbers.push(value & 1 ? -(value >> 1) : value >> 1);
        value = 0;
        shift = 0;
    }
    return numbers;
}

/**
 * @param {string} place of a file, or its address
 * @returns {string | undefined} its name in the tree, if it is one of the page's sources
 */
export function sourceName(place) {
    return /web\/src\/.*\.js$/.exec(place)?.[0];
}

/** @param {string} text @returns {number[]} */
export function lineStarts(text) {
    return [0, ...[...text.matchAll(/\n/g)].map(({ index }) => index + 1)];
}

/**
 * @param {string} script
 * @param {{mappings: string, sources: string[]}} map of the script
 * @returns {Segment[]}
 */
export function segmentsOf(script, map) {
    const starts = lineStarts(script);
    const segments = [];
    let source = 0;
    let line = 0;
    let column = 0;
    for (const [index, group] of map.mappings.split(";").entries()) {
        let offset = starts[index];
        for (const text of group.split(",")) {
            const [along, ...origin] = decodeNumbers(text);
            if (along === undefined) continue;
            offset += along;
            if (origin.length < 3) continue;
            source += origin[0];
            line += origin[1];
            column += origin[2];
            // A segment may begin with the blanks before its code.
            const blanks = /\s*/y;
            blanks.lastIndex = offset;
            blanks.exec(script);
            segments.push({ offset: blanks.lastIndex, source: map.sources[source], line: line + 1, column });
        }
    }
    return segments;
}

/**
 * How often each line ran: as often as the code in it that ran most often.
 * @param {number} length of the script
 * @param {ReadonlyArray<FunctionCounts>} functions of the script
 * @param {ReadonlyArray<Segment>} segments of the script
 * @returns {Map<string, Map<number, number>>} by source and line
 */
export function countLines(length, functions, segments) {
    const ranges = functions.flatMap((counts) => counts.ranges);
    // Ranges lie inside each other; the innermost counts.
    ranges.sort((a, b) => a.startOffset - b.startOffset || b.endOffset - a.endOffset);
    const counts = new Int32Array(length);
    for (const { startOffset, endOffset, count } of ranges) {
        counts.fill(count, startOffset, endOffset);
    }
    const lines = new Map();
    for (const { offset, source, line } of segments) {
        const ofSource = lines.get(source) ?? new Map();
        ofSource.set(line, Math.max(ofSource.get(line) ?? 0, counts[offset]));
        lines.set(source, ofSource);
    }
    return lines;
}
