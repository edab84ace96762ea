# SPDX-License-Identifier: GPL-3.0-or-later
"""Guesses how near each pixel is. All values are disparities: one over the depth.

The picture is looked at as most photographs are taken: ground at the bottom that recedes to a
horizon, things that stand on it, and a sky at the top. The cues are the height in the picture,
colour and brightness compared with the lower and the upper edge, and local contrast.
"""

SIDE = 384  # cues are found at half the resolution of the Gaussians

FARTHEST = 0.10  # disparity of the sky
NEAREST = 0.80   # disparity at the lower edge
HORIZON = 0.42   # share of the picture's height above the horizon


def sum_of_channels(graph, value):
    return graph.op("ReduceSum", value, graph.integers(1), keepdims=1)


def way_down(graph, side=SIDE):
    """Of each row, the share of the picture's height that lies above it."""
    return graph.reshape(graph.positions(side), 1, 1, side, 1)


def ground_of(graph):
    """A level ground: its disparity grows in proportion to the distance below the horizon."""
    softness = 0.03  # of the bend at the horizon, a share of the height
    below = graph.op("Softplus", (way_down(graph) - HORIZON) / softness)
    below = below * (softness / (1.0 - HORIZON))
    return FARTHEST + (NEAREST - FARTHEST) * below


def sky_of(graph, picture):
    """1 where one gets from the upper edge straight down without crossing an edge, and in larger
    areas with colours like those at the upper edge."""
    smooth = graph.box(picture, 1)
    down = graph.op("Abs", graph.shifted(smooth, 2, 1) - graph.shifted(smooth, 2, -1))
    across = graph.op("Abs", graph.shifted(smooth, 3, 1) - graph.shifted(smooth, 3, -1))
    edges = graph.op("Relu", sum_of_channels(graph, down + across) - 0.06)
    crossed = graph.op("CumSum", edges, graph.integers(2))
    open_above = graph.op("Exp", crossed * -2.5)

    alike = 1.0 - graph.share(unlike_strip(graph, picture, 0, 16), 0.10, 0.20)
    alike = graph.largest(graph.smallest(alike, 5), 5)
    upper = 1.0 - graph.share(way_down(graph), HORIZON, HORIZON + 0.2)
    return graph.op("Max", open_above, graph.enlarge(alike, 2)) * upper


def tint(graph, colour):
    """Colour without most of its brightness, so that shadows on the ground stay ground."""
    total = sum_of_channels(graph, colour)
    return graph.join([colour / (total + 0.15), total * 0.12])


def unlike_strip(graph, picture, first, last):
    """How much a pixel's colour differs from all colours in the rows first..last, half size."""
    strip = graph.slice(picture, 2, first, last)
    patches = graph.op("AveragePool", strip, kernel_shape=[last - first, 16],
                       strides=[last - first, 16])
    patches = graph.op("Transpose", tint(graph, patches), perm=[3, 1, 0, 2])  # one per batch place
    pixels = tint(graph, graph.halve(graph.box(picture, 2)))
    distances = sum_of_channels(graph, graph.op("Abs", pixels - patches))
    return graph.op("ReduceMin", distances, axes=[0], keepdims=1)


def standing_out(graph, picture):
    """0..1: what does not look like the ground, which is taken to be what the lower edge shows."""
    share = graph.share(unlike_strip(graph, picture, SIDE - 32, SIDE), 0.05, 0.12)
    # Nothing above the horizon is ground.
    above = graph.share(way_down(graph, SIDE // 2), HORIZON + 0.05, HORIZON)
    share = graph.op("Max", share, above)
    return graph.enlarge(graph.smallest(graph.largest(share, 3), 3), 2)


def stand_upright(graph, ground, object_share):
    """Lets things keep the disparity of their foot instead of leaning back with the ground.

    From the lower edge upwards: d(y) = ground(y) + o(y) (d(y + 1) - ground(y)), a linear recurrence
    a x + b. Doubling the reach in each step solves it in log2(rows) steps.
    """
    keep = object_share
    add = ground * (1.0 - keep)
    reach = 1
    while reach < SIDE:
        add = add + keep * graph.shifted(add, 2, reach, 0.0)
        keep = keep * graph.shifted(keep, 2, reach, 0.0)
        reach *= 2
    return add


def follow_edges(graph, small, guess, picture, radius=7, tolerance=0.002):
    """Moves the edges of `guess` onto those of the picture.

    The guided filter with a colour guide (He, Sun, Tang, "Guided Image Filtering", ECCV 2010), its
    coefficients found at half resolution and applied at the full one.
    """
    def mean(value):
        return graph.box(value, radius)

    red, green, blue = (graph.channel(small, i) for i in range(3))
    guide = [red, green, blue]
    means = [mean(c) for c in guide]
    mean_guess = mean(guess)
    with_guess = [mean(c * guess) - m * mean_guess for c, m in zip(guide, means)]

    def covariance(i, j):
        value = mean(guide[i] * guide[j]) - means[i] * means[j]
        return value + tolerance if i == j else value

    a, b, c = covariance(0, 0), covariance(0, 1), covariance(0, 2)
    d, e, f = covariance(1, 1), covariance(1, 2), covariance(2, 2)
    # The inverse of the symmetric matrix [a b c; b d e; c e f] by its cofactors.
    cofactors = [d * f - e * e, c * e - b * f, b * e - c * d,
                 a * f - c * c, b * c - a * e, a * d - b * b]
    determinant = a * cofactors[0] + b * cofactors[1] + c * cofactors[2]
    x, y, z = with_guess
    slopes = [(cofactors[0] * x + cofactors[1] * y + cofactors[2] * z) / determinant,
              (cofactors[1] * x + cofactors[3] * y + cofactors[4] * z) / determinant,
              (cofactors[2] * x + cofactors[4] * y + cofactors[5] * z) / determinant]
    offset = mean_guess
    for slope, m in zip(slopes, means):
        offset = offset - slope * m
    slope = graph.enlarge(mean(graph.join(slopes)), 2)
    return sum_of_channels(graph, slope * picture) + graph.enlarge(mean(offset), 2)


def crisp(graph, disparity):
    """Steepens edges: what lies between two depths belongs to one of them."""
    low = graph.smallest(disparity, 3)
    high = graph.largest(disparity, 3)
    span = high - low
    place = (disparity - low) / (span + 1e-4)
    sharp = low + span * graph.share(place, 0.3, 0.7)
    strength = graph.share(span / disparity, 0.06, 0.2)
    return disparity + (sharp - disparity) * strength


def whole_edges(graph, disparity):
    """Widens near things by two pixels and takes out specks and holes.

    The pixels at an edge have mixed colours. Left behind on the background they would show as a
    dotted outline there.
    """
    wide = graph.smallest(graph.largest(disparity, 3), 1)
    return graph.largest(graph.smallest(wide, 1), 1)


def disparity_of(graph, picture):
    """Disparities for each pixel of `picture`, which has twice as many rows and columns as the cues."""
    small = graph.halve(picture)
    # At the lower edge even a thing has the ground's disparity: the recurrence begins there.
    above_edge = 1.0 - graph.share(way_down(graph), 0.96, 0.995)
    held = standing_out(graph, small) * (0.997 * above_edge)
    upright = stand_upright(graph, ground_of(graph), held)
    sky = graph.share(follow_edges(graph, small, sky_of(graph, small), picture), 0.7, 0.85)
    things = follow_edges(graph, small, upright, picture)
    disparity = things + (FARTHEST - things) * sky
    disparity = graph.clamp(disparity, 0.8 * FARTHEST, 1.1 * NEAREST)
    return whole_edges(graph, crisp(graph, disparity))
