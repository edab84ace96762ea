// SPDX-License-Identifier: GPL-3.0-or-later
/**
 * The page's policy: what the page needs is allowed, and nothing else. VISTREL_TEST_BROWSER chooses
 * the browser as in smoke.test.js.
 */
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createServer } from "node:http";
import path from "node:path";
import { after, test } from "node:test";
import { kStereoModes } from "../../../web/src/effects/stereo_modes.js";
import { startQt } from "../support/qt_page.js";
import { builtFolder } from "../support/resting_page.js";
import { ksplatFile, plyFile, splatFile, spzFile } from "../support/splat_files.js";
import { startBrowser } from "../support/viewer_page.js";

const inQt = process.env.VISTREL_TEST_BROWSER === "qtwebengine";
const browser = inQt ? await startQt() : await startBrowser();

/** @type {string[]} what the page got from the network */
const fetched = [];
const server = createServer((request, response) => {
    fetched.push(String(request.url));
    response.writeHead(200, { "Access-Control-Allow-Origin": "*" }).end();
});
after(() => server.close());
await new Promise((resolve) => server.listen(0, "127.0.0.1", () => resolve(undefined)));
const { port } = /** @type {import("node:net").AddressInfo} */ (server.address());
const kServer = `http://127.0.0.1:${port}`;

const script = await browser.file("other.js", "window.ran = true;");
const page = await browser.open({ query: "mode=0" });

test("NothingThatThePageDoesIsRefused", async () => {
    /** @type {import("../support/splat_files.js").Gaussian[]} */
    const gaussians = [{ center: [0, 0, 0], scale: 0.05, color: [1, 0, 0] }];
    const files = /** @type {const} */ ([
        ["a.ply", plyFile(gaussians, { camera: true, degree: 1 })],
        ["a.splat", splatFile(gaussians)],
        ["a.spz", spzFile(gaussians)],
        ["a.ksplat", ksplatFile(gaussians)],
    ]);
    const painters = /** @type {const} */ (["gpu", "cpu"]);
    for (const [name, bytes, painter] of files.flatMap((file) =>
        painters.map((painter) => /** @type {const} */ ([...file, painter])),
    )) {
        const file = await browser.file(name, bytes);
        await page.go(`painter=${painter}&mode=0&nst=1&openFile=${file}`);
        for (const mode of kStereoModes.keys()) {
            await page.call("ChgstFromNative", mode);
            await page.call("SetFocusFromNative", mode, 30);
            const state = await page.evaluate("SceneStateFromNative()");
            assert.equal(state, "shown", `${name} ${painter} ${mode}`);
        }
        assert.deepEqual((await page.watch()).refused, [], name);
    }
    assert.deepEqual(page.reports, []);
});

const kPixel = "data:image/gif;base64,R0lGODlhAQABAAAAACw=";
/** Each does something that must not be done; what the policy says to it. */
const kRefused = /** @type {const} */ ([
    ["inline script", `add("script", { textContent: "ran = true" })`, "script-src-elem inline"],
    ["inline handler", `click(add("a", {}), "ran = true")`, "script-src-attr inline"],
    ["script URL", `add("a", { href: "javascript:ran = true" }).click()`, "script-src-elem inline"],
    ["script of a server", `add("script", { src: server })`, "script-src-elem server"],
    ["script as data", `add("script", { src: "data:,ran=true" })`, "script-src-elem data"],
    ["text as code", `eval("ran = true")`, "script-src eval"],
    ["function of text", `new Function("ran = true")()`, "script-src eval"],
    ["fetch", `fetch(server)`, "connect-src server"],
    ["request", `get(server)`, "connect-src server"],
    ["socket", `new WebSocket(server.replace("http", "ws"))`, "connect-src ws"],
    ["beacon", `navigator.sendBeacon(server, "x")`, "connect-src server"],
    ["image", `new Image().src = server`, "img-src server"],
    ["image as data", `new Image().src = "${kPixel}"`, "img-src data"],
    ["frame", `add("iframe", { src: server })`, "frame-src server"],
    ["plug-in", `add("object", { data: server })`, "object-src server"],
    ["style", `add("style", { textContent: "body { color: red }" })`, "style-src-elem inline"],
    ["style sheet", `add("link", { rel: "stylesheet", href: server })`, "style-src-elem server"],
    ["film", `add("video", { src: server })`, "media-src server"],
    ["worker of a file", `new Worker(${JSON.stringify(script)})`, "worker-src file"],
    ["other base", `add("base", { href: server })`, "base-uri server"],
    ["form", `add("form", { action: server }).submit()`, "form-action server"],
]);
for (const [name, attempt, refusal] of kRefused) {
    test(`ThisIsRefused ${name}`, async () => {
        await page.go("mode=0");
        // From a task of the page, for tools may do more than the page.
        await page.evaluate(`{
            const server = "${kServer}/";
            const add = (kind, values) =>
                document.body.appendChild(Object.assign(document.createElement(kind), values));
            const click = (element, handler) => {
                element.setAttribute("onclick", handler);
                element.click();
            };
            const get = (url) => {
                const request = new XMLHttpRequest();
                request.open("GET", url);
                request.send();
            };
            window.addEventListener("unhandledrejection", (event) => event.preventDefault());
            setTimeout(() => { try { ${attempt}; } catch {} });
        } null`);
        const refused = await page.becomes("watch.refused.length > 0 && watch.refused[0]");
        const place = refused.replace(kServer, "server").replace(/(server|ws|file):?\/.*/, "$1");
        assert.equal(place, refusal);
        assert.equal(await page.evaluate("typeof ran"), "undefined");
        assert.deepEqual(fetched, []);
    });
}

test("NoTextBecomesCode", async () => {
    const html = await readFile(path.join(builtFolder(), "gaus3d.html"), "utf8");
    const [, policy] = /http-equiv="Content-Security-Policy" content="([^"]*)"/.exec(html) ?? [];
    assert.match(policy, /^default-src 'none'; script-src file: 'sha256-/);
    assert.doesNotMatch(policy, /'unsafe-(inline|eval|hashes)'|\*|https?:/);
});
