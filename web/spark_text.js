// SPDX-License-Identifier: GPL-3.0-or-later
import { transform } from "esbuild";
import { runInNewContext } from "node:vm";

/** Changes to the text of Spark 0.1.10, which then runs everywhere and keeps to the page's policy. */

/** Uses of `packed` as an identifier in its shaders. */
const kUse = /\bpacked\b(?=\.[xyzw]\b| =|, )/g;
const kUses = 62;

/**
 * GLSL ES reserves the word, and drivers are free to refuse it.
 * @param {string} spark source text
 * @returns {string} the same without the reserved word
 * @throws {Error} when the text uses the word at another number of places: then it is another text
 *     than the one that was looked through
 */
export function avoidReservedWord(spark) {
    const uses = spark.match(kUse)?.length ?? 0;
    if (uses !== kUses) throw new Error(`Spark uses "packed" ${uses} times and not ${kUses} times`);
    return spark.replace(kUse, "packedWords");
}

/** Spark's WebAssembly where it asks for it as an address; in its worker the line ends otherwise. */
const kBytes = /new URL\("data:application\/wasm;base64,([^"]*)", (?:import\.meta\.url|self\.location\.href)\)/g;

/**
 * A page that may ask for nothing may not ask for data in its own text either.
 * @param {string} spark source text
 * @returns {string} the same, which decodes the bytes of its WebAssembly
 * @throws {Error} when the text is another than the one that was looked through
 */
export function withBytesInText(spark) {
    const places = spark.match(kBytes)?.length ?? 0;
    if (places !== kPlaces) throw new Error(`Spark asks for bytes at ${places} places`);
    return spark.replace(kBytes, 'Uint8Array.from(atob("$1"), (c) => c.charCodeAt(0))');
}

const kWorker = /^const jsContent = ('.*');$/m;

/**
 * @param {string} spark source text
 * @returns {Promise<string>} the same with a minified worker
 * @throws {Error} when the text is another than the one that was looked through
 */
export async function withSmallWorker(spark) {
    const found = kWorker.exec(spark);
    if (found === null) throw new Error("Spark has no worker");
    const [line, literal] = found;
    const { code } = await transform(runInNewContext(literal), { minify: true });
    return spark.replace(line, () => `const jsContent = ${JSON.stringify(code)};`);
}

const kProbe = 'new Function("return 42;");';
const kCompiler =
    /function createCompiledParserFn\([^]*?(?=(?:\\n|\s)*function createDynamicParserFn\()/g;
/** In Spark itself and in the text of its workers, which is a literal there. */
const kPlaces = 2;

/**
 * Stands in for Spark's compiler as a text in Spark's, whose other way it takes for records that
 * are not those of a file of Gaussians.
 * @param {Record<string, { isList: boolean, type: string }>} properties
 * @param {boolean} littleEndian
 * @returns {(data: DataView, offset: number, item: any) => number} reads a record into the item and
 *     returns the offset of the next one
 */
export function createCompiledParserFn(properties, littleEndian) {
    const names = Object.keys(properties);
    const at = (/** @type {string} */ name) => 4 * names.indexOf(name);
    const dc = [at("f_dc_0"), at("f_dc_1"), at("f_dc_2")];
    const scale = [at("scale_0"), at("scale_1"), at("scale_2")];
    const rot = [at("rot_0"), at("rot_1"), at("rot_2"), at("rot_3")];
    const [x, y, z, opacity] = [at("x"), at("y"), at("z"), at("opacity")];
    const known = [x, y, z, opacity, ...dc, ...scale, ...rot];
    const isFloat = Object.values(properties).every((p) => !p.isList && p.type === "float");
    if (!isFloat || known.some((place) => place < 0)) {
        // @ts-expect-error: a function of Spark's
        return createDynamicParserFn(properties, littleEndian);
    }
    const rest = names.flatMap((name) => {
        const [, index] = /^f_rest_([0-9]{1,2})$/.exec(name) ?? [];
        return index === undefined ? [] : [{ index: Number(index), place: at(name) }];
    });
    const size = 4 * names.length;
    return (data, offset, item) => {
        item.x = data.getFloat32(offset + x, littleEndian);
        item.y = data.getFloat32(offset + y, littleEndian);
        item.z = data.getFloat32(offset + z, littleEndian);
        item.opacity = data.getFloat32(offset + opacity, littleEndian);
        item.f_dc_0 = data.getFloat32(offset + dc[0], littleEndian);
        item.f_dc_1 = data.getFloat32(offset + dc[1], littleEndian);
        item.f_dc_2 = data.getFloat32(offset + dc[2], littleEndian);
        item.scale_0 = data.getFloat32(offset + scale[0], littleEndian);
        item.scale_1 = data.getFloat32(offset + scale[1], littleEndian);
        item.scale_2 = data.getFloat32(offset + scale[2], littleEndian);
        item.rot_0 = data.getFloat32(offset + rot[0], littleEndian);
        item.rot_1 = data.getFloat32(offset + rot[1], littleEndian);
        item.rot_2 = data.getFloat32(offset + rot[2], littleEndian);
        item.rot_3 = data.getFloat32(offset + rot[3], littleEndian);
        for (const { index, place } of rest) {
            item.f_rest[index] = data.getFloat32(offset + place, littleEndian);
        }
        return offset + size;
    };
}

/**
 * Spark puts the code that reads the records of a PLY file together as text, which the policy does
 * not let it run, and its other way takes longer.
 * @param {string} spark source text
 * @returns {string} the same without code that is put together as text
 * @throws {Error} when the text is another than the one that was looked through
 */
export function readRecordsWithoutEval(spark) {
    const probes = spark.split(kProbe).length - 1;
    const compilers = spark.match(kCompiler)?.length ?? 0;
    if (probes !== kPlaces || compilers !== kPlaces) {
        throw new Error(`Spark compiles at ${probes} and ${compilers} places, not ${kPlaces}`);
    }
    const text = `${createCompiledParserFn}`;
    const literal = JSON.stringify(text).slice(1, -1).replaceAll("'", "\\'");
    return spark
        .replaceAll(kProbe, "")
        .replace(kCompiler, (compiler) => (compiler.includes("\n") ? text : literal));
}

const kPaletteColumn = "(label & 63) * 15";

/**
 * Spark takes each colour of a SOG file's palette for one of degree 3, with 15 pixels. Below that
 * there are fewer.
 * @param {string} spark source text
 * @returns {string} the same, which finds the colours of every degree
 * @throws {Error} when the text is another than the one that was looked through
 */
export function readPalettes(spark) {
    const places = spark.split(kPaletteColumn).length - 1;
    if (places !== 1) throw new Error(`Spark reads palettes at ${places} places and not one`);
    return spark.replace(kPaletteColumn, "(label & 63) * (useSH3 ? 15 : useSH2 ? 8 : 3)");
}

const kNoGraphics = 'throw new Error("Failed to create WebGL2 context");';

/**
 * Decodes a picture without WebGL. Colours of what is hardly opaque become coarser, as a canvas
 * keeps them multiplied.
 * @param {BlobPart} fileBytes
 */
export async function decodeOnCanvas(fileBytes) {
    const bitmap = await createImageBitmap(new Blob([fileBytes]), { premultiplyAlpha: "none" });
    const { width, height } = bitmap;
    const context = new OffscreenCanvas(width, height).getContext("2d");
    if (context === null) throw new Error("Pictures cannot be decoded");
    context.drawImage(bitmap, 0, 0);
    return { rgba: context.getImageData(0, 0, width, height).data, width, height };
}

/**
 * Spark decodes the pictures of SOG files by WebGL alone.
 * @param {string} spark source text
 * @returns {string} the same, which does it in another way where there is no WebGL
 * @throws {Error} when the text is another than the one that was looked through
 */
export function decodeWithoutWebGL(spark) {
    const places = spark.split(kNoGraphics).length - 1;
    if (places !== 1) throw new Error(`Spark wants WebGL at ${places} places and not one`);
    const text = JSON.stringify(`return (${decodeOnCanvas})(fileBytes);`).slice(1, -1);
    return spark.replace(kNoGraphics, () => text.replaceAll("'", "\\'"));
}
