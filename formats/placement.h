// SPDX-License-Identifier: GPL-3.0-or-later
// Where the parts of a scene lie in the whole.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "formats/harmonics_rotation.h"

namespace vistrel {

// Columns of a 4 x 4 matrix one behind the other, as glTF files have them.
using Matrix4 = std::array<double, 16>;

[[nodiscard]] Matrix4 IdentityMatrix();
[[nodiscard]] Matrix4 Product(const Matrix4& a, const Matrix4& b);

// First scaled, then turned by the quaternion x, y, z, w, then moved.
[[nodiscard]] Matrix4 MatrixOf(const std::array<double, 3>& translation,
                               const std::array<double, 4>& rotation,
                               const std::array<double, 3>& scale);

// A turn, an even scale and a shift, in this order.
class Placement {
  public:
    // Nothing where the matrix also mirrors, stretches or bends, or is not finite.
    [[nodiscard]] static std::optional<Placement> Of(const Matrix4& matrix);

    // Places the `count` Gaussians whose values are in rows of `stride` each, in place. `degree` is
    // that of their harmonics.
    void Place(int degree, std::size_t count, std::size_t stride, float* rows) const;

    // Whether everything stays where it is.
    [[nodiscard]] bool IsIdentity() const;

  private:
    Matrix3 rotation_ = {};
    double scale_ = 1.0;
    std::array<double, 3> shift_ = {};
    std::array<double, 4> quaternion_ = {};  // w, x, y, z
};

}  // namespace vistrel
