#!/usr/bin/env node
// SPDX-License-Identifier: GPL-3.0-or-later
// PlayCanvas' splat-transform as a command, `splat_transform.js ARGUMENTS`, without the native module
// that drives the graphics card: that one is not among the packages, and `-g cpu` needs none of it.
import { register } from 'node:module';

/** @param {string} source */
const moduleOf = source => `data:text/javascript,${encodeURIComponent(source)}`;

// The list of adapters, which the program asks for also where it uses none, is empty.
const noGraphics = moduleOf(`
  export const globals = {};
  export const create = () => ({ requestAdapter: async () => null });
`);

register(moduleOf(`
  export const resolve = (name, context, next) =>
    name === 'webgpu' ? { url: ${JSON.stringify(noGraphics)}, shortCircuit: true } : next(name, context);
`));

const { main } = await import('../../node_modules/@playcanvas/splat-transform/dist/cli.mjs');
await main();
