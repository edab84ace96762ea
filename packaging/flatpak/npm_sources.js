#!/usr/bin/env node
// SPDX-License-Identifier: GPL-3.0-or-later
// Writes what the build takes from npm as sources of the Flatpak manifest, pinned by package-lock.json.
//
// Usage: node packaging/flatpak/npm_sources.js REGISTRY >build/npm-sources.json

import { readFileSync } from "node:fs";
import path from "node:path";
import { fileURLToPath } from "node:url";

// The page's packages, what bundles them, and ONNX Runtime.
const places = ["@esbuild/linux-x64", "@sparkjsdev/spark", "esbuild", "fzstd", "onnxruntime-node", "three"]
    .map((name) => `node_modules/${name}`);

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
const { packages } = JSON.parse(readFileSync(path.join(root, "package-lock.json"), "utf8"));
const registry = process.argv[2]?.replace(/\/*$/, "");
if (!registry) throw new Error("usage: npm_sources.js REGISTRY");

const sources = places.map((place) => {
    const { version, integrity } = packages[place];
    const name = place.slice("node_modules/".length);
    const [, hash] = /^sha512-(\S+)$/.exec(integrity);
    return { type: "archive", url: `${registry}/${name}/-/${name.split("/").at(-1)}-${version}.tgz`,
             sha512: Buffer.from(hash, "base64").toString("hex"), dest: place };
});
process.stdout.write(`${JSON.stringify(sources, null, 4)}\n`);
