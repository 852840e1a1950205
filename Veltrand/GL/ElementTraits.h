// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/PixelType.h>

#include <type_traits>

namespace Veltrand::GL {

/// What one element of vertex or texel data consists of: a scalar of 8 to 32 bits, or a fixed-size Eigen
/// column vector of one to four of them. Other types have 0 components.
template<class T>
struct ElementTraits {
    static constexpr int components = 0; ///< 0 for none of the types
};

/// The traits of a scalar.
template<class Scalar, PixelType Type>
struct ScalarElementTraits {
    static constexpr int components = 1;    ///< scalars per element
    static constexpr PixelType type = Type; ///< of each scalar
    using ScalarType = Scalar;              ///< what the element is made of
};

// clang-format off
template<> struct ElementTraits<signed char> : ScalarElementTraits<signed char, PixelType::Byte> {};
template<> struct ElementTraits<unsigned char> : ScalarElementTraits<unsigned char, PixelType::UByte> {};
template<> struct ElementTraits<short> : ScalarElementTraits<short, PixelType::Short> {};
template<> struct ElementTraits<unsigned short> : ScalarElementTraits<unsigned short, PixelType::UShort> {};
template<> struct ElementTraits<int> : ScalarElementTraits<int, PixelType::Int> {};
template<> struct ElementTraits<unsigned int> : ScalarElementTraits<unsigned int, PixelType::UInt> {};
template<> struct ElementTraits<float> : ScalarElementTraits<float, PixelType::Float> {};
// clang-format on

/// The traits of an Eigen vector.
template<class Scalar, int Rows, int Options, int MaxRows, int MaxCols>
requires(Rows >= 1 && Rows <= 4 &&
         ElementTraits<Scalar>::components ==
             1) struct ElementTraits<Eigen::Matrix<Scalar, Rows, 1, Options, MaxRows, MaxCols>> {
    static constexpr int components = Rows;                        ///< scalars per element
    static constexpr PixelType type = ElementTraits<Scalar>::type; ///< of each scalar
    using ScalarType = Scalar;                                     ///< what the element is made of
};

/// A type that buffers and textures take as one element, packed without padding.
template<class T>
concept Element = ElementTraits<std::remove_cv_t<T>>::components >= 1;

} // namespace Veltrand::GL
