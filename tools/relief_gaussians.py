# SPDX-License-Identifier: GPL-3.0-or-later
"""Turns a picture and its disparities, which change gently, into Gaussians."""

OPACITY = 0.97

# Two layers share the picture, one's Gaussians in the middles between the other's. The first covers it
# alone; the second lies just before it and adds detail.
SPREADS = (0.62, 0.4)  # standard deviation of a Gaussian, in distances between neighbours
DISTANCES = (1.0, 0.99)
THICKNESS = 0.25  # like a spread, across the surface, at the depth MIDDLE

# Thickness does not show, so it makes up for the rest: all Gaussians of a layer have the same volume,
# those of the first the larger one. Who keeps a share of the Gaussians by size and opacity thus keeps
# the whole picture, and detail everywhere in it as far as the share reaches.
MIDDLE = 5.0


def linear_light(graph, picture):
    """sRGB values to linear light, exactly (IEC 61966-2-1)."""
    bright = graph.op("Pow", (picture + 0.055) / 1.055, 2.4)
    return graph.op("Where", graph.op("LessOrEqual", picture, 0.04045), picture / 12.92, bright)


def pixels_of(graph, value, layer):
    """Means of 2x2 pixels; those of the second layer begin one pixel farther down and to the right."""
    if layer == 1:
        value = graph.shifted(graph.shifted(value, 2, 1), 3, 1)
    return graph.halve(value)


def slope_of(graph, depth, axis):
    """The depth's change from pixel to pixel."""
    return 0.5 * (graph.shifted(depth, axis, 1) - graph.shifted(depth, axis, -1))


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


def gaussians_of(graph, colour, disparity, factor, side, layer):
    """One Gaussian per pixel of a layer, flat on the surface: [1, side * side, 14].

    The mean is direction x depth, with directions from -1 to 1 across the square picture. Where the
    surface recedes, a Gaussian is tilted and longer along the steepest way, so that it covers the gap
    to its neighbours from aside and still one pixel's place from the front.
    """
    depth = DISTANCES[layer] / (disparity * factor)
    direction = 2.0 * graph.positions(side) + (layer / side - 1.0)
    ray_x = graph.reshape(direction, 1, 1, 1, side)
    ray_y = graph.reshape(direction, 1, 1, side, 1)
    pixel = depth * (2.0 / side)

    toward_x, toward_y, rise = steepest_way(graph, slope_of(graph, depth, 3),
                                            slope_of(graph, depth, 2))
    along = [pixel * toward_x + rise * ray_x, pixel * toward_y + rise * ray_y, rise]
    first, first_length = unit(graph, along)
    level = [-toward_y, toward_x, depth * 0.0]
    overlap = dot(level, first)
    second, second_length = unit(graph, [l - overlap * f for l, f in zip(level, first)])
    third = cross(first, second)

    spread = SPREADS[layer]
    flat = [spread * first_length, spread * pixel * second_length]
    middle_pixel = MIDDLE * (2.0 / side) / factor
    volume = THICKNESS * spread**2 * middle_pixel * middle_pixel * middle_pixel
    columns = [ray_x * depth, ray_y * depth, depth, *flat, volume / (flat[0] * flat[1]),
               *quaternion_of(graph, first, second, third), colour, depth * 0.0 + OPACITY]
    rows = graph.reshape(graph.join(columns), 1, 14, side * side)
    return graph.op("Transpose", rows, perm=[0, 2, 1])
