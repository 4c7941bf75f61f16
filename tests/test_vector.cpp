// utf_Vector<T>: the vector value of type 4, its magnitude, its rotation by a quaternion value or
// by either raw kernel, and its text dump.

#include "test_support.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {

const int kSamples = 4000;
const char* const kNot2d = "coss.ConstGet(2,2) > 0.99 || !\"Not a valid 2D transform\"";

template <typename T>
double tolerance() {
  return std::is_same<T, float>::value ? 4e-6 : 2e-14;
}

template <typename T>
void expectComponents(const utf_EngineeringData<T>& v, std::initializer_list<T> expected) {
  ASSERT_EQ(v.size(), static_cast<int>(expected.size()));
  int i = 0;
  for (T value : expected) {
    EXPECT_EQ(v.data()[i], value) << "component " << i;
    ++i;
  }
}

template <typename T>
class Vector : public ::testing::Test {};
TYPED_TEST_SUITE(Vector, utf_Precisions, utf_PrecisionNames);

// --- construction and ownership ------------------------------------------------------------------

TYPED_TEST(Vector, ListConstructorCopiesTheElements) {
  using T = TypeParam;
  const cow_1DArrayList<T> list{T(1), T(-2), T(3), T(4)};
  utf_Vector<T> v(list);
  EXPECT_EQ(v.type(), res_Vector);
  EXPECT_TRUE(v.ownsData());
  EXPECT_FALSE(v.engineeringShear());
  expectComponents<T>(v, {T(1), T(-2), T(3), T(4)});
  v.data()[0] = T(8);
  EXPECT_EQ(list.ConstGet(0), T(1));
}

TYPED_TEST(Vector, CountedConstArrayConstructorCopies) {
  using T = TypeParam;
  const T values[2] = {T(5), T(6)};
  const utf_Vector<T> v(values, 2);
  EXPECT_TRUE(v.ownsData());
  EXPECT_NE(v.data(), values);
  expectComponents<T>(v, {T(5), T(6)});
}

TYPED_TEST(Vector, CountedNonConstArrayConstructorSharesTheCallerArray) {
  using T = TypeParam;
  T values[3] = {T(1), T(2), T(3)};
  const AllocationCounter counter;
  {
    utf_Vector<T> v(values, 3);
    EXPECT_EQ(counter.Count(), 0);
    EXPECT_FALSE(v.ownsData());
    EXPECT_EQ(v.data(), values);
    v.data()[1] = T(20);
    values[2] = T(30);
    EXPECT_EQ(v.data()[2], T(30)) << "a change of the array is seen through the vector";
  }
  EXPECT_EQ(values[1], T(20)) << "a change through the vector is seen in the array";
}

TYPED_TEST(Vector, SingleConstPointerConstructorCopiesThreeValues) {
  using T = TypeParam;
  const T values[4] = {T(1), T(2), T(3), T(4)};
  const utf_Vector<T> v(values);
  EXPECT_TRUE(v.ownsData());
  EXPECT_NE(v.data(), values);
  expectComponents<T>(v, {T(1), T(2), T(3)});
}

TYPED_TEST(Vector, SingleNonConstPointerConstructorCopiesAndDoesNotShare) {
  using T = TypeParam;
  T values[3] = {T(7), T(8), T(9)};
  T* const pointer = values;
  utf_Vector<T> v(pointer);
  EXPECT_TRUE(v.ownsData());
  EXPECT_NE(v.data(), values);
  expectComponents<T>(v, {T(7), T(8), T(9)});
  v.data()[0] = T(-1);
  EXPECT_EQ(values[0], T(7)) << "not shared";
  T* plain = values;
  const utf_Vector<T> w(plain);
  EXPECT_TRUE(w.ownsData());
  EXPECT_NE(w.data(), values);
}

TYPED_TEST(Vector, CopyIsAVectorOnWhichTheVectorOperationsWork) {
  using T = TypeParam;
  const T values[3] = {T(3), T(4), T(0)};
  const utf_Vector<T> original(values);
  const long long before = mem_LiveBlocks();
  {
    const utf_EngineeringDataPtr<T> copy(original.Copy());
    EXPECT_EQ(mem_LiveBlocks(), before + 2);
    EXPECT_TRUE(typeid(*copy) == typeid(utf_Vector<T>));
    EXPECT_TRUE(copy->ownsData());
    EXPECT_NE(copy->data(), original.data());
    auto& vector = dynamic_cast<utf_Vector<T>&>(*copy);
    EXPECT_EQ(vector.magnitude(), T(5));
    const utf_Quaternion<T> turn(T(0), T(0), static_cast<T>(kPi / 2));
    vector.transform(turn);
    EXPECT_NEAR(vector.data()[0], 4.0, 8 * tolerance<T>());
    EXPECT_NEAR(vector.data()[1], -3.0, 8 * tolerance<T>());
  }
  EXPECT_EQ(mem_LiveBlocks(), before);
}

// --- magnitude -----------------------------------------------------------------------------------

TYPED_TEST(Vector, MagnitudeOfThreeFourZeroIsFive) {
  using T = TypeParam;
  const T values[3] = {T(3), T(4), T(0)};
  EXPECT_EQ(utf_Vector<T>(values).magnitude(), T(5));
}

TYPED_TEST(Vector, MagnitudeOfAVectorFromAnEmptyListIsZero) {
  using T = TypeParam;
  const utf_Vector<T> empty{cow_1DArrayList<T>()};
  EXPECT_EQ(empty.size(), 0);
  EXPECT_EQ(empty.data(), nullptr);
  EXPECT_EQ(empty.magnitude(), T(0));
}

TYPED_TEST(Vector, MagnitudeIsSummedAndRootedInTheValueTypeBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    const int count = 1 + n % 5;
    T values[5];
    T sum = T(0);
    for (int i = 0; i < count; ++i) {
      values[i] = static_cast<T>(uniform(-100.0, 100.0));
      sum = sum + values[i] * values[i];
    }
    const T expected = std::sqrt(sum); // sqrtf for float
    ASSERT_EQ(bitsOf(utf_Vector<T>(static_cast<const T*>(values), count).magnitude()),
              bitsOf(expected))
        << "sample " << n;
  }
}

// --- transform by a quaternion value -------------------------------------------------------------

TYPED_TEST(Vector, ATwoComponentVectorTurnedAboutTheThirdAxisTakesTheFirstColumn) {
  using T = TypeParam;
  const utf_Quaternion<T> spatial(T(0), T(0), static_cast<T>(kPi / 2));
  const T half[2] = {static_cast<T>(std::sin(kPi / 4)), static_cast<T>(std::cos(kPi / 4))};
  const utf_Quaternion<T> inPlane(res_Rotation2d, half);
  for (const utf_Quaternion<T>* q : {&spatial, &inPlane}) {
    const cow_2DArray<T> m = q->cosines();
    const T values[2] = {T(1), T(0)};
    utf_Vector<T> v(values, 2);
    v.transform(*q);
    ASSERT_EQ(v.size(), 2);
    // (1, 0) becomes (M(0,0), M(1,0)); each sum is formed in T.
    EXPECT_EQ(bitsOf(v.data()[0]), bitsOf(T(m.ConstGet(0, 0) * T(1) + m.ConstGet(0, 1) * T(0))));
    EXPECT_EQ(bitsOf(v.data()[1]), bitsOf(T(m.ConstGet(1, 0) * T(1) + m.ConstGet(1, 1) * T(0))));
    EXPECT_NEAR(v.data()[0], 0.0, tolerance<T>());
    EXPECT_NEAR(v.data()[1], -1.0, tolerance<T>());
  }
}

TYPED_TEST(Vector, ATwoComponentVectorTurnedAboutTheFirstAxisFailsAndIsUnchanged) {
  using T = TypeParam;
  const utf_Quaternion<T> aboutX(static_cast<T>(kPi / 2), T(0), T(0));
  const T values[2] = {T(1), T(0.5)};
  utf_Vector<T> v(values, 2);
  const long long before = mem_LiveBlocks();
  expectAssertion([&] { v.transform(aboutX); }, kNot2d, utf_VectorAssertLine::source,
                  utf_VectorAssertLine::not2dTransform);
  EXPECT_EQ(mem_LiveBlocks(), before) << "the table was released";
  expectComponents<T>(v, {T(1), T(0.5)});
}

TYPED_TEST(Vector, TheTwoDimensionalCheckFailsOnNaN) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const T values[4] = {T(0), T(0), nan, T(1)};
  const utf_Quaternion<T> broken(res_Rotation3d, values);
  T xy[2] = {T(2), T(3)};
  utf_Vector<T> v(static_cast<const T*>(xy), 2);
  expectAssertion([&] { v.transform(broken); }, kNot2d, utf_VectorAssertLine::source,
                  utf_VectorAssertLine::not2dTransform);
  expectComponents<T>(v, {T(2), T(3)});
}

TYPED_TEST(Vector, TheTwoDimensionalCheckAcceptsASmallTiltAndUsesTheUpperLeftBlock) {
  using T = TypeParam;
  // M(2,2) = cos(0.1) = 0.995 > 0.99: accepted; 0.15 gives 0.989: refused.
  const utf_Quaternion<T> tilt(T(0.1), T(0), T(0.4));
  const cow_2DArray<T> m = tilt.cosines();
  const T values[2] = {T(1.5), T(-2)};
  utf_Vector<T> v(values, 2);
  v.transform(tilt);
  EXPECT_EQ(bitsOf(v.data()[0]),
            bitsOf(T(m.ConstGet(0, 0) * values[0] + m.ConstGet(0, 1) * values[1])));
  EXPECT_EQ(bitsOf(v.data()[1]),
            bitsOf(T(m.ConstGet(1, 0) * values[0] + m.ConstGet(1, 1) * values[1])));
  utf_Vector<T> w(values, 2);
  expectAssertion([&] { w.transform(utf_Quaternion<T>(T(0.15), T(0), T(0))); }, kNot2d,
                  utf_VectorAssertLine::source, utf_VectorAssertLine::not2dTransform);
  expectComponents<T>(w, {T(1.5), T(-2)});
}

TYPED_TEST(Vector, TheIdentityLeavesAThreeComponentVectorUnchanged) {
  using T = TypeParam;
  const utf_Quaternion<T> identity(T(0), T(0), T(0));
  const T values[3] = {T(1.25), T(-3), T(7.5)};
  utf_Vector<T> v(values);
  v.transform(identity);
  expectComponents<T>(v, {T(1.25), T(-3), T(7.5)});
}

TYPED_TEST(Vector, AThreeComponentVectorIsMultipliedByTheTableBitForBit) {
  using T = TypeParam;
  for (int n = 0; n < kSamples; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    const utf_Quaternion<T> rotation(res_Rotation3d, static_cast<const T*>(q));
    const cow_2DArray<T> m = rotation.cosines();
    const T x[3] = {static_cast<T>(uniform(-10, 10)), static_cast<T>(uniform(-10, 10)),
                    static_cast<T>(uniform(-10, 10))};
    utf_Vector<T> v(x);
    v.transform(rotation);
    for (int i = 0; i < 3; ++i) {
      const T expected =
          m.ConstGet(i, 0) * x[0] + m.ConstGet(i, 1) * x[1] + m.ConstGet(i, 2) * x[2];
      ASSERT_EQ(bitsOf(v.data()[i]), bitsOf(expected)) << "sample " << n;
    }
  }
}

TYPED_TEST(Vector, RotatingGivesTheComponentsAlongTheNewAxes) {
  using T = TypeParam;
  // A quarter turn about Z carries X onto Y: the global X axis has the components (0, -1, 0)
  // along the new axes (new X = global Y, new Y = -global X).
  const utf_Quaternion<T> turn(T(0), T(0), static_cast<T>(kPi / 2));
  const T x[3] = {T(1), T(0), T(0)};
  utf_Vector<T> v(x);
  v.transform(turn);
  EXPECT_NEAR(v.data()[0], 0.0, tolerance<T>());
  EXPECT_NEAR(v.data()[1], -1.0, tolerance<T>());
  EXPECT_NEAR(v.data()[2], 0.0, tolerance<T>());
}

TYPED_TEST(Vector, ARotationOfAnotherTypeHasNoTableAndChangesNothing) {
  using T = TypeParam;
  const utf_Quaternion<T> other(res_Tensor3dFull, cow_1DArrayList<T>{T(0), T(0), T(0), T(1)});
  const T x[3] = {T(1), T(2), T(3)};
  utf_Vector<T> v(x);
  EXPECT_THROW(v.transform(other), std::out_of_range);
  expectComponents<T>(v, {T(1), T(2), T(3)});
}

// --- transform by a kernel -----------------------------------------------------------------------

TYPED_TEST(Vector, TransformByTheSpatialKernelAppliesItsTableToTheFirstThree) {
  using T = TypeParam;
  for (int n = 0; n < 500; ++n) {
    T q[4];
    randomUnitQuaternion(q);
    T m[3][3];
    utf_Quat3dBase<T>(q).cosines(m);
    const T x[4] = {static_cast<T>(uniform(-5, 5)), static_cast<T>(uniform(-5, 5)),
                    static_cast<T>(uniform(-5, 5)), T(42)};
    utf_Vector<T> v(x, 4);
    v.transform(utf_Quat3dBase<T>(q));
    for (int i = 0; i < 3; ++i) {
      const T expected = m[i][0] * x[0] + m[i][1] * x[1] + m[i][2] * x[2];
      ASSERT_EQ(bitsOf(v.data()[i]), bitsOf(expected));
    }
    ASSERT_EQ(v.data()[3], T(42)) << "only the first three components turn";
  }
}

TYPED_TEST(Vector, TransformByTheInPlaneKernelUsesItsOwnTable) {
  using T = TypeParam;
  // The 2D kernel's table has a second row of zeros, so x2 becomes 0; x1 becomes
  // cos t x1 + sin t x2. No check is made, and a third component is left alone.
  T q[2] = {static_cast<T>(std::sin(0.3)), static_cast<T>(std::cos(0.3))};
  T m[3][3] = {};
  utf_Quat2dBase<T>(q).cosines(m);
  const T x[3] = {T(2), T(-1), T(5)};
  utf_Vector<T> v(x);
  v.transform(utf_Quat2dBase<T>(q));
  EXPECT_EQ(bitsOf(v.data()[0]), bitsOf(T(m[0][0] * x[0] + m[0][1] * x[1])));
  EXPECT_EQ(v.data()[1], T(0));
  EXPECT_EQ(v.data()[2], T(5));
  EXPECT_NEAR(v.data()[0], 2 * std::cos(0.6) - std::sin(0.6), 4 * tolerance<T>());
}

TYPED_TEST(Vector, TransformByAKernelAllocatesNothing) {
  using T = TypeParam;
  T q3[4] = {T(0), T(0.6), T(0), T(0.8)};
  T q2[2] = {T(0.6), T(0.8)};
  T x[3] = {T(1), T(2), T(3)};
  utf_Vector<T> v(x, 3);
  const AllocationCounter counter;
  v.transform(utf_Quat3dBase<T>(q3));
  v.transform(utf_Quat2dBase<T>(q2));
  EXPECT_GT(v.magnitude(), T(0));
  EXPECT_EQ(counter.Count(), 0);
}

// --- vectors shorter than the rotation ---------------------------------------------------------

TYPED_TEST(Vector, AShortVectorIsRotatedWithItsMissingComponentsReadAsZero) {
  using T = TypeParam;
  // A quarter turn about axis 3: the table's rows are (0, 1, 0), (-1, 0, 0), (0, 0, 1) in
  // exact arithmetic; the one-component vector (2) reads as (2, 0, 0) and keeps only its x1.
  const T s = static_cast<T>(std::sqrt(0.5));
  const T q[4] = {T(0), T(0), s, s};
  const utf_Quaternion<T> quarter(res_Rotation3d, q);
  const cow_2DArray<T> m = quarter.cosines();
  T storage[2] = {T(2), T(99)};
  utf_Vector<T> single(storage, 1);
  single.transform(quarter);
  EXPECT_EQ(bitsOf(single.data()[0]),
            bitsOf(T(m.ConstGet(0, 0) * T(2) + m.ConstGet(0, 1) * T(0) + m.ConstGet(0, 2) * T(0))));
  EXPECT_EQ(storage[1], T(99)) << "nothing beyond the vector's one component is written";

  T spatial[4] = {T(0), T(0), s, s};
  T pair[3] = {T(1), T(3), T(77)};
  utf_Vector<T> two(pair, 2);
  two.transform(utf_Quat3dBase<T>(spatial));
  EXPECT_EQ(bitsOf(two.data()[0]),
            bitsOf(T(m.ConstGet(0, 0) * T(1) + m.ConstGet(0, 1) * T(3) + m.ConstGet(0, 2) * T(0))));
  EXPECT_EQ(bitsOf(two.data()[1]),
            bitsOf(T(m.ConstGet(1, 0) * T(1) + m.ConstGet(1, 1) * T(3) + m.ConstGet(1, 2) * T(0))));
  EXPECT_EQ(pair[2], T(77)) << "the kernel path writes only the vector's two components";
}

TYPED_TEST(Vector, AnEmptyVectorIsLeftAloneByEveryTransform) {
  using T = TypeParam;
  utf_Vector<T> empty{cow_1DArrayList<T>()};
  const T q[4] = {T(0), T(0.6), T(0), T(0.8)};
  T raw3[4] = {T(0), T(0.6), T(0), T(0.8)};
  T raw2[2] = {T(0.6), T(0.8)};
  empty.transform(utf_Quaternion<T>(res_Rotation3d, q));
  empty.transform(utf_Quat3dBase<T>(raw3));
  empty.transform(utf_Quat2dBase<T>(raw2));
  EXPECT_EQ(empty.size(), 0);
  EXPECT_EQ(empty.data(), nullptr);
  EXPECT_EQ(empty.magnitude(), T(0));
}

// --- Print ---------------------------------------------------------------------------------------

TYPED_TEST(Vector, PrintWritesTheLabelAndTheComponents) {
  using T = TypeParam;
  const T values[3] = {T(1), T(-0.5), T(0.25)};
  const utf_Vector<T> v(values);
  aio_ostream out;
  v.Print(out, 0);
  EXPECT_EQ(out.Str(), "Vector: 1 -0.5 0.25 \n");
  aio_ostream indented;
  v.Print(indented, 3);
  EXPECT_EQ(indented.Str(), "   Vector: 1 -0.5 0.25 \n");
  aio_ostream negative;
  v.Print(negative, -2);
  EXPECT_EQ(negative.Str(), "Vector: 1 -0.5 0.25 \n");
}

TYPED_TEST(Vector, PrintWidensToDoubleAndWritesEveryComponent) {
  using T = TypeParam;
  const T values[2] = {T(0.1), T(3)};
  const utf_Vector<T> v(values, 2);
  aio_ostream out;
  v.Print(out, 0);
  const std::string expected =
      std::is_same<T, float>::value ? "Vector: 0.10000000149011612 3 \n" : "Vector: 0.1 3 \n";
  EXPECT_EQ(out.Str(), expected);
  const utf_Vector<T> empty{cow_1DArrayList<T>()};
  aio_ostream none;
  empty.Print(none, 1);
  EXPECT_EQ(none.Str(), " Vector: \n");
}

TYPED_TEST(Vector, PrintOfAQuarterTurnsRotationVector) {
  using T = TypeParam;
  // The rotation vector of a quarter turn about Z, worked by hand as for the kernel.
  const T values[4] = {T(0), T(0), static_cast<T>(std::sin(kPi / 4)),
                       static_cast<T>(std::cos(kPi / 4))};
  const utf_Vector<T> v = utf_Quaternion<T>(res_Rotation3d, values).toVector();
  aio_ostream out;
  v.Print(out, 4);
  const std::string expected = std::is_same<T, float>::value
                                   ? "    Vector: 0 0 1.5707963705062866 \n"
                                   : "    Vector: 0 0 1.5707963267948963 \n";
  EXPECT_EQ(out.Str(), expected);
}

} // namespace
