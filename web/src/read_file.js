// SPDX-License-Identifier: GPL-3.0-or-later
/** Status of a file that was read without HTTP. */
const kLocalFile = 0;

/**
 * Reads a file as bytes. Failures are reported to the console.
 * @param {string} url
 * @param {(bytes: ArrayBuffer) => void} onBytes
 * @param {() => void} onFailure
 */
export function readFile(url, onBytes, onFailure) {
    const request = new XMLHttpRequest();
    try {
        request.open("GET", url, true);
    } catch {
        console.error("Invalid URL");
        onFailure();
        return;
    }
    request.responseType = "arraybuffer";
    request.onload = () => {
        if (request.status === 200 || request.status === kLocalFile) {
            onBytes(request.response ?? new ArrayBuffer(0));
        } else {
            console.error("Read error Status code:", request.status);
            onFailure();
        }
    };
    request.onerror = () => {
        console.error("Network error !");
        onFailure();
    };
    request.send();
}
