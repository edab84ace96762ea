// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { createServer } from "node:http";
import { after, test } from "node:test";
import { gzipSync } from "node:zlib";
import { storedBytes } from "../support/memory.js";
import { centreOf } from "../support/prediction.js";
import { sogFile } from "../support/sog_files.js";
import { ksplatFile, plyFile, spz4File, splatFile, spzFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

/** @typedef {import("../support/splat_files.js").Gaussian} Gaussian */

const browser = await startBrowser();
/** @type {Gaussian[]} */
const kGaussians = [
    { center: [0, 0, 0], scale: 0.06, color: [1, 0, 0] },
    { center: [0.2, 0.2, 0.5], scale: 0.06, color: [0, 1, 0] },
    { center: [-0.25, -0.15, 0.5], scale: 0.06, color: [0, 0, 1] },
];
const good = await browser.file("good.ply", plyFile(kGaussians));
const kQuery = "mode=0&nst=1";
/** Reports of why a file is not shown begin so. */
const kCannotShow = "Cannot show the scene: ";

/** The message in the page's middle, after its language. */
const kTold = `[...document.querySelectorAll("[role=alert]")]
    .map((element) => element.lang + " " + element.innerText).join()`;

const reference = await browser.open({ query: `${kQuery}&openFile=${good}` });
const expected = await reference.picture();
await reference.close();

/**
 * The three Gaussians are where the reference shows them, as strong up to the format's precision.
 * @param {import("../support/png.js").Picture} picture
 */
function assertShown(picture) {
    for (const channel of /** @type {const} */ ([0, 1, 2])) {
        for (const x of [0, 100]) {
            const wanted = centreOf(expected, channel, { x, width: 100 });
            const found = centreOf(picture, channel, { x, width: 100 });
            assert.ok(Math.abs(found.x - wanted.x) < 0.5, `${channel}: ${found.x}, ${wanted.x}`);
            assert.ok(Math.abs(found.y - wanted.y) < 0.5, `${channel}: ${found.y}, ${wanted.y}`);
            assert.ok(Math.abs(found.sum / wanted.sum - 1) < 0.15, `${found.sum}, ${wanted.sum}`);
        }
    }
}

const kFormats = /** @type {const} */ ([
    ["camera.ply", plyFile(kGaussians, { camera: true })],
    ["scene.splat", splatFile(kGaussians)],
    ["scene.spz", spzFile(kGaussians)],
    ["scene.ksplat", ksplatFile(kGaussians)],
    ["SCENE.PLY", plyFile(kGaussians)],
    ["SCENE.SPLAT", splatFile(kGaussians)],
    ["SCENE.SPZ", spzFile(kGaussians)],
    ["SCENE.KSPLAT", ksplatFile(kGaussians)],
    ["version4.spz", spz4File(kGaussians)],
    ["scene.sog", sogFile(kGaussians)],
    ["older.sog", sogFile(kGaussians, { version: 1 })],
    ["packed.zip", sogFile(kGaussians, { folder: "a/", isPacked: true })],
    ["with space.ply", plyFile(kGaussians)],
    ["日本.splat", splatFile(kGaussians)],
]);
for (const [name, bytes] of kFormats) {
    test(`FileIsShown ${name}`, async () => {
        const file = await browser.file(name, bytes);
        const page = await browser.open({
            query: `${kQuery}&openFile=${file.replaceAll(" ", "%20")}`,
        });
        assert.deepEqual(page.reports, []);
        assertShown(await page.picture());
        await page.close();
    });
}

test("PicturesOfSogAreDecodedWithoutWebGL", async () => {
    const file = await browser.file("plain.sog", sogFile(kGaussians));
    const page = await browser.open({
        query: `${kQuery}&openFile=${file}`,
        withoutWebGL: true,
    });
    assert.deepEqual(page.reports, []);
    assertShown(await page.picture());
    await page.close();
});

test("ApostropheInANameIsNoObstacle", async () => {
    const file = await browser.file("it's.ply", plyFile(kGaussians));
    const page = await browser.open({ query: kQuery });
    await page.call("FileFromNative", file);
    await page.call("ChgstFromNative", 0);
    assertShown(await page.picture());
    await page.close();
});

test("BrokenFilesLeaveThePageAlive", async () => {
    const whole = plyFile(kGaussians);
    const header = whole.subarray(0, whole.indexOf("end_header") + 11);
    const broken = /** @type {const} */ ([
        ["empty.ply", Buffer.alloc(0)],
        ["short.ply", Buffer.from("pl")],
        ["text.ply", Buffer.from("This is no splat file at all, whatever its name.")],
        ["headless.ply", whole.subarray(0, 40)],
        ["bodyless.ply", header],
        ["truncated.ply", whole.subarray(0, whole.length - 30)],
        ["many.ply", plyFile(kGaussians, { count: 100_000_000 })],
        ["huge.ply", plyFile(kGaussians, { count: 4_294_967_295 })],
        ["negative.ply", plyFile(kGaussians, { count: -1 })],
        ["endless.ply", endlessPly()],
        ["archive.ply", Buffer.from("PK\x03\x04 whatever is in there")],
        ["empty.splat", Buffer.alloc(0)],
        ["odd.splat", splatFile(kGaussians).subarray(0, 50)],
        ["empty.spz", Buffer.alloc(0)],
        ["truncated.spz", spzFile(kGaussians).subarray(0, 40)],
        ["garbage.spz", gzipSync(Buffer.alloc(100, 7))],
        ["huge.spz", hugeSpz()],
        ["short.ksplat", Buffer.alloc(100)],
        ["truncated.ksplat", ksplatFile(kGaussians).subarray(0, 5200)],
        ["empty.spz4.spz", spz4File([])],
        ["truncated.spz4.spz", spz4File(kGaussians).subarray(0, 120)],
        ["truncated.sog.ply", sogFile(kGaussians).subarray(0, 2000)],
        ["nowhere.ply", plyFile([placeless([NaN, NaN, NaN]), placeless([0, 0, Infinity])])],
        ["nowhere.splat", splatFile([placeless([0, NaN, 0])])],
    ]);
    const page = await browser.open({ query: `${kQuery}&openFile=${good}` });
    for (const [name, bytes] of broken) {
        const file = await browser.file(name, bytes);
        page.reports.length = 0;
        await page.call("FileFromNative", file);
        const reasons = page.reports.filter((report) => report.startsWith(kCannotShow));
        assert.equal(reasons.length, 1, `${name}: ${page.reports}`);
        assert.equal(await page.evaluate("window.SceneStateFromNative()"), "failed", name);
        const told = new RegExp(`^en “${name}” cannot be shown.\\n[A-Z]`);
        assert.match(await page.evaluate(kTold), told);
        assert.match(await page.evaluate(kTold), new RegExp(`“${name}” cannot be shown.\\n[A-Z]`));
        assert.ok(!page.reports.some((report) => report.startsWith("uncaught")), page.reports[0]);
        page.reports.length = 0;
        await page.call("FileFromNative", good);
        assert.deepEqual(page.reports, []);
        assert.equal(await page.evaluate(kTold), "en ");
        assertShown(await page.picture());
    }
    await page.close();
});

/**
 * @param {[number, number, number]} center
 * @returns {Gaussian}
 */
function placeless(center) {
    return { center, scale: 0.1, color: [1, 0, 0] };
}

test("GaussiansWithoutAPlaceDoNotHideTheOthers", async () => {
    const mixed = [placeless([NaN, 0, 0]), ...kGaussians];
    const file = await browser.file("mixed.ply", plyFile(mixed));
    const page = await browser.open({ query: `${kQuery}&openFile=${file}` });
    assert.deepEqual(page.reports, []);
    assertShown(await page.picture());
    await page.close();
});

/** A file with more records than anybody could read, each of them of no size. */
function endlessPly() {
    const whole = plyFile(kGaussians);
    const end = whole.indexOf("end_header");
    const element = Buffer.from("element nothing 99999999999999999999\n");
    return Buffer.concat([whole.subarray(0, end), element, whole.subarray(end)]);
}

/** A file that claims more Gaussians than it holds. */
function hugeSpz() {
    const header = Buffer.alloc(16);
    header.write("NGSP", 0, "latin1");
    header.writeUInt32LE(2, 4);
    header.writeUInt32LE(2_000_000_000, 8);
    header.writeUInt8(12, 13);
    return gzipSync(header);
}

test("FileWithoutGaussiansShowsNothing", async () => {
    const file = await browser.file("none.ply", plyFile([]));
    const page = await browser.open({ query: `${kQuery}&openFile=${file}` });
    assert.deepEqual(page.reports, [`${kCannotShow}It has no Gaussians`]);
    assert.equal(
        await page.evaluate(kTold),
        "en “none.ply” cannot be shown.\nIt has no Gaussians.",
    );
    await page.evaluate("document.getElementById('failure').style.opacity = 0, null");
    assert.equal(centreOf(await page.picture(), 0).sum, 0);
    await page.call("FileFromNative", good);
    assertShown(await page.picture());
    await page.close();
});

for (const painter of /** @type {const} */ (["gpu", "cpu"])) {
    test(`SecondFileTakesThePlaceOfTheFirst ${painter}`, async () => {
        const second = await browser.file(
            "second.ply",
            plyFile([{ center: [0, 0, 0], scale: 0.1, color: [0, 1, 0] }]),
        );
        const page = await browser.open({ query: `painter=${painter}&${kQuery}&openFile=${good}` });
        await page.call("FileFromNative", second);
        const picture = await page.picture();
        assert.equal(centreOf(picture, 0).sum, 0);
        assert.ok(centreOf(picture, 1).sum > 0);
        await page.close();
    });
}

test("LaterOfTwoFilesIsShown", async () => {
    const second = await browser.file(
        "later.ply",
        plyFile([{ center: [0, 0, 0], scale: 0.1, color: [0, 1, 0] }]),
    );
    const page = await browser.open({ query: `${kQuery}&openFile=${good}` });
    await page.page.evaluate(
        ([first, second]) => {
            const { FileFromNative } = /** @type {any} */ (window);
            FileFromNative(first);
            FileFromNative(second);
        },
        [good, second],
    );
    await page.rest();
    assert.equal(centreOf(await page.picture(), 0).sum, 0);
    await page.close();
});

/**
 * @param {import("../support/viewer_page.js").ViewerPage} page
 * @param {number} times
 */
async function heldAfterFiles(page, times) {
    for (let i = 0; i < times; ++i) await page.call("FileFromNative", good);
    const { objects } = await page.watch();
    return { objects, bytes: await storedBytes(page.page) };
}

/** @param {"gpu" | "cpu"} painter */
async function showManyFiles(painter) {
    const query = `painter=${painter}&${kQuery}&openFile=${good}`;
    const page = await browser.open({ query, width: 64, height: 48 });
    const few = await heldAfterFiles(page, 3);
    const many = await heldAfterFiles(page, 12);
    const picture = await page.picture();
    await page.close();
    return { few, many, picture };
}

for (const painter of /** @type {const} */ (["gpu", "cpu"])) {
    /** @type {ReturnType<typeof showManyFiles> | undefined} */
    let shown;
    const manyFiles = () => (shown ??= showManyFiles(painter));

    test(`ManyFilesHoldNoMoreThanAFew ${painter}`, async () => {
        const { few, many, picture } = await manyFiles();
        assert.deepEqual(many.objects, few.objects);
        assert.ok(centreOf(picture, 0).sum > 0);
    });

    test(`ReplacedFilesAreLetGo ${painter}`, async () => {
        const { few, many } = await manyFiles();
        // The least that Spark holds for a file is 2048 Gaussians of 16 bytes.
        const growth = many.bytes - few.bytes;
        assert.ok(growth < 2 * 2048 * 16, `${growth}`);
    });
}

test("MissingFileIsReported", async () => {
    const page = await browser.open({ query: `${kQuery}&openFile=/nowhere/a.ply` });
    assert.ok(page.reports.includes("Network error !"), `${page.reports}`);
    assert.ok(page.reports.includes(`${kCannotShow}The file cannot be read`), `${page.reports}`);
    assert.equal((await page.watch()).frames, 0);
    await page.close();
});

test("InvalidUrlIsReported", async () => {
    const page = await browser.open({ query: `${kQuery}&openFile=http://[/a.ply` });
    const reports = ["Invalid URL", `${kCannotShow}Its address is invalid`];
    assert.deepEqual(page.reports, reports);
    await page.call("FileFromNative", "http://[/a.ply");
    assert.deepEqual(page.reports, [...reports, ...reports]);
    await page.close();
});

test("SceneOfAServerIsNotAskedFor", async () => {
    let isAsked = false;
    const server = createServer((_request, response) => {
        isAsked = true;
        response.writeHead(200, { "Access-Control-Allow-Origin": "*" }).end(plyFile(kGaussians));
    });
    after(() => server.close());
    await new Promise((resolve) => server.listen(0, "127.0.0.1", () => resolve(undefined)));
    const { port } = /** @type {import("node:net").AddressInfo} */ (server.address());
    const page = await browser.open({ query: `${kQuery}&openFile=http://127.0.0.1:${port}/a.ply` });
    assert.ok(page.reports.includes("Network error !"), `${page.reports}`);
    assert.ok(!isAsked);
    await page.close();
});

test("UrlWithoutANameIsReadAllTheSame", async () => {
    const escaped = [...plyFile(kGaussians)].map((b) => `%${b.toString(16).padStart(2, "0")}`);
    const url = `data:,${escaped.join("")}/`;
    const page = await browser.open({ query: `${kQuery}&openFile=${encodeURIComponent(url)}` });
    assert.deepEqual(page.reports, []);
    assertShown(await page.picture());
    await page.close();
});
