// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// The Eigen types that public functions pass, declared without the second that <Eigen/Core> costs a file.
namespace Eigen {

template<typename Scalar, int Rows, int Cols, int Options, int MaxRows, int MaxCols>
class Matrix;

using Vector2i = Matrix<int, 2, 1, 0, 2, 1>;
using Vector3i = Matrix<int, 3, 1, 0, 3, 1>;
using Vector4i = Matrix<int, 4, 1, 0, 4, 1>;
using Vector2f = Matrix<float, 2, 1, 0, 2, 1>;
using Vector3f = Matrix<float, 3, 1, 0, 3, 1>;
using Vector4f = Matrix<float, 4, 1, 0, 4, 1>;
using Vector2d = Matrix<double, 2, 1, 0, 2, 1>;
using Vector3d = Matrix<double, 3, 1, 0, 3, 1>;
using Vector4d = Matrix<double, 4, 1, 0, 4, 1>;
using Matrix2f = Matrix<float, 2, 2, 0, 2, 2>;
using Matrix3f = Matrix<float, 3, 3, 0, 3, 3>;
using Matrix4f = Matrix<float, 4, 4, 0, 4, 4>;
using Matrix2d = Matrix<double, 2, 2, 0, 2, 2>;
using Matrix3d = Matrix<double, 3, 3, 0, 3, 3>;
using Matrix4d = Matrix<double, 4, 4, 0, 4, 4>;

} // namespace Eigen
