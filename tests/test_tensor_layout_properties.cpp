// The properties that every path of the tensor module keeps, checked for each of the five
// layouts in float and in double, each combination a test of its own (float_full, ...,
// double_surface2d):
// - the invariants (Mises, pressure, Tresca, the third invariant, the principal values) are
//   unchanged when the tensor is turned by a rotation that its layout takes, whichever path turns
//   it (component kernel, transform, transformControl);
// - a kernel (onto the new axes) followed by transform with the same rotation (back to the old
//   ones) gives the input back;
// - engineering shear is handled alike by every path that honours the flag: the tensor stored
//   with engineering shears (2 S12, ..., flag set) gives bit for bit the results of the same
//   tensor stored with tensorial shears, rotated shears stored doubled.
// A rotation that a layout takes: any 3D rotation for the full layout, a turn about axis 3 for
// the 3D planar and surface layouts (a tilt would move components out of their plane, which
// they drop), any in-plane rotation for the 2D layouts.

#include "test_support.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>
#include <vector>

namespace {

const int kSamples = 1000;

template <typename Case>
class TensorLayoutProperties : public ::testing::Test {};
TYPED_TEST_SUITE(TensorLayoutProperties, utf_LayoutCases, utf_LayoutCaseNames);

// Agreement of two results computed in T from the same tensor, relative to the largest
// component: the rotation's own rounding (a few units in the last place of each component, each
// a sum of nine products) carried through the query.
template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 6e-6 : 5e-14;
}

// The rotation values of a rotation that `type` takes (four for a 3D rotation, two for a 2D one).
template <typename T>
void randomRotationTakenBy(res_DataTypeEnm type, T* values) {
  if (is2d(type)) {
    randomRotation2d(values);
  } else if (type == res_Tensor3dFull) {
    randomUnitQuaternion(values);
  } else {
    randomTurnAboutAxis3(values);
  }
}

template <typename T>
utf_Quaternion<T> rotationValue(res_DataTypeEnm type, const T* values) {
  return utf_Quaternion<T>(utf_tensorRotationType(type), values);
}

// The same components with every shear doubled: the tensor's engineering storage.
template <typename T>
std::array<T, 6> engineeringOf(res_DataTypeEnm type, const std::array<T, 6>& tensorial) {
  std::array<T, 6> engineering = tensorial;
  for (int i = 0; i < countOf(type); ++i) {
    if (isShearSlot(type, i)) {
      engineering[i] = T(2) * tensorial[i];
    }
  }
  return engineering;
}

// Every scalar query of a tensor, in a fixed order.
template <typename T>
std::vector<T> queriesOf(const utf_Tensor<T>& tensor) {
  T p1, p2, p3;
  tensor.computePrincipal(p1, p2, p3);
  return {tensor.mises(),
          tensor.pressure(),
          tensor.tresca(),
          tensor.inv3(),
          p1,
          p2,
          p3,
          tensor.maxPrincipal(),
          tensor.midPrincipal(),
          tensor.minPrincipal(),
          tensor.maxInplanePrincipal(),
          tensor.minInplanePrincipal(),
          tensor.outOfPlanePrincipal()};
}

const char* const kQueryNames[] = {"mises",
                                   "pressure",
                                   "tresca",
                                   "inv3",
                                   "p1",
                                   "p2",
                                   "p3",
                                   "maxPrincipal",
                                   "midPrincipal",
                                   "minPrincipal",
                                   "maxInplanePrincipal",
                                   "minInplanePrincipal",
                                   "outOfPlanePrincipal"};

// ---------------------------------------------------------------------------------------------

TYPED_TEST(TensorLayoutProperties, TheInvariantsAreUnchangedByARotationThatTheLayoutTakes) {
  using T = typename TypeParam::T;
  const res_DataTypeEnm type = TypeParam::type;
  const int count = countOf(type);
  const double tol = tolerance<T>();
  for (int n = 0; n < kSamples; ++n) {
    T values[4];
    randomRotationTakenBy(type, values);
    const utf_Quaternion<T> q = rotationValue(type, values);
    const std::array<T, 6> c = randomComponents<T>(100.0);
    const bool engineering = n % 2 == 0;
    const utf_Tensor<T> original(type, c.data(), engineering);
    const double scale = static_cast<double>(largestMagnitude(c.data(), count));

    // The three paths: onto the new axes by the kernel, back by transform, and by the table
    // (which takes shears as tensorial, so only on tensorial storage).
    std::array<T, 6> raw = c;
    runKernel(type, raw.data(), values, engineering);
    const utf_Tensor<T> byKernel(type, raw.data(), engineering);
    utf_Tensor<T> byTransform(type, c.data(), engineering);
    byTransform.transform(q, engineering);
    std::vector<const utf_Tensor<T>*> turnedTensors = {&byKernel, &byTransform};
    utf_Tensor<T> byTable(type, c.data(), engineering);
    if (!engineering) {
      byTable.transformControl(q.cosines());
      turnedTensors.push_back(&byTable);
    }

    T o1, o2, o3;
    original.computePrincipal(o1, o2, o3);
    // The closed form loses accuracy near a repeated principal value: the principal values,
    // Tresca and the third invariant are compared only away from one (the in-plane pair of a
    // reduced layout is formed without that loss).
    const double gap = type == res_Tensor3dFull
                           ? std::min(static_cast<double>(o1 - o2), static_cast<double>(o2 - o3))
                           : scale;
    const bool wellSeparated = gap > 1e-2 * scale;
    // The cube root magnifies the error of a determinant near 0.
    const bool inv3WellConditioned = std::fabs(static_cast<double>(original.inv3())) > 0.1 * scale;
    for (const utf_Tensor<T>* turned : turnedTensors) {
      const char* path = turned == &byKernel      ? "kernel"
                         : turned == &byTransform ? "transform"
                                                  : "table";
      EXPECT_NEAR(turned->mises(), original.mises(), tol * scale) << path;
      EXPECT_NEAR(turned->pressure(), original.pressure(), tol * scale) << path;
      if (inv3WellConditioned) {
        EXPECT_NEAR(turned->inv3(), original.inv3(), 10 * tol * scale) << path;
      }
      if (wellSeparated) {
        T p1, p2, p3;
        turned->computePrincipal(p1, p2, p3);
        EXPECT_NEAR(p1, o1, tol * scale) << path;
        EXPECT_NEAR(p2, o2, tol * scale) << path;
        EXPECT_NEAR(p3, o3, tol * scale) << path;
        EXPECT_NEAR(turned->tresca(), original.tresca(), 2 * tol * scale) << path;
      }
    }
    if (::testing::Test::HasFailure()) {
      FAIL() << "sample " << n;
    }
  }
}

TYPED_TEST(TensorLayoutProperties, AKernelThenTransformWithTheSameRotationGivesTheInputBack) {
  using T = typename TypeParam::T;
  const res_DataTypeEnm type = TypeParam::type;
  const int count = countOf(type);
  // A S A^T, then A^T (A S A^T) A = S: the two senses undo each other, up to the rounding of
  // both and of the unit rotation to T.
  for (int n = 0; n < kSamples; ++n) {
    T values[4];
    randomRotationTakenBy(type, values);
    const std::array<T, 6> c = randomComponents<T>(100.0);
    const bool engineering = n % 2 == 0;
    std::array<T, 6> s = c;
    runKernel(type, s.data(), values, engineering);
    utf_Tensor<T> tensor(type, s.data(), false);
    tensor.transform(rotationValue(type, values), engineering);
    const double scale = static_cast<double>(largestMagnitude(c.data(), count));
    for (int i = 0; i < count; ++i) {
      EXPECT_NEAR(tensor.data()[i], c[i], 4 * tolerance<T>() * scale) << "slot " << i;
    }
    if (::testing::Test::HasFailure()) {
      FAIL() << "sample " << n;
    }
  }
}

TYPED_TEST(TensorLayoutProperties, EngineeringShearIsHandledAlikeByEveryPathThatHonoursTheFlag) {
  using T = typename TypeParam::T;
  const res_DataTypeEnm type = TypeParam::type;
  const int count = countOf(type);
  for (int n = 0; n < kSamples; ++n) {
    // Any rotation of the layout's rotation type: the convention does not depend on the plane.
    const utf_Quaternion<T> q = randomRotationFor<T>(type);
    T values[4] = {q.data()[0], q.data()[1], T(0), T(0)};
    if (!is2d(type)) {
      values[2] = q.data()[2];
      values[3] = q.data()[3];
    }
    const std::array<T, 6> tensorial = randomComponents<T>(100.0);
    const std::array<T, 6> engineering = engineeringOf(type, tensorial);

    // The queries halve the stored shears on reading: the very same numbers.
    const utf_Tensor<T> a(type, tensorial.data(), false);
    const utf_Tensor<T> b(type, engineering.data(), true);
    const std::vector<T> fromTensorial = queriesOf(a);
    const std::vector<T> fromEngineering = queriesOf(b);
    for (std::size_t k = 0; k < fromTensorial.size(); ++k) {
      EXPECT_EQ(bitsOf(fromEngineering[k]), bitsOf(fromTensorial[k])) << kQueryNames[k];
    }

    // The rotations halve on entry and store the rotated shears doubled.
    std::array<T, 6> byKernelA = tensorial;
    std::array<T, 6> byKernelB = engineering;
    runKernel(type, byKernelA.data(), values, false);
    runKernel(type, byKernelB.data(), values, true);
    utf_Tensor<T> byTransformA(type, tensorial.data(), false);
    utf_Tensor<T> byTransformB(type, engineering.data(), true);
    byTransformA.transform(q, false);
    byTransformB.transform(q, true);
    const std::array<T, 6> expectedKernel = engineeringOf(type, byKernelA);
    std::array<T, 6> transformedA{};
    std::copy(byTransformA.data(), byTransformA.data() + count, transformedA.begin());
    const std::array<T, 6> expectedTransform = engineeringOf(type, transformedA);
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(bitsOf(byKernelB[i]), bitsOf(expectedKernel[i])) << "kernel, slot " << i;
      EXPECT_EQ(bitsOf(byTransformB.data()[i]), bitsOf(expectedTransform[i]))
          << "transform, slot " << i;
    }

    // The principal directions: the same values and the same frame.
    T valuesA[3], valuesB[3], frameA[4], frameB[4];
    a.principalDirections(valuesA, frameA);
    b.principalDirections(valuesB, frameB);
    expectSameBits(valuesB, valuesA, 3);
    expectSameBits(frameB, frameA, 4);

    // The layout conversions copy shear numbers as they are: the full form of the engineering
    // storage is the engineering storage of the full form.
    utf_Tensor<T> fullA(type, tensorial.data(), false);
    utf_Tensor<T> fullB(type, engineering.data(), true);
    a.expandToFull(fullA);
    b.expandToFull(fullB);
    std::array<T, 6> expandedA{};
    std::copy(fullA.data(), fullA.data() + 6, expandedA.begin());
    const std::array<T, 6> expectedFull = engineeringOf(res_Tensor3dFull, expandedA);
    expectSameBits(fullB.data(), expectedFull.data(), 6);

    if (::testing::Test::HasFailure()) {
      FAIL() << "sample " << n;
    }
  }
}

} // namespace
