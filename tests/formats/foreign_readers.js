// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * Scene files as programs of other makers read them. Whatever the format, a scene is a list of
 * these, in any order:
 *
 * @typedef {object} Splat
 * @property {number[]} center
 * @property {number[]} covariance row by row
 * @property {number} opacity 0..1
 * @property {number[]} color without harmonics, sRGB, 0..1
 * @property {number[]} harmonics all of red, then of green, then of blue; empty for none
 */
import * as gs3d from "@mkkellogg/gaussian-splats-3d";
import { execFile } from "node:child_process";
import { readFile } from "node:fs/promises";
import { fileURLToPath } from "node:url";
import { promisify } from "node:util";
import { Matrix4, Quaternion, Vector3, Vector4 } from "three";
import { GLTFLoader } from "three/examples/jsm/loaders/GLTFLoader.js";
import { createSpz } from "../support/adobe_spz.js";

const run = promisify(execFile);
const kShDc = 0.28209478;
const kSplatTransform = fileURLToPath(new URL("../support/splat_transform.js", import.meta.url));

/** @param {number} logit */
function sigmoid(logit) {
    return 1 / (1 + Math.exp(-logit));
}

/**
 * @param {number[]} scale standard deviations
 * @param {number[]} rotation w, x, y, z
 * @returns {number[]}
 */
export function covarianceOf(scale, [w, x, y, z]) {
    const turn = new Matrix4().makeRotationFromQuaternion(new Quaternion(x, y, z, w).normalize());
    const columns = [0, 1, 2].map((axis) => {
        const column = new Vector3().setFromMatrixColumn(turn, axis);
        return column.multiplyScalar(scale[axis]).toArray();
    });
    return Array.from({ length: 9 }, (_, i) => {
        const [row, column] = [Math.floor(i / 3), i % 3];
        return columns.reduce((sum, axis) => sum + axis[row] * axis[column], 0);
    });
}

/**
 * @param {Buffer} bytes of a PLY file with float properties of one element
 * @returns {Splat[]}
 */
export function parsedPly(bytes) {
    const end = bytes.indexOf("end_header\n") + 11;
    const header = bytes.toString("latin1", 0, end);
    const kVertices = /element vertex (\d+)\n((?:property float \w+\n)+)/;
    const [, count, lines] = kVertices.exec(header);
    const names = lines.trim().split("\n").map((line) => line.split(" ")[2]);
    const rest = names.filter((name) => name.startsWith("f_rest_")).length;
    return Array.from({ length: Number(count) }, (_, i) => {
        const value = (/** @type {string} */ name) =>
            bytes.readFloatLE(end + 4 * (i * names.length + names.indexOf(name)));
        const values = (/** @type {string[]} */ ...wanted) => wanted.map(value);
        return {
            center: values("x", "y", "z"),
            covariance: covarianceOf(
                values("scale_0", "scale_1", "scale_2").map(Math.exp),
                values("rot_0", "rot_1", "rot_2", "rot_3"),
            ),
            opacity: sigmoid(value("opacity")),
            color: values("f_dc_0", "f_dc_1", "f_dc_2").map((dc) => 0.5 + kShDc * dc),
            harmonics: Array.from({ length: rest }, (_, k) => value(`f_rest_${k}`)),
        };
    });
}

/**
 * @param {string} from a scene of any format
 * @param {string} to the same in the format of this name
 */
export async function splatTransform(from, to) {
    await run(process.execPath, [kSplatTransform, "-q", "-w", "-g", "cpu", from, to]);
}

/**
 * PlayCanvas' splat-transform.
 * @param {string} file
 * @returns {Promise<Splat[]>}
 */
export async function readBySplatTransform(file) {
    const ply = `${file}.read.ply`;
    await splatTransform(file, ply);
    return parsedPly(await readFile(ply));
}

const spz = await createSpz();

/**
 * The library of the SPZ format.
 * @param {string} file
 * @param {"UNSPECIFIED" | "RDF"} frame that it is asked for: as the values are, or that of PLY files
 * @returns {Promise<Splat[]>}
 */
export async function readBySpz(file, frame) {
    const to = spz.CoordinateSystem[frame];
    const cloud = spz.loadSpzFromBuffer(new Uint8Array(await readFile(file)), { to });
    const rest = cloud.sh.length / cloud.numPoints;
    return Array.from({ length: cloud.numPoints }, (_, i) => {
        const part = (/** @type {Float32Array} */ values, /** @type {number} */ size) =>
            Array.from(values.subarray(i * size, (i + 1) * size));
        const [x, y, z, w] = part(cloud.rotations, 4);
        const harmonics = part(cloud.sh, rest);
        return {
            center: part(cloud.positions, 3),
            covariance: covarianceOf(part(cloud.scales, 3).map(Math.exp), [w, x, y, z]),
            opacity: sigmoid(cloud.alphas[i]),
            color: part(cloud.colors, 3).map((dc) => 0.5 + kShDc * dc),
            harmonics: byColour(harmonics),
        };
    });
}

/**
 * @param {number[]} harmonics red, green and blue of the first coefficient, then of the next
 * @returns {number[]}
 */
function byColour(harmonics) {
    return [0, 1, 2].flatMap((colour) => harmonics.filter((_, i) => i % 3 === colour));
}

/** Harmonics of that degree are the most that it has. */
export const kGs3dDegree = 2;
// All that it needs of a browser is a timer.
Object.assign(globalThis, { window: { setTimeout } });

/**
 * Kellogg's GaussianSplats3D. It reads .spz files up to version 2, which nobody writes any more.
 * @param {string} file
 * @returns {Promise<Splat[]>}
 */
export async function readByGs3d(file) {
    const bytes = new Uint8Array(await readFile(file)).buffer;
    if (file.endsWith(".ply")) {
        return splatsOf(await gs3d.PlyLoader.loadFromFileData(bytes, 0, 0, false, kGs3dDegree));
    }
    if (file.endsWith(".ksplat")) return splatsOf(await gs3d.KSplatLoader.loadFromFileData(bytes));
    return splatsOf(await gs3d.SplatLoader.loadFromFileData(bytes, 0, 0, false));
}

/** @param {any} buffer GaussianSplats3D's */
function splatsOf(buffer) {
    const count = buffer.getSplatCount();
    const degree = buffer.sections[0].sphericalHarmonicsDegree;
    const size = 3 * ((degree + 1) ** 2 - 1);
    const harmonics = new Float32Array(size * count);
    if (degree > 0) buffer.fillSphericalHarmonicsArray(harmonics, degree, undefined, 0, count - 1, 0);
    return Array.from({ length: count }, (_, i) => {
        const [center, scale, turn, color] =
            [new Vector3(), new Vector3(), new Quaternion(), new Vector4()];
        buffer.getSplatCenter(i, center);
        buffer.getSplatScaleAndRotation(i, scale, turn);
        buffer.getSplatColor(i, color);
        return {
            center: center.toArray(),
            covariance: covarianceOf(scale.toArray(), [turn.w, turn.x, turn.y, turn.z]),
            opacity: color.w / 255,
            color: color.toArray().slice(0, 3).map((value) => value / 255),
            harmonics: byColour(Array.from(harmonics.subarray(i * size, (i + 1) * size))),
        };
    });
}

/**
 * @param {string} ply
 * @param {0 | 1 | 2} compressionLevel
 * @returns {Promise<Uint8Array>} a .ksplat file
 */
export async function ksplatOf(ply, compressionLevel) {
    const bytes = new Uint8Array(await readFile(ply)).buffer;
    const degree = kGs3dDegree;
    const buffer = await gs3d.PlyLoader.loadFromFileData(bytes, 0, compressionLevel, true, degree);
    return new Uint8Array(buffer.bufferData);
}

/**
 * three.js' reader of glTF, which knows nothing of Gaussians and shows what is where.
 * @param {string} file
 * @returns {Promise<Splat[]>} where the file's nodes place them
 */
export async function readByThree(file) {
    const bytes = new Uint8Array(await readFile(file)).buffer;
    const gltf = await new GLTFLoader().parseAsync(bytes, "");
    gltf.scene.updateMatrixWorld(true);
    /** @type {any} */
    let points;
    gltf.scene.traverse((/** @type {any} */ object) => {
        if (object.isPoints) points = object;
    });
    const attribute = (/** @type {string} */ name) => points.geometry.getAttribute(name);
    const own = (/** @type {string} */ name) => attribute(`khr_gaussian_splatting:${name}`);
    const part = (/** @type {any} */ values, /** @type {number} */ i) =>
        Array.from({ length: values.itemSize }, (_, k) => values.getComponent(i, k));
    const degree = [3, 2, 1].find((l) => own(`sh_degree_${l}_coef_0`)) ?? 0;
    const names = [1, 2, 3].slice(0, degree).flatMap((l) =>
        Array.from({ length: 2 * l + 1 }, (_, n) => `sh_degree_${l}_coef_${n}`),
    );
    return Array.from({ length: attribute("position").count }, (_, i) => {
        const [x, y, z, w] = part(own("rotation"), i);
        return {
            center: new Vector3(...part(attribute("position"), i))
                .applyMatrix4(points.matrixWorld)
                .toArray(),
            covariance: covarianceOf(part(own("scale"), i), [w, x, y, z]),
            opacity: part(own("opacity"), i)[0],
            color: part(own("sh_degree_0_coef_0"), i).map((dc) => 0.5 + kShDc * dc),
            harmonics: byColour(names.flatMap((name) => part(own(name), i))),
        };
    });
}
