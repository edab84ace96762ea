// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_unprojection.h"

#include <Eigen/Eigenvalues>
#include <cmath>
#include <cstddef>

namespace vistrel::test {
namespace {

// The rotation matrix of a quaternion (w, x, y, z) that is taken as it is, whatever its length.
Eigen::Matrix3d RotationMatrix(const float* quaternion) {
    const double w = quaternion[0];
    const double x = quaternion[1];
    const double y = quaternion[2];
    const double z = quaternion[3];
    Eigen::Matrix3d r;
    r << 1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y),  //
        2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x),   //
        2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y);
    return r;
}

// (w, x, y, z) of a rotation matrix, by the branch whose square root is safe.
Eigen::Vector4d QuaternionOf(const Eigen::Matrix3d& m) {
    const double trace = m(0, 0) + m(1, 1) + m(2, 2);
    Eigen::Vector4d q;
    if (trace > 0) {
        const double r = std::sqrt(trace + 1);
        q << 0.5 * r, (m(2, 1) - m(1, 2)) * 0.5 / r, (m(0, 2) - m(2, 0)) * 0.5 / r,
            (m(1, 0) - m(0, 1)) * 0.5 / r;
    } else if (m(0, 0) > m(1, 1) && m(0, 0) > m(2, 2)) {
        const double r = 2 * std::sqrt(1 + m(0, 0) - m(1, 1) - m(2, 2));
        q << (m(2, 1) - m(1, 2)) / r, r / 4, (m(0, 1) + m(1, 0)) / r, (m(0, 2) + m(2, 0)) / r;
    } else if (m(1, 1) > m(2, 2)) {
        const double r = 2 * std::sqrt(1 + m(1, 1) - m(0, 0) - m(2, 2));
        q << (m(0, 2) - m(2, 0)) / r, (m(0, 1) + m(1, 0)) / r, r / 4, (m(1, 2) + m(2, 1)) / r;
    } else {
        const double r = 2 * std::sqrt(1 + m(2, 2) - m(0, 0) - m(1, 1));
        q << (m(1, 0) - m(0, 1)) / r, (m(0, 2) + m(2, 0)) / r, (m(1, 2) + m(2, 1)) / r, r / 4;
    }
    const double norm = q.norm();
    return q / (norm < 1e-12 ? 1.0 : norm);
}

void TransformOne(const Eigen::Vector3d& stretch, float* mean, float* scales, float* quaternion) {
    for (int axis = 0; axis < 3; ++axis) {
        mean[axis] = static_cast<float>(mean[axis] * stretch(axis));
    }

    const Eigen::Matrix3d rotation = RotationMatrix(quaternion);
    const Eigen::Vector3d s(scales[0], scales[1], scales[2]);
    const Eigen::Matrix3d covariance =
        rotation * s.cwiseProduct(s).asDiagonal() * rotation.transpose();
    const Eigen::Matrix3d stretched = stretch.asDiagonal() * covariance * stretch.asDiagonal();

    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver;
    solver.compute(stretched);
    const Eigen::Vector3d& values = solver.eigenvalues();

    Eigen::Matrix3d axes = solver.eigenvectors().rowwise().reverse();
    if (axes.determinant() < 0) axes.col(2) = -axes.col(2);

    const Eigen::Vector4d q = QuaternionOf(axes);
    for (int i = 0; i < 4; ++i) quaternion[i] = static_cast<float>(q(i));
    for (int i = 0; i < 3; ++i) {
        const double value = values(2 - i) > 0 ? values(2 - i) : 0.0;
        scales[i] = static_cast<float>(std::sqrt(value));
    }
}

}  // namespace

void PlainUnproject(GaussianSet& gaussians, float focalPx, int width, int height,
                    int internalResolution) {
    const double f = static_cast<double>(focalPx) * internalResolution;
    const double fx = f / width;
    const double fy = f / height;
    const Eigen::Vector3d stretch(internalResolution / (2 * fx), internalResolution / (2 * fy), 1);
    const auto count = static_cast<std::size_t>(gaussians.count);
    for (std::size_t i = 0; i < count; ++i) {
        TransformOne(stretch, &gaussians.means.data[3 * i], &gaussians.scales.data[3 * i],
                     &gaussians.quaternions.data[4 * i]);
    }
}

}  // namespace vistrel::test
