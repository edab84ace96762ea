# SPDX-License-Identifier: GPL-3.0-or-later
"""Turns a picture and its disparities into Gaussians."""

OPACITY = 0.97
SPREAD = 0.62        # standard deviation of a Gaussian, in distances between neighbours
THICKNESS = 0.25     # likewise, across the surface

# Share of the depth by which neighbours may differ and still be one surface. The front tears where
# one thing ends before another; the back never does, so that it closes what shows through.
STEEPEST_FRONT = 0.03
STEEPEST_BACK = 1.0


def linear_light(graph, picture):
    """sRGB values to linear light, exactly (IEC 61966-2-1)."""
    bright = graph.op("Pow", (picture + 0.055) / 1.055, 2.4)
    return graph.op("Where", graph.op("LessOrEqual", picture, 0.04045), picture / 12.92, bright)


def background_of(graph, picture, disparity):
    """The second layer: what lies behind the things that stand out, guessed from beside them.

    Returns its picture and its disparities, which are everywhere less than those of the first.
    """
    coarse = graph.halve(graph.join([picture, disparity]), 2)
    near = graph.channel(coarse, 3)
    # The ground is as near everywhere along a row; what is nearer stands in front of something.
    farthest = graph.smallest(near, 1, 28)
    nearer = graph.share(graph.largest(near, 2) / farthest, 1.08, 1.16)
    weight = 1.0 - 0.999 * nearer  # never 0, so that every row has something to fill with
    filled = fill_rows(graph, graph.join([coarse * weight, weight]))

    colour = graph.box(graph.slice(filled, 1, 0, 3), 2, 1)
    depth = graph.op("Min", graph.channel(filled, 3), graph.smallest(near, 2))
    depth = graph.enlarge(graph.box(depth, 2), 4)
    behind = graph.op("Min", depth, graph.smallest(disparity, 1)) * 0.985
    return graph.clamp(graph.enlarge(colour, 4), 0.0, 1.0), behind


def fill_rows(graph, known):
    """Fills what has no weight (the last channel) from left and right, by ever coarser copies."""
    levels = [known]
    for _ in range(5):
        levels.append(graph.halve_rows(levels[-1]))
    filled = levels.pop()
    for level in reversed(levels):
        missing = 1.0 - graph.channel(level, 4)
        filled = level + missing * graph.enlarge(normalised(graph, filled), 1, 2)
    return normalised(graph, filled)


def normalised(graph, filled):
    """Divides by the weight, the last channel, which becomes 1."""
    return filled / graph.channel(filled, 4)


def slope_of(graph, depth, axis, steepest):
    """The depth's change from pixel to pixel, 0 across the edge of a thing."""
    ahead = graph.shifted(depth, axis, 1) - depth
    back = depth - graph.shifted(depth, axis, -1)
    limit = depth * steepest

    def inside(step):
        return graph.op("Less", graph.op("Abs", step), limit)

    ahead = graph.op("Where", inside(ahead), ahead, 0.0)
    back = graph.op("Where", inside(back), back, 0.0)
    return graph.op("Where", graph.op("Greater", graph.op("Abs", ahead), graph.op("Abs", back)),
                    ahead, back)


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def unit(graph, a):
    length = graph.op("Sqrt", dot(a, a) + 1e-20)
    return [component / length for component in a], length


def steepest_way(graph, slope_x, slope_y):
    """The direction on the picture in which depth changes most (a unit vector that does not point to
    the left), and the change per pixel along it."""
    steepness = graph.op("Sqrt", slope_x * slope_x + slope_y * slope_y + 1e-16)
    # Both signs of the direction name the same axis; this one keeps rotations small.
    sign = graph.op("Where", graph.op("Less", slope_x, 0.0), -1.0, 1.0)
    toward_x = (sign * slope_x + 1e-8) / steepness
    toward_y = sign * slope_y / steepness
    norm = graph.op("Sqrt", toward_x * toward_x + toward_y * toward_y)
    return toward_x / norm, toward_y / norm, sign * steepness


def quaternion_of(graph, first, second, third):
    """The rotation with these columns; for angles well below 180 degrees only."""
    w = 0.5 * graph.op("Sqrt", 1.0 + first[0] + second[1] + third[2])
    return [w, (second[2] - third[1]) / (4.0 * w), (third[0] - first[2]) / (4.0 * w),
            (first[1] - second[0]) / (4.0 * w)]


def gaussians_of(graph, colour, disparity, side, steepest):
    """One Gaussian per pixel, flat on the surface: [1, side * side, 14].

    The mean is direction x depth, with directions from -1 to 1 across the square picture. Where the
    surface recedes, a Gaussian is tilted and longer along the steepest way, so that it covers the gap
    to its neighbours from aside and still one pixel's place from the front.
    """
    depth = 1.0 / disparity
    direction = 2.0 * graph.positions(side) - 1.0
    ray_x = graph.reshape(direction, 1, 1, 1, side)
    ray_y = graph.reshape(direction, 1, 1, side, 1)
    pixel = depth * (2.0 / side)

    toward_x, toward_y, rise = steepest_way(graph, slope_of(graph, depth, 3, steepest),
                                            slope_of(graph, depth, 2, steepest))
    along = [pixel * toward_x + rise * ray_x, pixel * toward_y + rise * ray_y, rise]
    first, first_length = unit(graph, along)
    level = [-toward_y, toward_x, depth * 0.0]
    overlap = dot(level, first)
    second, second_length = unit(graph, [l - overlap * f for l, f in zip(level, first)])
    third = cross(first, second)

    scales = [SPREAD * first_length, SPREAD * pixel * second_length, THICKNESS * pixel]
    columns = [ray_x * depth, ray_y * depth, depth, *scales,
               *quaternion_of(graph, first, second, third), colour, depth * 0.0 + OPACITY]
    rows = graph.reshape(graph.join(columns), 1, 14, side * side)
    return graph.op("Transpose", rows, perm=[0, 2, 1])
