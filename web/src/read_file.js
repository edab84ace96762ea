// SPDX-License-Identifier: GPL-3.0-or-later
import { SceneError } from "./texts.js";

/** Status of a file that was read without HTTP. */
const kLocalFile = 0;
/** No browser gives the page more bytes at once. */
const kMostBytes = 2 ** 31;

/**
 * Reads a file as bytes. Failures are reported to the console.
 * @param {string} url
 * @param {(bytes: ArrayBuffer) => void} onBytes
 * @param {(reason: SceneError) => void} onFailure
 */
export function readFile(url, onBytes, onFailure) {
    const request = new XMLHttpRequest();
    try {
        request.open("GET", url, true);
    } catch {
        console.error("Invalid URL");
        onFailure(new SceneError("unreadable", "Its address is invalid"));
        return;
    }
    request.responseType = "arraybuffer";
    request.onload = ({ loaded }) => {
        if (request.status !== 200 && request.status !== kLocalFile) {
            console.error("Read error Status code:", request.status);
            const detail = `Reading the file ended with status ${request.status}`;
            onFailure(new SceneError("unreadable", detail));
        } else if (request.response === null && loaded > 0) {
            onFailure(new SceneError("tooLarge"));
        } else {
            onBytes(request.response ?? new ArrayBuffer(0));
        }
    };
    request.onprogress = ({ loaded }) => {
        if (loaded < kMostBytes) return;
        request.abort();
        onFailure(new SceneError("tooLarge"));
    };
    request.onerror = () => {
        console.error("Network error !");
        onFailure(new SceneError("unreadable"));
    };
    request.send();
}
