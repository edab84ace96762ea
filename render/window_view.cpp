// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/window_view.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace vistrel {
namespace {

using Position = std::array<double, 3>;

constexpr double kPerDegree = std::numbers::pi / 180.0;

struct StartCamera {
    Position position;
    double viewAngle;  // vertical, degrees
};
constexpr StartCamera kOwnScenes = {{-0.3, 0.5, -3.0}, 30.0};
constexpr StartCamera kGeneralScenes = {{0.0, -1.0, -3.0}, 65.0};

const StartCamera& StartOf(const WindowView& view) {
    return view.general ? kGeneralScenes : kOwnScenes;
}

double DistanceFromOrigin(const Position& v) {
    return std::hypot(v[0], v[1], v[2]);
}

double TanOfHalf(const StartCamera& start) {
    return std::tan(0.5 * start.viewAngle * kPerDegree);
}

// The page's values of the two sliders.
struct EyeSettings {
    double focus;
    double depth;  // 100 is neutral
};

EyeSettings SettingsOf(const WindowView& view) {
    constexpr double kNeutralDepth = 30.0;
    constexpr double kOwnFocus = 60.0;
    const double steps = view.depth - kNeutralDepth;
    return {view.general ? view.focus : kOwnFocus + view.focus + 2.0 * steps,
            100.0 + steps * 10.0 / 3.0};
}

// `side` is -1 for the left eye and 1 for the right.
double EyeOffset(double distance, double depth, int side) {
    constexpr double kViews = 12.0;
    constexpr double kHalfCone = 20.0;  // degrees
    const double place = (0.5 * kViews + side * depth / 200.0) / (kViews - 1.0);
    return distance * std::tan((2.0 * place - 1.0) * kHalfCone * kPerDegree);
}

}  // namespace

PinholeCamera WindowCamera(const WindowView& view, const EyeShape& shape, int width, int height) {
    const StartCamera& start = StartOf(view);
    const Position& from = start.position;
    const double distance = DistanceFromOrigin(from);
    const Position forward = {-from[0] / distance, -from[1] / distance, -from[2] / distance};
    // Up is -y.
    const double level = std::hypot(forward[0], forward[2]);
    const Position right = {forward[2] / level, 0.0, -forward[0] / level};
    const Position down = {forward[1] * right[2] - forward[2] * right[1],
                           forward[2] * right[0] - forward[0] * right[2],
                           forward[0] * right[1] - forward[1] * right[0]};
    PinholeCamera camera;
    for (std::size_t i = 0; i < 3; ++i) {
        camera.position[i] = static_cast<float>(from[i]);
        camera.rows[0][i] = static_cast<float>(right[i]);
        camera.rows[1][i] = static_cast<float>(down[i]);
        camera.rows[2][i] = static_cast<float>(forward[i]);
    }
    const double focal = 0.5 * height / TanOfHalf(start);
    camera.focalX = static_cast<float>(focal * shape.middleX * shape.width / width);
    camera.focalY = static_cast<float>(focal * shape.middleY * shape.height / height);
    camera.centreX = 0.5F * static_cast<float>(shape.width);
    camera.centreY = 0.5F * static_cast<float>(shape.height);
    camera.width = shape.width;
    camera.height = shape.height;
    return camera;
}

EyePlaces WindowEyes(const WindowView& view, const EyeShape& shape, int width, int height) {
    const StartCamera& start = StartOf(view);
    const EyeSettings settings = SettingsOf(view);
    const double distance = DistanceFromOrigin(start.position);
    // What the whole picture shows at the origin, in units of the scene.
    const double across = 2.0 * distance * TanOfHalf(start) * width / height;
    const double eyeShift = settings.focus * (view.general ? 0.01 : 0.001);
    const auto place = [&](int side) {
        const double offset = EyeOffset(distance, settings.depth, side);
        return EyePlace{static_cast<float>(offset),
                        static_cast<float>((offset - side * eyeShift) / across * shape.width)};
    };
    return {place(-1), place(1)};
}

}  // namespace vistrel
