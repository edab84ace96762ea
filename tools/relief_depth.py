# SPDX-License-Identifier: GPL-3.0-or-later
"""Guesses how near each pixel is. All values are disparities: one over the depth.

The picture becomes a screen that leans back: near at the lower edge, as ground is, far at the upper
edge, as a sky is. Columns in which something stands out come forward.

A wrong guess must not show, neither beside the photograph's camera nor behind it, where the viewer
starts. So disparity changes along a column in proportion to the height: what is straight and upright
in the picture is straight in space, and looks so from everywhere. From column to column it changes
gently: nothing tears.
"""

SIDE = 1536           # of the picture
CUE_SIDE = SIDE // 8  # cues are found at an eighth of its resolution

FARTHEST = 0.125  # disparity at the upper edge
NEAREST = 0.31    # the most at the lower edge
RELIEF = 0.08     # the most by which a column comes forward at the lower edge
RELIEF_AT_TOP = 0.35  # share of it at the upper edge, which the viewer shows against black
ARCH = 0.3        # share of the relief that is the same for every picture: nearest in the middle
FAINTEST = 0.2    # pictures whose columns differ by less than about this get less relief

FRAME = 6         # width in cue pixels of the frame whose colours are taken for the background's
PATCH = 12        # length of the frame's parts, likewise
FRAME_END = 108   # the frame's sides end here: farther down there is ground


def sum_of_channels(graph, value):
    return graph.op("ReduceSum", value, graph.integers(1), keepdims=1)


def tint(graph, colour):
    """Colour without most of its brightness, so that shadows make no difference."""
    total = sum_of_channels(graph, colour)
    return graph.join([colour / (total + 0.15), total * 0.12])


def frame_of(graph, picture):
    """The colours along the upper edge and the upper parts of both sides, one per batch place."""
    def means(strip, *shape):
        return graph.op("AveragePool", strip, kernel_shape=shape, strides=shape)

    top = means(graph.slice(picture, 2, 0, FRAME), FRAME, PATCH)
    upper = graph.slice(picture, 2, 0, FRAME_END)
    sides = [means(graph.slice(upper, 3, start, start + FRAME), PATCH, FRAME)
             for start in (0, CUE_SIDE - FRAME)]
    return graph.join([graph.op("Transpose", top, perm=[3, 1, 2, 0]),
                       *(graph.op("Transpose", side, perm=[2, 1, 0, 3]) for side in sides)], axis=0)


def standing_out(graph, picture):
    """0..1: how much a pixel differs from all colours of the frame."""
    smooth = graph.box(picture, 1)
    differences = graph.op("Abs", tint(graph, smooth) - tint(graph, frame_of(graph, picture)))
    least = graph.op("ReduceMin", sum_of_channels(graph, differences), axes=[0], keepdims=1)
    return graph.share(least, 0.06, 0.2)


def profile_of(graph, picture):
    """0..1 for each column: how much stands out in it, compared with the other columns."""
    share = graph.op("ReduceMean", standing_out(graph, picture), axes=[2], keepdims=1)
    coarse = graph.halve_rows(graph.halve_rows(share))
    for _ in range(3):
        coarse = graph.box(coarse, 0, 4)
    least = graph.op("ReduceMin", coarse, axes=[3], keepdims=1)
    span = graph.op("ReduceMax", coarse, axes=[3], keepdims=1) - least
    profile = (coarse - least) / (span + FAINTEST)
    for factor in (4, 8):
        profile = graph.box(graph.enlarge(profile, 1, factor), 0, factor // 2)  # rounds the kinks
    return profile


def disparity_of(graph, picture):
    """A disparity for each pixel of `picture`."""
    across = graph.reshape(graph.positions(SIDE), 1, 1, 1, SIDE)
    down = graph.reshape(graph.positions(SIDE), 1, 1, SIDE, 1)
    arch = 4.0 * across * (1.0 - across)
    profile = profile_of(graph, graph.halve(picture, 3))
    relief = (1.0 - ARCH) * profile + ARCH * arch
    share = RELIEF_AT_TOP + (1.0 - RELIEF_AT_TOP) * down
    return FARTHEST + (NEAREST - RELIEF - FARTHEST) * down + RELIEF * relief * share
