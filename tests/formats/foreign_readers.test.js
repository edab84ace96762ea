// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * A small scene in every format, between vistrel-convert and what others made: it is upright,
 * unmirrored and of the same colours wherever it is read.
 */
import assert from "node:assert/strict";
import { execFile } from "node:child_process";
import { mkdtemp, readFile, rm, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, test } from "node:test";
import { promisify } from "node:util";
import {
    kGs3dDegree,
    ksplatOf,
    parsedPly,
    readByGs3d,
    readBySplatTransform,
    readBySpz,
    readByThree,
    splatTransform,
} from "./foreign_readers.js";
import { startSpark } from "./spark_reader.js";

/** @typedef {import("./foreign_readers.js").Splat} Splat */

const folder = await mkdtemp(path.join(tmpdir(), "formats-"));
const spark = await startSpark();
after(async () => {
    await spark.close();
    await rm(folder, { recursive: true });
});

/** @param {string} name */
function at(name) {
    return path.join(folder, name);
}

/**
 * @param {string} from
 * @param {string} to
 * @param {string[]} options
 * @returns {Promise<string>} the file that was written
 */
async function convert(from, to, ...options) {
    const command = path.join(String(process.env.VISTREL_BIN), "vistrel-convert");
    await promisify(execFile)(command, [...options, at(from), at(to)]);
    return at(to);
}

/**
 * Arms of an L with a foot: red to the right, green down, blue forward, each growing. An arm's
 * harmonics are the same, as SOG has fewer of them than Gaussians.
 */
const kArms = [
    { axis: 0, color: [0.85, 0.2, 0.25] },
    { axis: 1, color: [0.25, 0.8, 0.3] },
    { axis: 2, color: [0.2, 0.3, 0.75] },
];

/**
 * @param {number} degree of the harmonics
 * @returns {Buffer} the scene as the training of 3D Gaussians writes it
 */
function scene(degree) {
    const rest = 3 * ((degree + 1) ** 2 - 1);
    const names = ["x", "y", "z", "nx", "ny", "nz", "f_dc_0", "f_dc_1", "f_dc_2"];
    for (let i = 0; i < rest; ++i) names.push(`f_rest_${i}`);
    names.push("opacity", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3");
    const records = kArms.flatMap(({ axis, color }, arm) =>
        [1, 2, 3, 4].map((step) => {
            const n = 4 * arm + step;
            const center = [0.05 * n, -0.03 * n, 2 + 0.02 * n];
            center[axis] += 0.4 * step;
            const opacity = 0.3 + 0.05 * n;
            const turn = [1 + Math.sin(n), Math.sin(2 * n), Math.sin(3 * n), Math.sin(5 * n)];
            const length = Math.hypot(...turn);
            return [
                ...center,
                0, 0, 0,
                ...color.map((c, i) => (c + 0.02 * Math.sin(n + i) - 0.5) / 0.28209478),
                ...Array.from({ length: rest }, (_, k) => 0.6 * Math.sin((arm + 1) * (k + 1))),
                Math.log(opacity / (1 - opacity)),
                ...[0.03, 0.09, 0.2].map((size) => Math.log(size * (1 + step / 8))),
                ...turn.map((value) => value / length),
            ];
        }),
    );
    const properties = names.map((name) => `property float ${name}\n`).join("");
    const element = `element vertex ${records.length}\n${properties}`;
    const header = `ply\nformat binary_little_endian 1.0\n${element}end_header\n`;
    const values = Float32Array.from(records.flat());
    return Buffer.concat([Buffer.from(header), Buffer.from(values.buffer)]);
}

await writeFile(at("l.ply"), scene(3));
await writeFile(at("flat.ply"), scene(0));
const expected = parsedPly(await readFile(at("l.ply")));

/**
 * How far values may be off: centres in world units, shapes in parts of themselves.
 * @typedef {object} Steps
 * @property {number} center
 * @property {number} shape of the covariance
 * @property {number} opacity
 * @property {number} color
 * @property {number[]} harmonics of degrees 1 to 3; none where the format has none
 */

/**
 * @param {number} center
 * @param {number} shape
 * @param {number} opacity
 * @param {number} color
 * @param {number[]} harmonics
 * @returns {Steps}
 */
function steps(center, shape, opacity, color, harmonics) {
    return { center, shape, opacity, color, harmonics };
}

const kExact = steps(1e-6, 1e-4, 1e-5, 1e-5, [1e-5, 1e-5, 1e-5]);
/** What each format's steps allow, with what comes of a turned quaternion. */
const kFormats = {
    "ply": kExact,
    "compressed.ply": steps(2e-3, 0.02, 3e-3, 3e-3, [0.02, 0.02, 0.02]),
    "splat": steps(1e-6, 0.05, 4e-3, 4e-3, []),
    "spz": steps(2e-4, 0.09, 3e-3, 4e-3, [0.04, 0.07, 0.07]),
    "sog": steps(1e-3, 0.06, 5e-3, 8e-3, [0.03, 0.03, 0.03]),
    "ksplat": steps(1e-3, 0.02, 3e-3, 3e-3, [0.02, 0.02]),
};
/** What Spark packs its Gaussians into: halves, logarithms of sizes in 8 bits, the rest in bytes. */
const kSpark = steps(2e-3, 0.12, 3e-3, 3e-3, [0.01, 0.008, 0.02]);
/** GaussianSplats3D keeps colours and opacities in bytes. */
const kGs3d = steps(0, 1e-3, 4e-3, 4e-3, [0, 0]);

/**
 * @param {Steps} a
 * @param {Steps} b
 * @returns {Steps} of both, one after the other
 */
function both(a, b) {
    return {
        center: a.center + b.center,
        shape: a.shape + b.shape,
        opacity: a.opacity + b.opacity,
        color: a.color + b.color,
        harmonics: a.harmonics.slice(0, b.harmonics.length).map((step, i) => step + b.harmonics[i]),
    };
}

/**
 * @param {number[]} a
 * @param {number[]} b
 */
function farthest(a, b) {
    return Math.max(...a.map((value, i) => Math.abs(value - b[i])));
}

/**
 * @param {Splat[]} found
 * @param {Steps} most
 * @param {Splat[]} [wanted]
 */
function assertSame(found, most, wanted = expected) {
    assert.equal(found.length, wanted.length);
    const perColour = (most.harmonics.length + 1) ** 2 - 1;
    for (const splat of wanted) {
        const distance = (/** @type {Splat} */ { center }) => farthest(center, splat.center);
        const [same] = [...found].sort((a, b) => distance(a) - distance(b));
        const size = Math.hypot(...splat.covariance);
        const off = {
            center: distance(same),
            shape: farthest(same.covariance, splat.covariance) / size,
            opacity: Math.abs(same.opacity - splat.opacity),
            color: farthest(same.color, splat.color),
        };
        for (const [name, value] of Object.entries(off)) {
            const limit = /** @type {Record<string, any>} */ (most)[name];
            assert.ok(value <= limit, `${name} is off by ${value}: ${JSON.stringify([same, splat])}`);
        }
        assert.equal(same.harmonics.length, 3 * perColour);
        for (const [l, limit] of most.harmonics.entries()) {
            for (let c = 0; c < 3; ++c) {
                const of = (/** @type {number[]} */ all) => {
                    const first = (c * all.length) / 3;
                    return all.slice(first + (l + 1) ** 2 - 1, first + (l + 2) ** 2 - 1);
                };
                const value = farthest(of(same.harmonics), of(splat.harmonics));
                assert.ok(value <= limit, `harmonics of degree ${l + 1} are off by ${value}`);
            }
        }
    }
}

/**
 * @param {Splat} splat
 * @param {number[]} signs of the axes, two of them negative: half a turn about the third
 * @returns {Splat} the same, turned
 */
function turned({ center, covariance, harmonics, ...others }, [x, y, z]) {
    const signs = [x, y, z];
    // How the basis functions of degrees 1 to 3 depend on the axes.
    const basis = [y, z, x, x * y, y * z, 1, x * z, 1, y, x * y * z, y, z, x, z, x];
    return {
        ...others,
        center: center.map((value, i) => value * signs[i]),
        covariance: covariance.map((value, i) => value * signs[Math.floor(i / 3)] * signs[i % 3]),
        harmonics: harmonics.map((value, i) => value * basis[i % basis.length]),
    };
}

const kWritten = /** @type {const} */ ([
    ["ply", []],
    ["compressed.ply", []],
    ["splat", []],
    ["spz", ["--spz-version", "3"]],
    ["spz", ["--spz-version", "4"]],
    ["sog", []],
]);
for (const [format, options] of kWritten) {
    const own = kFormats[format];
    const title = [format, ...options].join(" ");
    const name = `${title.replaceAll(" ", "")}.${format}`;
    const written = convert("l.ply", name, ...options);

    test(`SplatTransformReads ${title}`, async () => {
        assertSame(await readBySplatTransform(await written), both(own, kExact));
    });

    test(`SparkReads ${title}`, async () => {
        assertSame(await spark.read(await written), both(own, kSpark));
    });

    if (format === "spz") {
        test(`TheFormatsLibraryReads ${title}`, async () => {
            assertSame(await readBySpz(await written, "UNSPECIFIED"), own);
        });

        test(`TheFormatsLibraryTurnsTheDocumentedFrameBack ${title}`, async () => {
            const file = await convert("l.ply", `rub${name}`, "--spz-frame", "rub", ...options);
            assertSame(await readBySpz(file, "RDF"), own);
        });
    } else if (format !== "sog") {
        test(`GaussianSplats3DReads ${title}`, async () => {
            const degrees = own.harmonics.slice(0, kGs3dDegree);
            assertSame(await readByGs3d(await written), both({ ...own, harmonics: degrees }, kGs3d));
        });
    }
}

test("SceneWithoutHarmonicsHasNoneElsewhere", async () => {
    for (const [format, options] of kWritten) {
        const file = await convert("flat.ply", `flat_.${format}`, ...options);
        const splats = await spark.read(file);
        assert.deepEqual(splats.map(({ harmonics }) => harmonics), new Array(12).fill([]));
    }
});

for (const format of /** @type {const} */ (["ply", "compressed.ply", "splat", "spz", "sog"])) {
    test(`FileOfSplatTransformIsRead ${format}`, async () => {
        const file = at(`foreign.${format}`);
        await splatTransform(at("l.ply"), file);
        const ply = await convert(`foreign.${format}`, `foreign.${format}.ply`);
        assertSame(parsedPly(await readFile(ply)), both(kFormats[format], kExact));
    });
}

for (const level of /** @type {const} */ ([0, 1, 2])) {
    test(`FileOfGaussianSplats3DIsRead ksplat, level ${level}`, async () => {
        await writeFile(at(`foreign${level}.ksplat`), await ksplatOf(at("l.ply"), level));
        const ply = await convert(`foreign${level}.ksplat`, `foreign${level}.ply`);
        assertSame(parsedPly(await readFile(ply)), both(kFormats.ksplat, kGs3d));
    });
}

test("GlbHasItsValuesWhereThreeLooksForThem", async () => {
    const splats = await readByThree(await convert("l.ply", "l.glb"));
    // Up is up in glTF, and what is in front of the camera is at negative depths.
    assertSame(splats, kExact, expected.map((splat) => turned(splat, [1, -1, -1])));
});

test("GlbOfSplatTransformLooksTheOtherWay", async () => {
    // It turns scenes upright so that the right is on the left, and the scene faces the viewer.
    await splatTransform(at("l.ply"), at("foreign.glb"));
    const ply = await convert("foreign.glb", "foreign.glb.ply");
    const splats = parsedPly(await readFile(ply));
    assertSame(splats, kExact, expected.map((splat) => turned(splat, [-1, 1, -1])));
});
