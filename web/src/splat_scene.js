// SPDX-License-Identifier: GPL-3.0-or-later
import { SparkRenderer, SplatMesh } from "@sparkjsdev/spark";
import { DataArrayTexture, Matrix4, Scene } from "three";
import { readSplats } from "./read_splats.js";

/**
 * Spark's renderer for two eyes a frame.
 *
 * Left to itself Spark sorts for the camera that it drew last, so the order would be right for one
 * eye and would flip with the eyes' exchange; and it sorts from a timer, so the last sort of a
 * movement can end after the last drawn frame and stay unseen. Hence nothing here happens of its
 * own accord: SplatScene says when to sort, and for which view.
 */
class EyesRenderer extends SparkRenderer {
    /** @param {import("three").WebGLRenderer} renderer */
    constructor(renderer) {
        super({ renderer, autoUpdate: false });
        this.defaultView.setAutoUpdate(false);
    }

    /**
     * The smallest width of a Gaussian is a matter of the pixels that it is drawn into, which are
     * those of an eye's target, or of its part of one, and not of the screen.
     * @override
     * @param {import("three").WebGLRenderer} renderer
     * @param {import("three").Scene} scene
     * @param {import("three").Camera & { viewport?: import("three").Vector4 }} camera
     */
    onBeforeRender(renderer, scene, camera) {
        super.onBeforeRender(renderer, scene, camera);
        const target = renderer.getRenderTarget();
        const { width, height } = camera.viewport ?? target ?? {};
        if (width && height) this.uniforms.renderSize.value.set(width, height);
    }
}

/**
 * Disposes a mesh and lets go of its Gaussians. Spark never lets go of what it compiled for a
 * mesh, and so keeps everything that the mesh still refers to.
 * @param {SplatMesh} mesh
 */
function release(mesh) {
    const { packedSplats } = mesh;
    // Textures of spherical harmonics stand among other things and inside of uniforms.
    const uniforms = /** @type {{ value?: unknown }[]} */ (Object.values(packedSplats.extra));
    const textures = [packedSplats.source, ...uniforms.map((uniform) => uniform?.value)];
    mesh.dispose();
    for (const texture of textures) {
        if (!(texture instanceof DataArrayTexture)) continue;
        texture.dispose();
        texture.image.data = new Uint8Array(0);
    }
    packedSplats.packedArray = null;
    packedSplats.extra = {};
}

/** The scene with the Gaussians of one file, and their drawing order. */
export class SplatScene {
    scene = new Scene();
    #spark;
    #mesh = new SplatMesh();

    /** @param {import("three").WebGLRenderer} renderer */
    constructor(renderer) {
        this.#spark = new EyesRenderer(renderer);
        this.scene.add(this.#spark, this.#mesh);
    }

    /**
     * Replaces what is shown by the Gaussians of a file, which appear as soon as they are parsed
     * and sorted. Spark takes over the bytes.
     * @param {ArrayBuffer} bytes
     * @param {string} name of the file; its ending decides where the bytes do not show the format
     * @returns {Promise<boolean>} whether the file is still the one to show
     * @throws {Error} why the file cannot be shown
     */
    async show(bytes, name) {
        const nothing = this.#replace(new SplatMesh());
        const mesh = new SplatMesh({ packedSplats: await readSplats(bytes, name) });
        if (this.#mesh !== nothing) {
            release(mesh);
            return false;
        }
        this.#replace(mesh);
        return true;
    }

    /**
     * @param {SplatMesh} mesh to be shown
     * @returns {SplatMesh} the same
     */
    #replace(mesh) {
        release(this.#mesh);
        this.scene.remove(this.#mesh);
        mesh.quaternion.identity();
        mesh.position.set(0, 0, 0);
        this.#mesh = mesh;
        this.scene.add(mesh);
        return mesh;
    }

    /**
     * Brings the Gaussians and their drawing order up to date with the scene and a view.
     * @param {Matrix4} viewToWorld
     */
    async sort(viewToWorld) {
        const spark = this.#spark;
        spark.updateInternal({
            scene: this.scene,
            originToWorld: new Matrix4(),
            viewToWorld,
        });
        const view = spark.defaultView;
        const shown = view.display?.accumulator;
        const sorted = spark.active;
        await view.prepare({ scene: this.scene, viewToWorld, update: false });
        // prepare() takes a share in Gaussians that were not shown before and never returns it;
        // without this the fifth file would find no free place for its Gaussians.
        if (sorted !== shown) spark.releaseAccumulator(sorted);
    }
}
