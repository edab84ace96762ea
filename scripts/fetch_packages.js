#!/usr/bin/env node
// SPDX-License-Identifier: GPL-3.0-or-later
// Fetches the packages that package-lock.json names into node_modules, as `npm ci --ignore-scripts`
// would, without npm and the hundreds of packages that it consists of. scripts/setup calls it.
//
// Usage: node scripts/fetch_packages.js DEFAULT_REGISTRY
// Each archive must have the SHA-512 that the lock file has for it. The registry is the one that npm
// would use, DEFAULT_REGISTRY where no setting names one: `registry` and `@scope:registry` of the environment (npm_config_registry), .npmrc here,
// ~/.npmrc and /etc/npmrc; so are `https-proxy`, `cafile`, the tokens (`//host/:_authToken`) and
// NODE_EXTRA_CA_CERTS. curl honours its own variables, such as https_proxy.
// node_modules is replaced when everything is there, and stays as it was when something fails.

import { spawn } from "node:child_process";
import { createHash } from "node:crypto";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import { fileURLToPath } from "node:url";

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "..");
const atOnce = 8;
const secondsOfSilence = 60;

/** `name = value` lines; `${NAME}` stands for a variable of the environment. */
function readSettings(file) {
    if (!fs.existsSync(file)) return {};
    const lines = fs.readFileSync(file, "utf8").split("\n").map((line) => line.trim());
    const pairs = lines.filter((line) => /^[^#;\[][^=]*=/.test(line)).map((line) => {
        const at = line.indexOf("=");
        const value = line.slice(at + 1).trim().replace(/^"(.*)"$/, "$1");
        return [line.slice(0, at).trim(),
                value.replace(/\$\{([^}]+)\}/g, (all, name) => process.env[name] ?? all)];
    });
    return Object.fromEntries(pairs);
}

function settingsOfEnvironment() {
    const pairs = Object.entries(process.env)
        .filter(([name, value]) => /^npm_config_/i.test(name) && value)
        .map(([name, value]) => [name.slice("npm_config_".length).toLowerCase().replace(/_/g, "-"), value]);
    return Object.fromEntries(pairs);
}

function readAllSettings() {
    const environment = settingsOfEnvironment();
    const files = [environment.globalconfig ?? "/etc/npmrc",
                   environment.userconfig ?? path.join(os.homedir(), ".npmrc"),
                   path.join(root, ".npmrc")];
    const set = [...files.map(readSettings), environment].flatMap(Object.entries)
        .filter(([, value]) => value !== "" && value !== "null");
    const settings = { registry: process.argv[2], ...Object.fromEntries(set) };
    if (!settings.registry) throw new Error("no registry is named, neither by a setting nor by the caller");
    return settings;
}

/** Whether a package's `os`, `cpu` or `libc` list allows this machine. */
function allows(list, mine) {
    return !list || (!list.includes(`!${mine}`) && (list.includes(mine) || list.every((one) => one[0] === "!")));
}

function isForThisMachine({ os: systems, cpu, libc }) {
    return allows(systems, process.platform) && allows(cpu, process.arch) && allows(libc, "glibc");
}

/** Where it goes below the root, where it comes from and what it has to be. */
function readPackages(settings) {
    const lock = JSON.parse(fs.readFileSync(path.join(root, "package-lock.json"), "utf8"));
    return Object.entries(lock.packages)
        .filter(([place, entry]) => place !== "" && isForThisMachine(entry))
        .map(([place, { version, integrity, name: other }]) => {
            // Another name than the folder's where a package takes the place of one that is not needed.
            const name = other ?? place.slice(place.lastIndexOf("node_modules/") + "node_modules/".length);
            const hash = /(?:^| )sha512-(\S+)/.exec(integrity ?? "")?.[1];
            if (!hash) throw new Error(`package-lock.json has no SHA-512 of ${name}`);
            const scope = name.startsWith("@") ? settings[`${name.split("/")[0]}:registry`] : undefined;
            const registry = (scope ?? settings.registry).replace(/\/*$/, "");
            const url = `${registry}/${name}/-/${name.split("/").at(-1)}-${version}.tgz`;
            return { name, version, place, hash, url };
        });
}

function tokenFor(url, settings) {
    const address = url.replace(/^https?:/, "");
    const key = Object.keys(settings).find((one) => one.startsWith("//") && one.endsWith(":_authToken") &&
                                                    address.startsWith(one.slice(0, -":_authToken".length)));
    return key ? settings[key] : undefined;
}

/** curl's own certificates and those that were added for Node.js, in one file; undefined: curl's own. */
function certificates(settings, folder) {
    if (settings.cafile) return settings.cafile;
    const added = process.env.NODE_EXTRA_CA_CERTS;
    const usual = process.env.CURL_CA_BUNDLE ?? process.env.SSL_CERT_FILE ?? "/etc/ssl/certs/ca-certificates.crt";
    if (!added || added === usual) return undefined;
    const both = path.join(folder, "certificates.pem");
    fs.writeFileSync(both, [usual, added].filter(fs.existsSync).map((file) => fs.readFileSync(file)).join("\n"));
    return both;
}

/** Runs a command; rejects with the first line that it said on standard error. */
function run(command, words, input) {
    return new Promise((resolve, reject) => {
        const child = spawn(command, words, { stdio: ["pipe", "ignore", "pipe"] });
        let errors = "";
        child.stderr.on("data", (piece) => { errors += piece; });
        child.stdin.on("error", () => {});  // that it ended early is told by its status
        child.on("error", (error) => reject(new Error(`${command} cannot be run: ${error.message}`)));
        child.on("close", (status) => (status === 0 ? resolve(undefined) : reject(new Error(errors.split("\n")[0]))));
        child.stdin.end(input);
    });
}

/** What curl reads from standard input, where nobody else can see a token. */
function curlSettings(url, file, settings, authorities) {
    const lines = { url, output: file, "connect-timeout": "30", retry: "2", "max-redirs": "5",
                    "speed-limit": "1", "speed-time": `${secondsOfSilence}`, proto: "=https,http" };
    const token = tokenFor(url, settings);
    if (token) lines.header = `Authorization: Bearer ${token}`;
    if (authorities) lines.cacert = authorities;
    const proxy = settings["https-proxy"] ?? settings.proxy;
    if (proxy) lines.proxy = proxy;
    const quoted = Object.entries(lines).map(([name, value]) => `${name} = ${JSON.stringify(value)}\n`);
    return ["fail\nlocation\nsilent\nshow-error\n", ...quoted].join("");
}

async function fetchPackage(one, settings, authorities, folder) {
    const archive = path.join(folder, `${one.place.replaceAll("/", "+")}.tgz`);
    await run("curl", ["--config", "-"], curlSettings(one.url, archive, settings, authorities))
        .catch((error) => { throw new Error(`${one.url} could not be fetched: ${error.message}`); });
    const hash = createHash("sha512").update(fs.readFileSync(archive)).digest("base64");
    if (hash !== one.hash) throw new Error(`${one.url} is not what package-lock.json says: its SHA-512 differs`);
    const target = path.join(folder, one.place);
    fs.mkdirSync(target, { recursive: true });
    await run("tar", ["-xzf", archive, "-C", target, "--strip-components=1", "--no-same-owner"]);
    fs.rmSync(archive);
}

/** The first failure ends it; nothing new is begun then. */
async function fetchAll(packages, settings, folder) {
    const authorities = certificates(settings, folder);
    const waiting = [...packages];
    const work = async () => {
        for (let one = waiting.shift(); one; one = waiting.shift()) {
            await fetchPackage(one, settings, authorities, folder).catch((error) => {
                waiting.length = 0;
                throw error;
            });
        }
    };
    const results = await Promise.allSettled(Array.from({ length: atOnce }, work));
    const failed = results.find(({ status }) => status === "rejected");
    if (failed) throw failed.reason;
}

/** What the comment at the top says. */
function showHelp() {
    const lines = fs.readFileSync(fileURLToPath(import.meta.url), "utf8").split("\n").slice(2);
    const comment = lines.slice(0, lines.findIndex((line) => !line.startsWith("//")));
    console.log(comment.map((line) => line.replace(/^\/\/ ?/, "")).join("\n"));
}

async function main() {
    const settings = readAllSettings();
    const packages = readPackages(settings);
    fs.mkdirSync(path.join(root, "build"), { recursive: true });
    const folder = fs.mkdtempSync(path.join(root, "build", "packages-"));
    try {
        await fetchAll(packages, settings, folder);
        const place = path.join(root, "node_modules");
        fs.rmSync(place, { recursive: true, force: true });
        fs.renameSync(path.join(folder, "node_modules"), place);
    } finally {
        fs.rmSync(folder, { recursive: true, force: true });
    }
    console.log(`Fetched ${packages.length} packages from ${new URL(settings.registry).host}.`);
}

try {
    if (process.argv.slice(2).some((word) => word === "--help" || word === "-h")) {
        showHelp();
    } else {
        await main();
    }
} catch (error) {
    console.error(`Error: ${error.message}`);
    process.exitCode = 1;
}
