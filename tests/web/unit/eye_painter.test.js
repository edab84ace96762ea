// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import { test } from "node:test";
import { bytesOf, EyePainter } from "../../../web/src/painter/eye_painter.js";

/** A worker whose answers the test gives. */
class StandIn {
    /** @type {StandIn} the newest */
    static last;
    /** @type {{ message: any, transfer: Transferable[] }[]} */
    sent = [];
    isEnded = false;
    /** @type {(event: { data: any }) => void} */
    onmessage = () => {};
    /** @type {(event: { message: string, preventDefault: () => void }) => void} */
    onerror = () => {};
    onmessageerror = () => {};

    /** @param {string} url */
    constructor(url) {
        this.url = url;
        StandIn.last = this;
    }

    /** @param {any} message @param {Transferable[]} transfer */
    postMessage(message, transfer) {
        this.sent.push({ message, transfer });
    }

    terminate() {
        this.isEnded = true;
    }

    /** Answers what was sent last. @param {object} answer */
    answer(answer) {
        this.onmessage({ data: { id: this.sent.at(-1)?.message.id, ...answer } });
    }
}
Object.assign(globalThis, { Worker: StandIn });

const kView = { viewMatrix: new Array(16).fill(1), projection: new Array(16).fill(2), width: 3, height: 2 };

function makePainter() {
    const painter = new EyePainter({ worker: "text", module: Uint8Array.of(7) });
    return { painter, worker: StandIn.last };
}

test("WorkerGetsTheModuleFirst", () => {
    const { worker } = makePainter();
    assert.match(worker.url, /^blob:/);
    assert.deepEqual(worker.sent, [
        { message: { request: "start", module: Uint8Array.of(7) }, transfer: [] },
    ]);
});

test("PartsAreTransferred", () => {
    const { painter, worker } = makePainter();
    const [words, first] = [new Uint32Array(4), new Uint32Array(2)];
    painter.begin({ count: 1, shDegree: 1 });
    painter.append(words, [first]);
    assert.deepEqual(worker.sent[1].message, {
        request: "begin",
        count: 1,
        encoding: {},
        shDegree: 1,
    });
    assert.deepEqual(worker.sent[2].transfer, [words.buffer, first.buffer]);
});

test("PaintingResolvesWithThePicture", async () => {
    const { painter, worker } = makePainter();
    const spare = new Uint8ClampedArray(24);
    const painted = painter.paint({ ...kView, spare });
    const { message, transfer } = worker.sent[1];
    assert.deepEqual(transfer, [spare.buffer]);
    assert.deepEqual([message.near, message.share], [0.1, 1]);
    const picture = { pixels: new Uint8ClampedArray(24) };
    worker.answer({ answer: picture });
    assert.equal(await painted, picture);
});

test("AnswersFindTheirQuestions", async () => {
    const { painter, worker } = makePainter();
    const finished = painter.finish();
    const painted = painter.paint(kView);
    const [first, second] = worker.sent.slice(1).map(({ message }) => message.id);
    worker.onmessage({ data: { id: second, answer: "a picture" } });
    worker.onmessage({ data: { id: first } });
    assert.equal(await painted, "a picture");
    assert.equal(await finished, undefined);
});

test("FailureRejectsWithTheReason", async () => {
    const { painter, worker } = makePainter();
    const finished = painter.finish();
    worker.answer({ failure: "There is not enough memory" });
    await assert.rejects(finished, /^Error: There is not enough memory$/);
    const painted = painter.paint(kView);
    worker.answer({ answer: 1 });
    assert.equal(await painted, 1, "the next scene may fit");
});

test("DeadWorkerRejectsWhatWaitsAndWhatComes", async () => {
    const { painter, worker } = makePainter();
    const waiting = [painter.finish(), painter.paint(kView)];
    worker.onerror({ message: "Refused", preventDefault() {} });
    for (const promise of [...waiting, painter.paint(kView)]) {
        await assert.rejects(promise, /^Error: Refused$/);
    }
    painter.append(new Uint32Array(4));
    assert.equal(worker.sent.length, 3, "nothing more is sent");
    assert.ok(worker.isEnded);
});

test("WorkerThatDoesNotStartIsTold", async () => {
    const { painter, worker } = makePainter();
    const finished = painter.finish();
    worker.onerror({ message: "", preventDefault() {} });
    await assert.rejects(finished, /does not start/);
});

test("LostAnswerRejectsWhatWaits", async () => {
    const { painter, worker } = makePainter();
    const painted = painter.paint(kView);
    worker.onmessageerror();
    await assert.rejects(painted, /was lost/);
});

test("DisposingEndsTheWorker", async () => {
    const { painter, worker } = makePainter();
    const painted = painter.paint(kView);
    painter.dispose();
    await assert.rejects(painted, /disposed/);
    await assert.rejects(painter.finish(), /disposed/);
    assert.ok(worker.isEnded);
});

test("BytesAreThoseOfTheText", () => {
    assert.deepEqual(bytesOf("AGFzbQE="), Uint8Array.of(0, 0x61, 0x73, 0x6d, 1));
});
