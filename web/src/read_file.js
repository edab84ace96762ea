// SPDX-License-Identifier: GPL-3.0-or-later
/** Status of a file that was read without HTTP. */
const kLocalFile = 0;
/** No browser gives the page more bytes at once. */
const kMostBytes = 2 ** 31;
const kTooLarge = "The file is too large for the viewer";

/**
 * Reads a file as bytes. Failures are reported to the console.
 * @param {string} url
 * @param {(bytes: ArrayBuffer) => void} onBytes
 * @param {(reason: string) => void} onFailure
 */
export function readFile(url, onBytes, onFailure) {
    const request = new XMLHttpRequest();
    try {
        request.open("GET", url, true);
    } catch {
        console.error("Invalid URL");
        onFailure("Its address is invalid");
        return;
    }
    request.responseType = "arraybuffer";
    request.onload = ({ loaded }) => {
        if (request.status !== 200 && request.status !== kLocalFile) {
            console.error("Read error Status code:", request.status);
            onFailure(`Reading the file ended with status ${request.status}`);
        } else if (request.response === null && loaded > 0) {
            onFailure(kTooLarge);
        } else {
            onBytes(request.response ?? new ArrayBuffer(0));
        }
    };
    request.onprogress = ({ loaded }) => {
        if (loaded < kMostBytes) return;
        request.abort();
        onFailure(kTooLarge);
    };
    request.onerror = () => {
        console.error("Network error !");
        onFailure("The file cannot be read");
    };
    request.send();
}
