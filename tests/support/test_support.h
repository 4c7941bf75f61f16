#ifndef UTF_TEST_SUPPORT_H
#define UTF_TEST_SUPPORT_H

// tests/support: the test kit that every test program shares, so that each helper exists once.
//
//   layouts.h                the five tensor layouts, their slots, tensors built from components
//                            (this header: the typed-suite cases over precisions and layouts)
//   random_values.h          fixed-seed components, unit quaternions, in-plane rotations
//   long_double_reference.h  independent long-double references: tables by turning the axes,
//                            tensors as matrices, A S A^T and A^T S A, Jacobi eigenvalues
//   prescribed_rotation.h    the rotations' rounding rules written out in T, for bit-for-bit tests
//   bit_equality.h           bitsOf and expectSameBits
//   expectations.h           expectAssertion (text, source, number) and AllocationCounter
//   module_lifecycle.h       the start and end rules every companion module shares
//   allocation_counting.cpp  the counting global operator new behind AllocationCounter

#include "bit_equality.h"
#include "expectations.h"
#include "layouts.h"
#include "long_double_reference.h"
#include "module_lifecycle.h"
#include "prescribed_rotation.h"
#include "random_values.h"
#include "utf.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

// One precision and one layout: the parameter of the suites that run over both precisions and
// every layout, each combination a test of its own (float_full, ..., double_surface2d).
template <typename Precision, res_DataTypeEnm Layout>
struct LayoutCase {
  using T = Precision;
  static constexpr res_DataTypeEnm type = Layout;
};

using utf_LayoutCases = ::testing::Types<
    LayoutCase<float, res_Tensor3dFull>, LayoutCase<float, res_Tensor3dPlanar>,
    LayoutCase<float, res_Tensor3dSurface>, LayoutCase<float, res_Tensor2dPlanar>,
    LayoutCase<float, res_Tensor2dSurface>, LayoutCase<double, res_Tensor3dFull>,
    LayoutCase<double, res_Tensor3dPlanar>, LayoutCase<double, res_Tensor3dSurface>,
    LayoutCase<double, res_Tensor2dPlanar>, LayoutCase<double, res_Tensor2dSurface>>;

// Names the layout cases: TYPED_TEST_SUITE(Fixture, utf_LayoutCases, utf_LayoutCaseNames).
struct utf_LayoutCaseNames {
  template <typename Case>
  static std::string GetName(int) {
    return std::string(std::is_same<typename Case::T, float>::value ? "float_" : "double_") +
           layoutName(Case::type);
  }
};

// The two instantiations of every value type.
using utf_Precisions = ::testing::Types<float, double>;

// Names the instantiations in test names ("float", "double"):
// TYPED_TEST_SUITE(Fixture, utf_Precisions, utf_PrecisionNames).
struct utf_PrecisionNames {
  template <typename T>
  static std::string GetName(int) {
    return std::is_same<T, float>::value ? "float" : "double";
  }
};

#endif
