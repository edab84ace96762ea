// SPDX-License-Identifier: GPL-3.0-or-later
/** What the build adds to spark.module.js, which nobody reads before it is needed. */
import "@sparkjsdev/spark";

declare module "@sparkjsdev/spark" {
    export const softwarePainter: {
        /** The text of an eye's worker. */
        worker: string;
        /** The bytes of its WebAssembly module, as base64. */
        wasm: string;
    };
}
