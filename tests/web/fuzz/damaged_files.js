// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Reads damaged files as the page does: node damaged_files.js FORMAT COUNT [SEED], with the built
 * page's folder in VISTREL_PAGE. Ends with 1 and the number of the file at the first that is read
 * for longer than a minute, takes memory that it has no use for, or harms what comes after it.
 */
import assert from "node:assert/strict";
import { fileURLToPath } from "node:url";
import { Worker, isMainThread, workerData } from "node:worker_threads";
import { damaged, kGood, kGoodCount } from "./mutations.js";
import { largest, loadReader } from "./page_reader.js";

/** @typedef {import("./mutations.js").Format} Format */

/** A file takes longer only if it is read for ever. */
const kLimit = 60_000;
/** Good files are read so often in between. */
const kGoodEvery = 500;
/** The largest array for a file of no size, and what there may be for a byte. */
const kLeast = 1 << 20;
const kForAByte = 64;
const kInflated = 1032;
/** A byte of a SOG file may stand for 64 Gaussians, and each of these for 16 pixels. */
const kPictured = 64;
const kMostMemory = 2 ** 31;

/**
 * @param {Buffer} bytes of a file
 * @returns {number} what one of them may become
 */
function inflationOf(bytes) {
    const isGzip = bytes[0] === 0x1f && bytes[1] === 0x8b;
    if (isGzip || bytes.toString("latin1", 0, 4) === "NGSP") return kInflated;
    return bytes.toString("latin1", 0, 2) === "PK" ? kPictured : 1;
}

/** @param {Buffer} bytes */
function ownBytes(bytes) {
    return /** @type {ArrayBuffer} */ (new Uint8Array(bytes).buffer);
}

/**
 * @param {Format} format
 * @param {number} first
 * @param {number} count
 * @param {Int32Array} progress
 */
async function readAll(format, first, count, progress) {
    console.error = console.warn = () => {};
    const { readSplats } = await loadReader();
    let shown = 0;
    for (let i = 0; i < count; ++i) {
        Atomics.store(progress, 0, i);
        const { bytes, name } = damaged(format, first + i);
        largest.bytes = 0;
        try {
            const { numSplats, packedArray } = await readSplats(ownBytes(bytes), name);
            assert.ok(Number.isInteger(numSplats) && numSplats >= 0, `${numSplats} Gaussians`);
            assert.ok(16 * numSplats <= Number(packedArray?.byteLength));
            shown += 1;
        } catch (error) {
            assert.ok(error instanceof Error, `${error}`);
            if (error instanceof assert.AssertionError) throw error;
        }
        const most = kLeast + bytes.length * kForAByte * inflationOf(bytes);
        assert.ok(largest.bytes <= most, `${largest.bytes} bytes for ${bytes.length}`);
        if (i % kGoodEvery === 0) {
            for (const good of kGood[format]) {
                const { numSplats } = await readSplats(ownBytes(good), `a.${format}`);
                assert.equal(numSplats, kGoodCount);
            }
            assert.ok(process.memoryUsage().rss < kMostMemory, "memory is not returned");
        }
    }
    Atomics.store(progress, 0, count);
    return shown;
}

/**
 * @param {Format} format
 * @param {number} first
 * @param {number} count
 * @returns {Promise<number>} files that were shown
 */
export function readDamaged(format, first, count) {
    const progress = new Int32Array(new SharedArrayBuffer(4));
    const data = { format, first, count, progress };
    const worker = new Worker(fileURLToPath(import.meta.url), { workerData: data });
    return new Promise((resolve, reject) => {
        const fail = (/** @type {unknown} */ why) => {
            const number = first + Atomics.load(progress, 0);
            reject(new Error(`${format} ${number}: ${why}`));
            void worker.terminate();
        };
        let last = -1;
        const watch = setInterval(() => {
            const now = Atomics.load(progress, 0);
            if (now === last) fail("is read for ever");
            last = now;
        }, kLimit);
        worker.on("message", resolve);
        worker.on("error", fail);
        worker.on("exit", () => {
            clearInterval(watch);
            fail("reading does not end");
        });
    });
}

if (!isMainThread) {
    const { parentPort } = await import("node:worker_threads");
    const { format, first, count, progress } = workerData;
    parentPort?.postMessage(await readAll(format, first, count, progress));
    process.exit();
} else if (process.argv[1] === fileURLToPath(import.meta.url)) {
    const [, , format, count, first = "0"] = process.argv;
    const shown = await readDamaged(/** @type {Format} */ (format), Number(first), Number(count));
    console.log(`${format} ${first}: ${count} files, of which ${shown} were shown`);
}
