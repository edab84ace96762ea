/** Status of a file that was read without HTTP. */
const kLocalFile = 0;

/**
 * Reads a file as bytes. Failures go to the console and nowhere else.
 * @param {string} url
 * @param {(bytes: ArrayBuffer) => void} onBytes
 */
export function readFile(url, onBytes) {
    const request = new XMLHttpRequest();
    try {
        request.open("GET", url, true);
    } catch {
        console.error("Invalid URL");
        return;
    }
    request.responseType = "arraybuffer";
    request.onload = () => {
        if (request.status === 200 || request.status === kLocalFile) {
            onBytes(request.response ?? new ArrayBuffer(0));
        } else {
            console.error("Read error Status code:", request.status);
        }
    };
    request.onerror = () => console.error("Network error !");
    request.send();
}
