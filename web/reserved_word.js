/**
 * Uses of `packed` as an identifier in the shaders of Spark 0.1.10. GLSL ES reserves the word, and
 * drivers are free to refuse it.
 */
const kUse = /\bpacked\b(?=\.[xyzw]\b| =|, )/g;
const kUses = 62;

/**
 * @param {string} spark source text
 * @returns {string} the same without the reserved word
 * @throws {Error} when the text uses the word at another number of places: then it is another text
 *     than the one that was looked through
 */
export function avoidReservedWord(spark) {
    const uses = spark.match(kUse)?.length ?? 0;
    if (uses !== kUses) throw new Error(`Spark uses "packed" ${uses} times and not ${kUses} times`);
    return spark.replace(kUse, "packedWords");
}
