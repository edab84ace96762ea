// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { afterEach, beforeEach, mock, test } from "node:test";
import { readFile } from "../../../web/src/read_file.js";

/** Stands in for the browser's: ends as it is told. */
class Request {
    /** @type {() => void} */
    onload = () => {};
    /** @type {() => void} */
    onerror = () => {};
    responseType = "";
    /** @type {ArrayBuffer | null} */
    response = null;
    status = 0;

    /**
     * @param {string} method
     * @param {string} url
     */
    open(method, url) {
        assert.equal(method, "GET");
        if (url === "invalid") throw new SyntaxError("invalid");
    }

    send() {
        requests.push(this);
    }
}

/** @type {Request[]} */
let requests = [];
const reports = mock.method(console, "error", () => {});
beforeEach(() => {
    requests = [];
    reports.mock.resetCalls();
    Object.assign(globalThis, { XMLHttpRequest: Request });
});
afterEach(() => Reflect.deleteProperty(globalThis, "XMLHttpRequest"));

/**
 * @param {string} url
 * @param {(request: Request) => void} [end]
 */
function read(url, end) {
    /** @type {unknown[]} */
    const outcome = [];
    readFile(url, (bytes) => outcome.push(bytes), () => outcome.push("failure"));
    if (end) end(requests[0]);
    return { outcome, told: reports.mock.calls.map((call) => call.arguments) };
}

for (const status of [0, 200]) {
    test(`StatusIsSuccess ${status}`, () => {
        const bytes = new ArrayBuffer(3);
        const { outcome, told } = read("/a.ply", (request) => {
            assert.equal(request.responseType, "arraybuffer");
            Object.assign(request, { status, response: bytes }).onload();
        });
        assert.deepEqual([outcome, told], [[bytes], []]);
    });
}

test("AnswerWithoutABodyIsAnEmptyFile", () => {
    const { outcome } = read("/a.ply", (request) => request.onload());
    assert.deepEqual(outcome, [new ArrayBuffer(0)]);
});

test("OtherStatusIsReported", () => {
    const { outcome, told } = read("/a.ply", (request) => {
        Object.assign(request, { status: 404 }).onload();
    });
    assert.deepEqual([outcome, told], [["failure"], [["Read error Status code:", 404]]]);
});

test("FailedTransportIsReported", () => {
    const { outcome, told } = read("/a.ply", (request) => request.onerror());
    assert.deepEqual([outcome, told], [["failure"], [["Network error !"]]]);
});

test("InvalidUrlIsReported", () => {
    assert.deepEqual(read("invalid"), { outcome: ["failure"], told: [["Invalid URL"]] });
    assert.equal(requests.length, 0);
});
