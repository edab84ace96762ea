// SPDX-License-Identifier: GPL-3.0-or-later
/** Spark, as it is built into the viewer page, in Chromium: it needs a browser for its pictures. */
import { readFile } from "node:fs/promises";
import path from "node:path";
import { pathToFileURL } from "node:url";
import { spz3Of } from "../../web/src/spz4_file.js";
import { builtFolder } from "../web/support/resting_page.js";
import { launchChromium } from "../web/support/viewer_page.js";
import { covarianceOf } from "./foreign_readers.js";

/** Harmonics of each degree: how many, and the bits of each in Spark's words. */
const kHarmonics = [
    { name: "sh1", values: 9, bits: 7 },
    { name: "sh2", values: 15, bits: 8 },
    { name: "sh3", values: 21, bits: 6 },
];

/**
 * Runs in the page.
 * @param {{ spark: string, fileType: string, base64: string }} file
 */
async function unpack({ spark, fileType, base64 }) {
    const { PackedSplats } = await import(spark);
    const fileBytes = Uint8Array.from(atob(base64), (character) => character.charCodeAt(0));
    const splats = await new PackedSplats({ fileBytes, fileType }).initialized;
    const { numSplats, extra } = splats;
    return Array.from({ length: numSplats }, (_, i) => {
        const { center, scales, quaternion: q, opacity, color } = splats.getSplat(i);
        const words = Object.entries(extra).map(([name, all]) => {
            const size = all.length / numSplats;
            return [name, Array.from(all.slice(i * size, (i + 1) * size))];
        });
        return {
            center: center.toArray(),
            scale: scales.toArray(),
            rotation: [q.w, q.x, q.y, q.z],
            opacity,
            color: color.toArray(),
            words: Object.fromEntries(words),
        };
    });
}

/**
 * @param {Record<string, number[]>} words of a Gaussian
 * @returns {number[]} all of red, then of green, then of blue
 */
function harmonicsOf(words) {
    const values = kHarmonics.flatMap(({ name, values: count, bits }) => {
        if (words[name] === undefined) return [];
        const all = words[name].reduce((sum, word, i) => sum | (BigInt(word) << BigInt(32 * i)), 0n);
        return Array.from({ length: count }, (_, i) => {
            const value = Number(BigInt.asIntN(bits, all >> BigInt(bits * i)));
            return value / (2 ** (bits - 1) - 1);
        });
    });
    return [0, 1, 2].flatMap((colour) => values.filter((_, i) => i % 3 === colour));
}

/** For the caller to close. */
export async function startSpark() {
    const browser = await launchChromium();
    const page = await (await browser.newContext()).newPage();
    const built = pathToFileURL(path.join(builtFolder(), "gaus3d.html")).href;
    await page.goto(`${built}?painter=cpu`);
    return {
        close: () => browser.close(),

        /**
         * @param {string} file
         * @returns {Promise<import("./foreign_readers.js").Splat[]>}
         */
        async read(file) {
            let bytes = await readFile(file);
            if (bytes.toString("latin1", 0, 4) === "NGSP") {
                bytes = Buffer.from(spz3Of(new Uint8Array(bytes).buffer));
            }
            const ending = path.extname(file).slice(1);
            const splats = await page.evaluate(unpack, {
                spark: new URL("spark.module.js", built).href,
                fileType: ending === "sog" ? "pcsogszip" : ending,
                base64: bytes.toString("base64"),
            });
            return splats.map(({ center, scale, rotation, opacity, color, words }) => ({
                center,
                covariance: covarianceOf(scale, rotation),
                opacity,
                color,
                harmonics: harmonicsOf(words),
            }));
        },
    };
}
