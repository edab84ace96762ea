// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { afterEach, beforeEach, mock, test } from "node:test";
import { readFile } from "../../../web/src/read_file.js";

/** Stands in for the browser's: ends as it is told. */
class Request {
    /** @type {(event: { loaded: number }) => void} */
    onload = () => {};
    /** @type {(event: { loaded: number }) => void} */
    onprogress = () => {};
    /** @type {() => void} */
    onerror = () => {};
    responseType = "";
    /** @type {ArrayBuffer | null} */
    response = null;
    status = 0;
    isAborted = false;

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

    abort() {
        this.isAborted = true;
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
    readFile(
        url,
        (bytes) => outcome.push(bytes),
        ({ kind, message }) => outcome.push([kind, message]),
    );
    if (end) end(requests[0]);
    return { outcome, told: reports.mock.calls.map((call) => call.arguments) };
}

for (const status of [0, 200]) {
    test(`StatusIsSuccess ${status}`, () => {
        const bytes = new ArrayBuffer(3);
        const { outcome, told } = read("/a.ply", (request) => {
            assert.equal(request.responseType, "arraybuffer");
            Object.assign(request, { status, response: bytes }).onload({ loaded: 3 });
        });
        assert.deepEqual([outcome, told], [[bytes], []]);
    });
}

test("AnswerWithoutABodyIsAnEmptyFile", () => {
    const { outcome } = read("/a.ply", (request) => request.onload({ loaded: 0 }));
    assert.deepEqual(outcome, [new ArrayBuffer(0)]);
});

test("BytesThatDoNotArriveAreTooMany", () => {
    const { outcome } = read("/a.ply", (request) => request.onload({ loaded: 2 ** 31 - 1 }));
    assert.deepEqual(outcome, [["tooLarge", "It is too large for the viewer"]]);
});

test("TooLargeFileIsNotReadToItsEnd", () => {
    const { outcome } = read("/a.ply", (request) => {
        request.onprogress({ loaded: 2 ** 31 - 1 });
        assert.ok(!request.isAborted);
        request.onprogress({ loaded: 2 ** 31 });
        assert.ok(request.isAborted);
    });
    assert.deepEqual(outcome, [["tooLarge", "It is too large for the viewer"]]);
});

test("OtherStatusIsReported", () => {
    const { outcome, told } = read("/a.ply", (request) => {
        Object.assign(request, { status: 404 }).onload({ loaded: 0 });
    });
    assert.deepEqual(outcome, [["unreadable", "Reading the file ended with status 404"]]);
    assert.deepEqual(told, [["Read error Status code:", 404]]);
});

test("FailedTransportIsReported", () => {
    const { outcome, told } = read("/a.ply", (request) => request.onerror());
    assert.deepEqual([outcome, told], [[["unreadable", "The file cannot be read"]], [["Network error !"]]]);
});

test("InvalidUrlIsReported", () => {
    const { outcome, told } = read("invalid");
    assert.deepEqual([outcome, told], [[["unreadable", "Its address is invalid"]], [["Invalid URL"]]]);
    assert.equal(requests.length, 0);
});
