// Fuzz target: every entry point of the batch engine (utf_Batch.h) on arbitrary bit patterns.
//
// The first four bytes are the settings (settingsOf, below): float or double, the layout and its
// order, engineering shears, padding between tensors, the count (0 to 300, plus one block of
// utf_batchBlockSize tensors when asked, so that a call splits into two blocks and two threads
// share it), one or two threads, the SIMD target (the engine's choice or one forced through
// Highway), where the transforms' direction-cosine tables come from, and a precondition to break.
// The rest of the input is the numbers, read as raw bit patterns of T (NaNs with payloads,
// infinities, subnormals, signed zeros, anything) and read again from its start when it runs
// out: the tensors, the tables, the 3D and 2D rotations, the points, the vectors, then a
// cylinder's (or sphere's) origin and axis as doubles.
//
// Checked on every input (a broken check prints what, where and the settings, then aborts):
// - confinement and determinism: every result of every tensor (vector, rotation, point) whose
//   inputs are finite has the same bits as with one thread and as when that tensor is computed
//   alone (a one-tensor call on a dense copy of it, a matrix's unread lower triangle set to NaN;
//   every tensor of up to 64, a sample of more: sampleOf), whatever its neighbours hold; one
//   with a non-finite input gives NaN in the same places;
// - what the headers state: Mises, pressure and the third invariant are the value type's bits;
//   signed Mises and triaxiality are built from them as stated; every principal result of a
//   tensor with a NaN or infinite component is NaN; for a tensor of normal components no larger
//   than a quarter of the largest T (so that its principal values exist in T), the values are
//   finite and descending, the directions meet the published residual and orthonormality bounds
//   in a right-handed frame with the sign rule, the quaternion has w >= 0, the worst principal
//   value is P1 or P3 by magnitude, Tresca and the maximum shear are finite and not negative (an
//   eighth of the largest T, where P1 - P3 exists), the Lode angle lies in [-pi/6, pi/6] or is
//   NaN; the values from the directions call are those of the values call; a matrix is written
//   back symmetric; a transform in place gives the bits of one out of place;
// - the tables of 3D rotations are the rotation kernel's bits; a cylindrical or spherical table
//   is nine NaNs for a point on the axis (or at the centre) and finite for a point clearly off it
//   (judged in long double, with a margin either side of the threshold), and the returned count
//   is the number of NaN tables; an axis raises the assertion exactly when it has no direction;
// - a precondition broken on purpose (a stride too short, a per-item table count that differs,
//   an output overlapping its input, a null array or output, a layout that is no tensor layout,
//   an order or shear flag the layout does not take, a negative thread count, an axis without
//   direction) raises nex_AssertException with its identity (utf_BatchAssertLine) and leaves
//   every array with its bits.

#include "nex_AssertException.h"
#include "utf_Batch.h"
#include "utf_Lifecycle.h"
#include "utf_Quat3dBase.h"
#include "utf_Tensor.h"

#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Real = long double;

// ---------------------------------------------------------------------------------------------
// Settings and numbers from the input.

// Where the transforms' tables come from.
enum class TableSource { Raw, Quaternions, Rotations2d, Cylindrical, Spherical };

// The preconditions that an input may break on purpose.
enum class Broken {
  None,
  StrideTooShort,
  TableCount,
  TensorOutputOverlaps,
  VectorOutputOverlaps,
  NullOutput,
  NullArray,
  LayoutNotTensor,
  OrderNeedsFullLayout,
  MatrixEngineeringShear,
  NegativeThreadCount,
  AxisWithoutDirection,
};
constexpr int brokenKinds = 12;

const res_DataTypeEnm tensorLayouts[5] = {res_Tensor3dFull, res_Tensor3dPlanar, res_Tensor3dSurface,
                                          res_Tensor2dPlanar, res_Tensor2dSurface};
const char* const orderNames[4] = {"library", "vtk", "voigt", "matrix"};

constexpr std::size_t settingBytes = 4;
constexpr std::size_t maxCount = 300;

// Byte 0: bit 0 double, 1 engineering shears, 2 two threads, 3 one more block of tensors (with
// two threads), 4-5 the order, 6 a table per item, 7 the stride given explicitly when the tensors
// are dense. Byte 1: bits 0-2 the layout (of five), 3-4 the padding (0 to 3 numbers), 5-7 the
// tables' source (0 to 4, any higher value raw). Byte 2 and bit 0 of byte 3: the count (modulo
// 301). Byte 3: bits 1-3 the SIMD target (0: the engine's choice, k: the k-th supported target,
// cyclic; the engine's choice for two blocks), 4-7 the precondition to break (Broken, modulo its
// kinds).
struct Settings {
  bool isDouble;
  bool engineeringShear;
  int threads;
  bool extraBlock;
  utf_BatchOrder order;
  bool perItemTables;
  bool explicitStride;
  res_DataTypeEnm layout;
  std::size_t padding;
  TableSource tableSource;
  std::size_t count;
  int targetChoice;
  Broken broken;
  // A value of byte 3 left for the broken preconditions' details.
  unsigned detail;
};

Settings settingsOf(const std::uint8_t* b) {
  Settings s{};
  s.isDouble = (b[0] & 1) != 0;
  s.engineeringShear = (b[0] & 2) != 0;
  s.threads = (b[0] & 4) != 0 ? 2 : 1;
  // Two blocks cost a hundred times the work of a few tensors: only with two threads, where they
  // matter most.
  s.extraBlock = (b[0] & 8) != 0 && s.threads == 2;
  s.order = static_cast<utf_BatchOrder>((b[0] >> 4) & 3);
  s.perItemTables = (b[0] & 64) != 0;
  s.explicitStride = (b[0] & 128) != 0;
  s.layout = tensorLayouts[(b[1] & 7) % 5];
  s.padding = (b[1] >> 3) & 3;
  const int source = (b[1] >> 5) & 7;
  s.tableSource = source <= 4 ? static_cast<TableSource>(source) : TableSource::Raw;
  s.count = (b[2] | (static_cast<std::size_t>(b[3] & 1) << 8)) % (maxCount + 1);
  // Two blocks run on the engine's own target: on an emulated one they take seconds per input
  // (unoptimised, under the sanitizers); the targets are all forced with fewer tensors.
  s.targetChoice = s.extraBlock ? 0 : (b[3] >> 1) & 7;
  s.broken = static_cast<Broken>(((b[3] >> 4) & 15) % brokenKinds);
  s.detail = b[2];
  // The layouts other than the full one take the library's order only, and matrices no
  // engineering shears: the inputs that break these on purpose do so below.
  if (s.layout != res_Tensor3dFull) {
    s.order = utf_BatchOrder::Library;
  }
  if (s.order == utf_BatchOrder::Matrix) {
    s.engineeringShear = false;
  }
  return s;
}

// The numbers after the settings, as raw bit patterns, cyclically; zeros when there are none.
class Numbers {
public:
  Numbers(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

  template <typename U>
  U take() {
    unsigned char bytes[sizeof(U)] = {};
    if (m_size > 0) {
      for (unsigned char& byte : bytes) {
        byte = m_data[m_next % m_size];
        ++m_next;
      }
    }
    U value;
    std::memcpy(&value, bytes, sizeof(U));
    return value;
  }

  template <typename U>
  std::vector<U> take(std::size_t count) {
    std::vector<U> values(count);
    for (U& value : values) {
      value = take<U>();
    }
    return values;
  }

private:
  const std::uint8_t* m_data;
  std::size_t m_size;
  std::size_t m_next = 0;
};

// ---------------------------------------------------------------------------------------------
// Reporting.

// What the current input is, for the message of a finding.
std::string s_context;

[[noreturn]] void finding(const char* format, ...) __attribute__((format(printf, 1, 2)));

void finding(const char* format, ...) {
  std::fprintf(stderr, "fuzz_batch: finding: ");
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fprintf(stderr, "\n  settings: %s\n", s_context.c_str());
  std::abort();
}

std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

std::uint64_t bitsOf(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

template <typename T>
bool sameBits(T a, T b) {
  return bitsOf(a) == bitsOf(b);
}

// The same bits, or both NaN (whatever their payloads).
template <typename T>
bool sameOrBothNaN(T a, T b) {
  return sameBits(a, b) || (std::isnan(a) && std::isnan(b));
}

// Results of item `item`, `per` numbers each, compared: the same bits where the item's inputs are
// finite, the same bits or NaN in both where they are not.
template <typename T>
void expectSameResults(const char* function, const char* against, std::size_t item, const T* got,
                       const T* expected, int per, bool finite) {
  for (int k = 0; k < per; ++k) {
    const bool same = finite ? sameBits(got[k], expected[k]) : sameOrBothNaN(got[k], expected[k]);
    if (!same) {
      finding("%s: item %zu (inputs %s), result %d: %.17g (0x%llx) but %.17g (0x%llx) %s", function,
              item, finite ? "finite" : "not finite", k, static_cast<double>(got[k]),
              static_cast<unsigned long long>(bitsOf(got[k])), static_cast<double>(expected[k]),
              static_cast<unsigned long long>(bitsOf(expected[k])), against);
    }
  }
}

// Runs `call`, which must raise the engine's assertion `number`; anything else is a finding.
template <typename Call>
void expectAssertion(const char* what, int number, Call&& call) {
  try {
    call();
  } catch (const nex_AssertException& failure) {
    if (failure.File() == nullptr ||
        std::strcmp(failure.File(), utf_BatchAssertLine::source) != 0 || failure.Line() != number) {
      finding("%s: raised assertion %s:%d \"%s\", expected %s:%d", what,
              failure.File() == nullptr ? "(null)" : failure.File(), failure.Line(),
              failure.Expression().Text(), utf_BatchAssertLine::source, number);
    }
    return;
  }
  finding("%s: no assertion raised, expected %s:%d", what, utf_BatchAssertLine::source, number);
}

template <typename T>
void expectUnchanged(const char* what, const std::vector<T>& now, const std::vector<T>& before) {
  for (std::size_t i = 0; i < now.size(); ++i) {
    if (!sameBits(now[i], before[i])) {
      finding("%s: number %zu of an array changed by a call that failed", what, i);
    }
  }
}

// ---------------------------------------------------------------------------------------------
// The tensors of an input.

int valuesOf(res_DataTypeEnm layout, utf_BatchOrder order) {
  return order == utf_BatchOrder::Matrix ? 9 : utf_tensorComponentCount(layout);
}

// Where S11, S22, S33, S12, S13, S23 stand among a tensor's stored values; -1 where the layout
// stores none.
std::array<int, 6> placesOf(res_DataTypeEnm layout, utf_BatchOrder order) {
  if (utf_isSurfaceTensorType(layout)) {
    return {0, 1, -1, 2, -1, -1};
  }
  if (layout != res_Tensor3dFull) {
    return {0, 1, 2, 3, -1, -1};
  }
  switch (order) {
  case utf_BatchOrder::Vtk:
    return {0, 1, 2, 3, 5, 4};
  case utf_BatchOrder::Voigt:
    return {0, 1, 2, 5, 4, 3};
  case utf_BatchOrder::Matrix:
    return {0, 4, 8, 1, 2, 5};
  case utf_BatchOrder::Library:
    break;
  }
  return {0, 1, 2, 3, 4, 5};
}

template <typename T>
struct Tensors {
  res_DataTypeEnm layout;
  utf_BatchOrder order;
  bool engineeringShear;
  int values;
  std::size_t stride;      // numbers from one tensor to the next
  std::size_t strideGiven; // what the view is given: 0 for "one after another" or the stride
  std::size_t count;
  std::vector<T> stored;

  utf_BatchTensors<T> view() const {
    return utf_BatchTensors<T>(stored.data(), count, layout, engineeringShear, order, strideGiven);
  }
  const T* at(std::size_t i) const { return stored.data() + i * stride; }
  // Component k (library order) of tensor i as stored (0 where the layout stores none).
  T component(std::size_t i, int k) const {
    const int place = placesOf(layout, order)[k];
    return place < 0 ? T(0) : at(i)[place];
  }
  // Whether every value the engine reads of tensor i is finite.
  bool finite(std::size_t i) const {
    for (int k = 0; k < 6; ++k) {
      if (!std::isfinite(component(i, k))) {
        return false;
      }
    }
    return true;
  }
  // Tensor i alone, dense, in a copy of its own: a matrix's lower triangle (never read) NaN.
  std::vector<T> alone(std::size_t i) const {
    std::vector<T> copy(at(i), at(i) + values);
    if (order == utf_BatchOrder::Matrix) {
      copy[3] = copy[6] = copy[7] = std::numeric_limits<T>::quiet_NaN();
    }
    return copy;
  }
  utf_BatchTensors<T> viewOf(const std::vector<T>& one) const {
    return utf_BatchTensors<T>(one.data(), 1, layout, engineeringShear, order);
  }
  // The tensorial components of tensor i, library order, exactly (long double).
  std::array<Real, 6> tensorial(std::size_t i) const {
    std::array<Real, 6> c{};
    for (int k = 0; k < 6; ++k) {
      c[k] = static_cast<Real>(component(i, k));
      if (k >= 3 && engineeringShear) {
        c[k] *= 0.5L;
      }
    }
    return c;
  }
  // The value type of tensor i: its components in the layout's own order.
  utf_Tensor<T> valueType(std::size_t i) const {
    T c[6];
    if (utf_isSurfaceTensorType(layout)) {
      c[0] = component(i, 0), c[1] = component(i, 1), c[2] = component(i, 3);
    } else {
      for (int k = 0; k < 6; ++k) {
        c[k] = component(i, k);
      }
    }
    return utf_Tensor<T>(layout, static_cast<const T*>(c), engineeringShear);
  }
};

// Whether tensor i is one that the principal bounds speak of: every tensorial component 0 or a
// normal number, none larger than `limit` in magnitude.
template <typename T>
bool normalWithin(const Tensors<T>& tensors, std::size_t i, T limit) {
  for (int k = 0; k < 6; ++k) {
    T c = tensors.component(i, k);
    if (k >= 3 && tensors.engineeringShear) {
      c *= T(0.5);
    }
    if (!std::isfinite(c) || std::fabs(c) > limit ||
        (c != T(0) && std::fpclassify(c) != FP_NORMAL)) {
      return false;
    }
  }
  return true;
}

// ---------------------------------------------------------------------------------------------
// Running an entry point three ways: the whole array with the input's thread count, the whole
// array with one thread, each item alone.

template <typename T>
struct Table {
  std::vector<T> numbers; // 9 per item, or 9
  bool perItem;
  utf_BatchTables<T> all(std::size_t count) const {
    return perItem ? utf_BatchTables<T>::perItem(numbers.data(), count)
                   : utf_BatchTables<T>::one(numbers.data());
  }
  const T* of(std::size_t i) const { return numbers.data() + (perItem ? 9 * i : 0); }
  bool finite(std::size_t i) const {
    return std::all_of(of(i), of(i) + 9, [](T v) { return std::isfinite(v); });
  }
};

// The items whose results are compared with a one-item call (and with the value types): all of
// them up to 64; beyond, a sample that keeps each run short: both ends (a whole vector group and
// the short tail at least), where two blocks meet, and a spread between (every 7th, or every
// 97th in two blocks).
std::vector<std::size_t> sampleOf(std::size_t count) {
  std::vector<std::size_t> items;
  const std::size_t step = count > maxCount ? 97 : 7;
  for (std::size_t i = 0; i < count; ++i) {
    if (count <= 64 || i < 24 || i + 24 >= count ||
        (i + 24 >= utf_batchBlockSize && i < utf_batchBlockSize + 24) || i % step == 0) {
      items.push_back(i);
    }
  }
  return items;
}

// Runs `call(count, input of the items, out)` for the whole array, then with one thread when the
// input asked for two, then for each sampled item alone (`alone(i, out)`), and compares.
template <typename T, typename Whole, typename Alone, typename Finite>
std::vector<T> runThreeWays(const char* function, std::size_t count, int per, int threads,
                            Whole&& whole, Alone&& alone, Finite&& finite) {
  std::vector<T> out(count * static_cast<std::size_t>(per));
  whole(out.data());
  if (threads > 1) {
    utf_batchSetThreadCount(1);
    std::vector<T> single(out.size());
    whole(single.data());
    utf_batchSetThreadCount(threads);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t at = i * static_cast<std::size_t>(per);
      expectSameResults(function, "with one thread", i, out.data() + at, single.data() + at, per,
                        finite(i));
    }
  }
  for (std::size_t i : sampleOf(count)) {
    std::vector<T> one(static_cast<std::size_t>(per));
    alone(i, one.data());
    expectSameResults(function, "alone", i, out.data() + i * static_cast<std::size_t>(per),
                      one.data(), per, finite(i));
  }
  return out;
}

// A function of tensors: its name, results per tensor, and the call.
template <typename T>
struct TensorFunction {
  const char* name;
  int per;
  bool takesTables;
  std::function<void(const utf_BatchTensors<T>&, const utf_BatchTables<T>&, T*)> call;
};

// The principal directions call with every output, as one result of 16 numbers per tensor
// (values, rows, quaternion), or 12 without the quaternions; each array of the exact size.
template <typename T>
void directionsInto(const utf_BatchTensors<T>& view, T* out, bool quaternions) {
  const std::size_t n = view.count();
  std::vector<T> values(3 * n), rows(9 * n), q(quaternions ? 4 * n : 0);
  utf_batchPrincipalDirections(view, values.data(), rows.data(), quaternions ? q.data() : nullptr);
  const std::size_t per = quaternions ? 16 : 12;
  for (std::size_t i = 0; i < n; ++i) {
    std::copy(&values[3 * i], &values[3 * i] + 3, out + per * i);
    std::copy(&rows[9 * i], &rows[9 * i] + 9, out + per * i + 3);
    if (quaternions) {
      std::copy(&q[4 * i], &q[4 * i] + 4, out + per * i + 12);
    }
  }
}

template <typename T>
std::vector<TensorFunction<T>> tensorFunctions() {
  using View = utf_BatchTensors<T>;
  using Tables = utf_BatchTables<T>;
  return {
      {"utf_batchMises", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchMises(v, o); }},
      {"utf_batchPressure", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchPressure(v, o); }},
      {"utf_batchInv3", 1, false, [](const View& v, const Tables&, T* o) { utf_batchInv3(v, o); }},
      {"utf_batchSignedMises", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchSignedMises(v, o); }},
      {"utf_batchTriaxiality", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchTriaxiality(v, o); }},
      {"utf_batchInvariants", 5, false,
       [](const View& v, const Tables&, T* o) { utf_batchInvariants(v, o); }},
      {"utf_batchTresca", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchTresca(v, o); }},
      {"utf_batchMaxShear", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchMaxShear(v, o); }},
      {"utf_batchWorstPrincipal", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchWorstPrincipal(v, o); }},
      {"utf_batchLodeAngle", 1, false,
       [](const View& v, const Tables&, T* o) { utf_batchLodeAngle(v, o); }},
      {"utf_batchPrincipalValues", 3, false,
       [](const View& v, const Tables&, T* o) { utf_batchPrincipalValues(v, o); }},
      {"utf_batchInplanePrincipalValues", 2, false,
       [](const View& v, const Tables&, T* o) { utf_batchInplanePrincipalValues(v, o); }},
      {"utf_batchPrincipalDirections", 16, false,
       [](const View& v, const Tables&, T* o) { directionsInto(v, o, true); }},
      {"utf_batchPrincipalDirections without quaternions", 12, false,
       [](const View& v, const Tables&, T* o) { directionsInto(v, o, false); }},
      {"utf_batchTensorsToNewAxes", 0, true,
       [](const View& v, const Tables& t, T* o) { utf_batchTensorsToNewAxes(v, t, o); }},
      {"utf_batchTensorsToOldAxes", 0, true,
       [](const View& v, const Tables& t, T* o) { utf_batchTensorsToOldAxes(v, t, o); }},
  };
}

// ---------------------------------------------------------------------------------------------
// The checks of what each function states.

template <typename T>
struct Results {
  std::vector<T> mises, pressure, inv3, signedMises, triaxiality, invariants, tresca, maxShear,
      worst, lode, values, inplane, directions, directionsNoQ, newAxes, oldAxes;

  std::vector<T>* byName(const std::string& name) {
    const std::pair<const char*, std::vector<T>*> all[] = {
        {"utf_batchMises", &mises},
        {"utf_batchPressure", &pressure},
        {"utf_batchInv3", &inv3},
        {"utf_batchSignedMises", &signedMises},
        {"utf_batchTriaxiality", &triaxiality},
        {"utf_batchInvariants", &invariants},
        {"utf_batchTresca", &tresca},
        {"utf_batchMaxShear", &maxShear},
        {"utf_batchWorstPrincipal", &worst},
        {"utf_batchLodeAngle", &lode},
        {"utf_batchPrincipalValues", &values},
        {"utf_batchInplanePrincipalValues", &inplane},
        {"utf_batchPrincipalDirections", &directions},
        {"utf_batchPrincipalDirections without quaternions", &directionsNoQ},
        {"utf_batchTensorsToNewAxes", &newAxes},
        {"utf_batchTensorsToOldAxes", &oldAxes}};
    for (const auto& entry : all) {
      if (name == entry.first) {
        return entry.second;
      }
    }
    return nullptr;
  }
};

template <typename T>
void expectNaN(const char* function, std::size_t i, const T* results, int per) {
  for (int k = 0; k < per; ++k) {
    if (!std::isnan(results[k])) {
      finding("%s: tensor %zu has a non-finite component, but result %d is %.17g, not NaN",
              function, i, k, static_cast<double>(results[k]));
    }
  }
}

template <typename T>
void expectFinite(const char* function, std::size_t i, const T* results, int per) {
  for (int k = 0; k < per; ++k) {
    if (!std::isfinite(results[k])) {
      finding("%s: tensor %zu of normal components within range, result %d is %.17g", function, i,
              k, static_cast<double>(results[k]));
    }
  }
}

// The published bounds of a frame: for each row v_k with value P_k, ||S v_k - P_k v_k|| <=
// 16 u ||S||; every entry of V V^T - I within 8 u; det V = +1 (within what the orthonormality
// bound allows, 12 u; 16 u checked). ||S||, the largest principal magnitude, from the engine's
// values, which the value bound puts within 16 u ||S|| of the exact ones.
template <typename T>
void expectFrameBounds(std::size_t i, const std::array<Real, 6>& c, const T* values,
                       const T* rows) {
  const Real u = std::numeric_limits<T>::epsilon() / 2;
  const Real s[3][3] = {{c[0], c[3], c[4]}, {c[3], c[1], c[5]}, {c[4], c[5], c[2]}};
  Real v[3][3];
  for (int r = 0; r < 3; ++r) {
    for (int k = 0; k < 3; ++k) {
      v[r][k] = static_cast<Real>(rows[3 * r + k]);
    }
  }
  const Real norm =
      std::max(std::fabs(static_cast<Real>(values[0])), std::fabs(static_cast<Real>(values[2]))) /
      (1 - 16 * u);
  for (int r = 0; r < 3; ++r) {
    Real residual2 = 0;
    for (int k = 0; k < 3; ++k) {
      const Real sv = s[k][0] * v[r][0] + s[k][1] * v[r][1] + s[k][2] * v[r][2];
      const Real difference = sv - static_cast<Real>(values[r]) * v[r][k];
      residual2 += difference * difference;
    }
    if (std::sqrt(residual2) > 16 * u * norm) {
      finding("utf_batchPrincipalDirections: tensor %zu, direction %d: residual %.3Lg u ||S|| "
              "beyond 16 u ||S||",
              i, r, std::sqrt(residual2) / (u * norm));
    }
    for (int q = 0; q < 3; ++q) {
      const Real product = v[r][0] * v[q][0] + v[r][1] * v[q][1] + v[r][2] * v[q][2];
      if (std::fabs(product - (r == q ? 1 : 0)) > 8 * u) {
        finding("utf_batchPrincipalDirections: tensor %zu, rows %d and %d: V V^T - I off by "
                "%.3Lg u, beyond 8 u",
                i, r, q, std::fabs(product - (r == q ? 1 : 0)) / u);
      }
    }
  }
  const Real det = v[0][0] * (v[1][1] * v[2][2] - v[1][2] * v[2][1]) -
                   v[0][1] * (v[1][0] * v[2][2] - v[1][2] * v[2][0]) +
                   v[0][2] * (v[1][0] * v[2][1] - v[1][1] * v[2][0]);
  if (std::fabs(det - 1) > 16 * u) {
    finding("utf_batchPrincipalDirections: tensor %zu: det V = %.21Lg, not +1", i, det);
  }
}

// The sign rule of rows 1 and 2: the first component of largest magnitude is positive.
template <typename T>
void expectSignRule(std::size_t i, const T* rows) {
  for (int r = 0; r < 2; ++r) {
    const T* row = rows + 3 * r;
    int largest = 0;
    for (int k = 1; k < 3; ++k) {
      if (std::fabs(row[k]) > std::fabs(row[largest])) {
        largest = k;
      }
    }
    if (!(row[largest] > T(0))) {
      finding("utf_batchPrincipalDirections: tensor %zu, direction %d (%.9g, %.9g, %.9g) breaks "
              "the sign rule",
              i, r, static_cast<double>(row[0]), static_cast<double>(row[1]),
              static_cast<double>(row[2]));
    }
  }
}

template <typename T>
void expectDescending(const char* function, std::size_t i, const T* v, int count) {
  for (int k = 0; k + 1 < count; ++k) {
    if (!(v[k] >= v[k + 1])) {
      finding("%s: tensor %zu: values %d and %d (%.17g, %.17g) not descending", function, i, k,
              k + 1, static_cast<double>(v[k]), static_cast<double>(v[k + 1]));
    }
  }
}

template <typename T>
void checkTensorResults(const Tensors<T>& tensors, Results<T>& r) {
  const T largest = std::numeric_limits<T>::max();
  const T sixthOfPi = T(0.52359877559829887);
  const T u = std::numeric_limits<T>::epsilon() / 2;
  const std::vector<std::size_t> sample = sampleOf(tensors.count);
  std::size_t next = 0;
  for (std::size_t i = 0; i < tensors.count; ++i) {
    const bool finite = tensors.finite(i);
    // The value type's bits for the sampled tensors.
    if (next < sample.size() && sample[next] == i) {
      ++next;
      const utf_Tensor<T> value = tensors.valueType(i);
      const T mises = value.mises(), pressure = value.pressure(), inv3 = value.inv3();
      expectSameResults("utf_batchMises", "by the value type", i, &r.mises[i], &mises, 1, finite);
      expectSameResults("utf_batchPressure", "by the value type", i, &r.pressure[i], &pressure, 1,
                        finite);
      expectSameResults("utf_batchInv3", "by the value type", i, &r.inv3[i], &inv3, 1, finite);
    }
    const T p = r.pressure[i], m = r.mises[i];
    const T signedMises = p > T(0) ? -m : m;
    expectSameResults("utf_batchSignedMises", "from Mises and pressure", i, &r.signedMises[i],
                      &signedMises, 1, finite);
    const T triaxiality = -p / m;
    expectSameResults("utf_batchTriaxiality", "as -pressure / Mises", i, &r.triaxiality[i],
                      &triaxiality, 1, finite);
    const T* directions = &r.directions[16 * i];
    expectSameResults("utf_batchPrincipalDirections", "as utf_batchPrincipalValues", i, directions,
                      &r.values[3 * i], 3, finite);
    expectSameResults("utf_batchPrincipalDirections without quaternions", "with them", i,
                      &r.directionsNoQ[12 * i], directions, 12, finite);
    if (!finite) {
      expectNaN("utf_batchPrincipalValues", i, &r.values[3 * i], 3);
      expectNaN("utf_batchInplanePrincipalValues", i, &r.inplane[2 * i], 2);
      expectNaN("utf_batchPrincipalDirections", i, directions, 16);
      expectNaN("utf_batchTresca", i, &r.tresca[i], 1);
      expectNaN("utf_batchMaxShear", i, &r.maxShear[i], 1);
      expectNaN("utf_batchWorstPrincipal", i, &r.worst[i], 1);
      expectNaN("utf_batchLodeAngle", i, &r.lode[i], 1);
      continue;
    }
    if (!std::isnan(r.lode[i]) && !(std::fabs(r.lode[i]) <= sixthOfPi * (1 + 4 * u))) {
      finding("utf_batchLodeAngle: tensor %zu: %.17g outside [-pi/6, pi/6]", i,
              static_cast<double>(r.lode[i]));
    }
    if (!normalWithin(tensors, i, largest / 4)) {
      continue;
    }
    const T* values = &r.values[3 * i];
    expectFinite("utf_batchPrincipalValues", i, values, 3);
    expectDescending("utf_batchPrincipalValues", i, values, 3);
    expectFinite("utf_batchInplanePrincipalValues", i, &r.inplane[2 * i], 2);
    expectDescending("utf_batchInplanePrincipalValues", i, &r.inplane[2 * i], 2);
    expectFinite("utf_batchPrincipalDirections", i, directions, 16);
    expectFrameBounds(i, tensors.tensorial(i), values, directions + 3);
    expectSignRule(i, directions + 3);
    if (!(directions[15] >= T(0))) {
      finding("utf_batchPrincipalDirections: tensor %zu: quaternion w = %.17g < 0", i,
              static_cast<double>(directions[15]));
    }
    const T worst = std::fabs(values[0]) >= std::fabs(values[2]) ? values[0] : values[2];
    expectSameResults("utf_batchWorstPrincipal", "as P1 or P3", i, &r.worst[i], &worst, 1, true);
    if (normalWithin(tensors, i, largest / 8)) {
      expectFinite("utf_batchTresca", i, &r.tresca[i], 1);
      expectFinite("utf_batchMaxShear", i, &r.maxShear[i], 1);
      if (!(r.tresca[i] >= T(0) && r.maxShear[i] >= T(0))) {
        finding("utf_batchTresca, utf_batchMaxShear: tensor %zu: %.17g, %.17g negative", i,
                static_cast<double>(r.tresca[i]), static_cast<double>(r.maxShear[i]));
      }
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Frames: the tables of rotations and of cylindrical and spherical axes.

template <typename T>
bool allFinite(const T* values, std::size_t count) {
  return std::all_of(values, values + count, [](T v) { return std::isfinite(v); });
}

template <typename T>
bool allNaN(const T* values, std::size_t count) {
  return std::all_of(values, values + count, [](T v) { return std::isnan(v); });
}

bool hasDirection(const double axis[3]) {
  return allFinite(axis, 3) && (axis[0] != 0.0 || axis[1] != 0.0 || axis[2] != 0.0);
}

// Where a point stands for the frames about an axis, judged in long double: 1 clearly off the
// axis (and away from the origin or centre), -1 clearly on it (or at the origin), 0 too close to
// the threshold (1e-9 times the distance) to tell, or not judged (a non-finite point or origin).
int sideOf(const double* point, const double origin[3], const double axis[3]) {
  if (!allFinite(point, 3) || !allFinite(origin, 3)) {
    return 0;
  }
  Real a[3], d[3];
  const Real length =
      std::sqrt(static_cast<Real>(axis[0]) * axis[0] + static_cast<Real>(axis[1]) * axis[1] +
                static_cast<Real>(axis[2]) * axis[2]);
  for (int k = 0; k < 3; ++k) {
    a[k] = axis[k] / length;
    d[k] = static_cast<Real>(point[k]) - origin[k];
  }
  const Real along = d[0] * a[0] + d[1] * a[1] + d[2] * a[2];
  Real normal2 = 0, distance2 = 0;
  for (int k = 0; k < 3; ++k) {
    normal2 += (d[k] - along * a[k]) * (d[k] - along * a[k]);
    distance2 += d[k] * d[k];
  }
  const Real normal = std::sqrt(normal2), distance = std::sqrt(distance2);
  if (normal <= 0.99e-9L * distance) {
    return -1;
  }
  return normal > 1.01e-9L * distance ? 1 : 0;
}

template <typename T>
std::size_t framesAbout(bool spherical, const T* points, std::size_t count, const double from[3],
                        const double axis[3], T* tables) {
  return spherical ? utf_batchSphericalTables(points, count, from, axis, tables)
                   : utf_batchCylindricalTables(points, count, from, axis, tables);
}

// The frames about an axis at every point: checked as stated, and returned (nine numbers per
// point), or nothing when the axis has no direction (and the call raised the assertion).
template <typename T>
std::vector<T> checkFramesAbout(bool spherical, int threads, const std::vector<T>& points,
                                const double origin[3], const double axis[3]) {
  const char* name = spherical ? "utf_batchSphericalTables" : "utf_batchCylindricalTables";
  const std::size_t n = points.size() / 3;
  if (!hasDirection(axis)) {
    std::vector<T> tables(9 * n, T(7));
    const std::vector<T> before = tables;
    expectAssertion(name, utf_BatchAssertLine::axisNotADirection,
                    [&] { framesAbout(spherical, points.data(), n, origin, axis, tables.data()); });
    expectUnchanged(name, tables, before);
    return {};
  }
  std::vector<std::size_t> counts; // one per call of the whole array
  const std::vector<T> tables = runThreeWays<T>(
      name, n, 9, threads,
      [&](T* out) {
        counts.push_back(framesAbout(spherical, points.data(), n, origin, axis, out));
      },
      [&](std::size_t i, T* out) {
        framesAbout(spherical, points.data() + 3 * i, 1, origin, axis, out);
      },
      [&](std::size_t i) { return allFinite(points.data() + 3 * i, 3) && allFinite(origin, 3); });
  std::size_t nanTables = 0;
  const T* axialRow = nullptr;
  for (std::size_t i = 0; i < n; ++i) {
    const T* table = tables.data() + 9 * i;
    if (allNaN(table, 9)) {
      ++nanTables;
    }
    double point[3];
    for (int k = 0; k < 3; ++k) {
      point[k] = static_cast<double>(points[3 * i + static_cast<std::size_t>(k)]);
    }
    const int side = sideOf(point, origin, axis);
    if (side < 0 && !allNaN(table, 9)) {
      finding("%s: point %zu (%.17g, %.17g, %.17g) lies on the axis, but its table is not NaN",
              name, i, point[0], point[1], point[2]);
    }
    if (side > 0) {
      if (!allFinite(table, 9)) {
        finding("%s: point %zu (%.17g, %.17g, %.17g) lies off the axis, but its table is not "
                "finite",
                name, i, point[0], point[1], point[2]);
      }
      // A cylinder's third row is the unit axis, the same at every point.
      if (!spherical) {
        if (axialRow == nullptr) {
          axialRow = table + 6;
        }
        expectSameResults(name, "as the axial row of another point", i, table + 6, axialRow, 3,
                          true);
      }
    }
  }
  for (std::size_t undefined : counts) {
    if (undefined != nanTables) {
      finding("%s: returned %zu points without a frame, but %zu tables are NaN", name, undefined,
              nanTables);
    }
  }
  return tables;
}

template <typename T>
struct Frames {
  std::vector<T> quaternions, rotations, cylindrical, spherical;
};

template <typename T>
Frames<T> checkFrames(int threads, const std::vector<T>& quaternions,
                      const std::vector<T>& rotations, const std::vector<T>& points,
                      const double origin[3], const double axis[3]) {
  Frames<T> frames;
  const std::size_t n = quaternions.size() / 4;
  frames.quaternions = runThreeWays<T>(
      "utf_batchTablesFromQuaternions", n, 9, threads,
      [&](T* out) { utf_batchTablesFromQuaternions(quaternions.data(), n, out); },
      [&](std::size_t i, T* out) {
        const std::vector<T> one(&quaternions[4 * i], &quaternions[4 * i] + 4);
        utf_batchTablesFromQuaternions(one.data(), 1, out);
      },
      [&](std::size_t i) { return allFinite(&quaternions[4 * i], 4); });
  for (std::size_t i : sampleOf(n)) {
    T q[4];
    std::copy(&quaternions[4 * i], &quaternions[4 * i] + 4, q);
    T c[3][3];
    utf_Quat3dBase<T>(q).cosines(c);
    expectSameResults("utf_batchTablesFromQuaternions", "by the rotation kernel", i,
                      &frames.quaternions[9 * i], &c[0][0], 9, allFinite(q, 4));
  }
  frames.rotations = runThreeWays<T>(
      "utf_batchTablesFrom2dRotations", n, 9, threads,
      [&](T* out) { utf_batchTablesFrom2dRotations(rotations.data(), n, out); },
      [&](std::size_t i, T* out) {
        const std::vector<T> one(&rotations[2 * i], &rotations[2 * i] + 2);
        utf_batchTablesFrom2dRotations(one.data(), 1, out);
      },
      [&](std::size_t i) { return allFinite(&rotations[2 * i], 2); });
  frames.cylindrical = checkFramesAbout(false, threads, points, origin, axis);
  frames.spherical = checkFramesAbout(true, threads, points, origin, axis);
  return frames;
}

// ---------------------------------------------------------------------------------------------
// The preconditions, broken on purpose.

// Tensor functions of one output array, for the null-output check.
template <typename T>
using OneOutput = void (*)(const utf_BatchTensors<T>&, T*);

template <typename T>
void breakPrecondition(const Settings& s, const Tensors<T>& tensors, const Table<T>& table,
                       const std::vector<T>& vectors, const std::vector<T>& points) {
  using Line = utf_BatchAssertLine;
  const std::size_t n = tensors.count;
  const int values = tensors.values;
  const std::vector<T> input = tensors.stored;
  switch (s.broken) {
  case Broken::None:
    return;
  case Broken::StrideTooShort: {
    const std::size_t stride = 1 + s.detail % static_cast<unsigned>(values - 1);
    expectAssertion("a stride shorter than a tensor", Line::strideTooShort, [&] {
      utf_BatchTensors<T>(tensors.stored.data(), n, tensors.layout, tensors.engineeringShear,
                          tensors.order, stride);
    });
    return;
  }
  case Broken::TableCount: {
    // One table more than the items, or one fewer.
    const std::size_t count = (s.detail & 1) != 0 && n > 0 ? n - 1 : n + 1;
    std::vector<T> tables(9 * count, T(0.5));
    const utf_BatchTables<T> wrong = utf_BatchTables<T>::perItem(tables.data(), count);
    std::vector<T> out(n * static_cast<std::size_t>(values), T(3)), outVectors(3 * n, T(3));
    const std::vector<T> before = out, beforeVectors = outVectors;
    const char* what = "a per-item table count that differs from the items";
    expectAssertion(what, Line::tableCount,
                    [&] { utf_batchTensorsToNewAxes(tensors.view(), wrong, out.data()); });
    expectAssertion(what, Line::tableCount,
                    [&] { utf_batchTensorsToOldAxes(tensors.view(), wrong, out.data()); });
    expectAssertion(what, Line::tableCount, [&] {
      utf_batchVectorsToNewAxes(vectors.data(), n, wrong, outVectors.data());
    });
    expectAssertion(what, Line::tableCount, [&] {
      utf_batchVectorsToOldAxes(vectors.data(), n, wrong, outVectors.data());
    });
    expectUnchanged(what, out, before);
    expectUnchanged(what, outVectors, beforeVectors);
    expectUnchanged(what, tensors.stored, input);
    return;
  }
  case Broken::TensorOutputOverlaps: {
    if (n == 0) {
      return;
    }
    // The input and the output in one buffer, overlapping by at least one number: the output
    // after the input starts, before it starts, or at the very start of an input with padding
    // (in place is allowed only for tensors one after another).
    const std::size_t span = (n - 1) * tensors.stride + static_cast<std::size_t>(values);
    const std::size_t outSize = n * static_cast<std::size_t>(values);
    std::vector<T> buffer(span + outSize);
    std::size_t inputAt = 0, outAt = 0;
    if (tensors.stride > static_cast<std::size_t>(values) && (s.detail & 2) != 0) {
      outAt = 0;
    } else if ((s.detail & 1) != 0) {
      outAt = 1 + s.detail % (span - 1);
    } else {
      inputAt = 1 + s.detail % (outSize - 1);
    }
    std::copy(tensors.stored.begin(), tensors.stored.end(), buffer.begin() + inputAt);
    const utf_BatchTensors<T> view(buffer.data() + inputAt, n, tensors.layout,
                                   tensors.engineeringShear, tensors.order, tensors.strideGiven);
    const utf_BatchTables<T> tables = table.all(n);
    const std::vector<T> before = buffer;
    const char* what = "an output overlapping the tensors";
    expectAssertion(what, Line::outputOverlapsInput,
                    [&] { utf_batchTensorsToNewAxes(view, tables, buffer.data() + outAt); });
    expectAssertion(what, Line::outputOverlapsInput,
                    [&] { utf_batchTensorsToOldAxes(view, tables, buffer.data() + outAt); });
    expectUnchanged(what, buffer, before);
    return;
  }
  case Broken::VectorOutputOverlaps: {
    if (n == 0) {
      return;
    }
    std::vector<T> buffer(6 * n);
    const std::size_t shift = 1 + s.detail % (3 * n - 1);
    const std::size_t vectorsAt = (s.detail & 1) != 0 ? shift : 0;
    const std::size_t outAt = (s.detail & 1) != 0 ? 0 : shift;
    std::copy(vectors.begin(), vectors.end(), buffer.begin() + vectorsAt);
    const utf_BatchTables<T> tables = table.all(n);
    const std::vector<T> before = buffer;
    const char* what = "an output overlapping the vectors";
    expectAssertion(what, Line::outputOverlapsInput, [&] {
      utf_batchVectorsToNewAxes(buffer.data() + vectorsAt, n, tables, buffer.data() + outAt);
    });
    expectAssertion(what, Line::outputOverlapsInput, [&] {
      utf_batchVectorsToOldAxes(buffer.data() + vectorsAt, n, tables, buffer.data() + outAt);
    });
    expectUnchanged(what, buffer, before);
    return;
  }
  case Broken::NullOutput: {
    if (n == 0) {
      return;
    }
    T* const none = nullptr;
    const char* what = "a null output";
    const OneOutput<T> functions[] = {
        utf_batchMises<T>,       utf_batchPressure<T>,        utf_batchInv3<T>,
        utf_batchSignedMises<T>, utf_batchTriaxiality<T>,     utf_batchInvariants<T>,
        utf_batchTresca<T>,      utf_batchMaxShear<T>,        utf_batchWorstPrincipal<T>,
        utf_batchLodeAngle<T>,   utf_batchPrincipalValues<T>, utf_batchInplanePrincipalValues<T>};
    for (OneOutput<T> function : functions) {
      expectAssertion(what, Line::nullArgument, [&] { function(tensors.view(), none); });
    }
    std::vector<T> principal(3 * n, T(3)), rows(9 * n, T(3)), q(4 * n, T(3));
    const std::vector<T> principalBefore = principal, rowsBefore = rows, qBefore = q;
    expectAssertion(what, Line::nullArgument, [&] {
      utf_batchPrincipalDirections(tensors.view(), none, rows.data(), q.data());
    });
    expectAssertion(what, Line::nullArgument, [&] {
      utf_batchPrincipalDirections(tensors.view(), principal.data(), none, q.data());
    });
    expectUnchanged(what, principal, principalBefore);
    expectUnchanged(what, rows, rowsBefore);
    expectUnchanged(what, q, qBefore);
    std::vector<T> out(n * static_cast<std::size_t>(values), T(3)), tablesOut(9 * n, T(3));
    const std::vector<T> outBefore = out, tablesBefore = tablesOut;
    const utf_BatchTables<T> noTables = utf_BatchTables<T>::one(nullptr);
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchTensorsToNewAxes(tensors.view(), table.all(n), none); });
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchTensorsToOldAxes(tensors.view(), noTables, out.data()); });
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchVectorsToNewAxes(vectors.data(), n, table.all(n), none); });
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchVectorsToOldAxes(none, n, table.all(n), out.data()); });
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchTablesFromQuaternions(none, n, tablesOut.data()); });
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchTablesFrom2dRotations(points.data(), n, none); });
    const double origin[3] = {0, 0, 0}, axis[3] = {0, 0, 1};
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchCylindricalTables(none, n, origin, axis, tablesOut.data()); });
    expectAssertion(what, Line::nullArgument,
                    [&] { utf_batchSphericalTables(points.data(), n, origin, axis, none); });
    expectUnchanged(what, out, outBefore);
    expectUnchanged(what, tablesOut, tablesBefore);
    return;
  }
  case Broken::NullArray: {
    const std::size_t count = n == 0 ? 1 : n;
    expectAssertion("tensors over a null array", Line::nullArray, [&] {
      utf_BatchTensors<T>(nullptr, count, tensors.layout, tensors.engineeringShear, tensors.order,
                          tensors.strideGiven);
    });
    return;
  }
  case Broken::LayoutNotTensor: {
    // Any number but 9 to 13: below, just above, or far off.
    const int numbers[] = {0, 4, 6, 7, 8, 14, 15, -1, 1000, static_cast<int>(s.detail) + 14};
    const auto layout = static_cast<res_DataTypeEnm>(numbers[s.detail % 10]);
    expectAssertion("a layout that is no tensor layout", Line::layoutNotTensor, [&] {
      utf_BatchTensors<T>(tensors.stored.data(), n, layout, tensors.engineeringShear);
    });
    return;
  }
  case Broken::OrderNeedsFullLayout: {
    const res_DataTypeEnm layout = tensorLayouts[1 + s.detail % 4];
    const auto order = static_cast<utf_BatchOrder>(1 + (s.detail >> 2) % 3);
    expectAssertion("an order other than the library's for a reduced layout",
                    Line::orderNeedsFullLayout,
                    [&] { utf_BatchTensors<T>(tensors.stored.data(), n, layout, false, order); });
    return;
  }
  case Broken::MatrixEngineeringShear:
    expectAssertion("engineering shears in matrices", Line::matrixHasNoEngineeringShear, [&] {
      utf_BatchTensors<T>(tensors.stored.data(), n, res_Tensor3dFull, true, utf_BatchOrder::Matrix);
    });
    return;
  case Broken::NegativeThreadCount: {
    const int before = utf_batchThreadCount();
    expectAssertion("a negative thread count", Line::threadCount,
                    [&] { utf_batchSetThreadCount(-1 - static_cast<int>(s.detail)); });
    if (utf_batchThreadCount() != before) {
      finding("a negative thread count changed the count from %d to %d", before,
              utf_batchThreadCount());
    }
    return;
  }
  case Broken::AxisWithoutDirection: {
    const double origin[3] = {0, 0, 0};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const double axes[4][3] = {{0, 0, 0}, {0, -0.0, 0}, {1, nan, 0}, {0, 0, -inf}};
    const double* axis = axes[s.detail % 4];
    std::vector<T> tables(9 * n, T(3));
    const std::vector<T> before = tables;
    const char* what = "an axis without direction";
    expectAssertion(what, Line::axisNotADirection, [&] {
      utf_batchCylindricalTables(points.data(), n, origin, axis, tables.data());
    });
    expectAssertion(what, Line::axisNotADirection, [&] {
      utf_batchSphericalTables(points.data(), n, origin, axis, tables.data());
    });
    expectUnchanged(what, tables, before);
    return;
  }
  }
}

// ---------------------------------------------------------------------------------------------
// One input.

// The SIMD targets this processor supports among those the engine was built for, one bit each.
const std::vector<std::int64_t>& supportedTargets() {
  static const std::vector<std::int64_t> targets = [] {
    std::vector<std::int64_t> all;
    const std::uint64_t bits = static_cast<std::uint64_t>(hwy::SupportedTargets() & HWY_TARGETS);
    for (int shift = 0; shift < 63; ++shift) {
      if ((bits & (std::uint64_t{1} << shift)) != 0) {
        all.push_back(static_cast<std::int64_t>(std::uint64_t{1} << shift));
      }
    }
    return all;
  }();
  return targets;
}

template <typename T>
void fuzzWith(const Settings& s, Numbers& numbers) {
  Tensors<T> tensors;
  tensors.layout = s.layout;
  tensors.order = s.order;
  tensors.engineeringShear = s.engineeringShear;
  tensors.values = valuesOf(s.layout, s.order);
  tensors.stride = static_cast<std::size_t>(tensors.values) + s.padding;
  tensors.strideGiven = s.padding > 0 || s.explicitStride ? tensors.stride : 0;
  tensors.count = s.count + (s.extraBlock ? utf_batchBlockSize : 0);
  const std::size_t n = tensors.count;
  tensors.stored = numbers.take<T>(
      n == 0 ? 0 : (n - 1) * tensors.stride + static_cast<std::size_t>(tensors.values));
  const std::vector<T> rawTables = numbers.take<T>(s.perItemTables ? 9 * n : 9);
  const std::vector<T> quaternions = numbers.take<T>(4 * n);
  const std::vector<T> rotations = numbers.take<T>(2 * n);
  const std::vector<T> points = numbers.take<T>(3 * n);
  const std::vector<T> vectors = numbers.take<T>(3 * n);
  double origin[3], axis[3];
  for (double& value : origin) {
    value = numbers.take<double>();
  }
  for (double& value : axis) {
    value = numbers.take<double>();
  }
  char frame[200];
  std::snprintf(frame, sizeof frame, ", origin (%.17g, %.17g, %.17g), axis (%.17g, %.17g, %.17g)",
                origin[0], origin[1], origin[2], axis[0], axis[1], axis[2]);
  s_context += frame;

  const Frames<T> frames = checkFrames(s.threads, quaternions, rotations, points, origin, axis);

  // The transforms' tables: raw, or the frames of the items (the first item's for one table).
  Table<T> table{rawTables, s.perItemTables};
  const std::vector<T>* source = nullptr;
  switch (s.tableSource) {
  case TableSource::Quaternions:
    source = &frames.quaternions;
    break;
  case TableSource::Rotations2d:
    source = &frames.rotations;
    break;
  case TableSource::Cylindrical:
    source = &frames.cylindrical;
    break;
  case TableSource::Spherical:
    source = &frames.spherical;
    break;
  case TableSource::Raw:
    break;
  }
  if (source != nullptr && source->size() == 9 * n && n > 0) {
    table.numbers.assign(source->begin(), source->begin() + (s.perItemTables ? 9 * n : 9));
  }

  Results<T> results;
  const std::size_t values = static_cast<std::size_t>(tensors.values);
  for (const TensorFunction<T>& function : tensorFunctions<T>()) {
    const int per = function.per == 0 ? tensors.values : function.per;
    const utf_BatchTables<T> tables = table.all(n);
    *results.byName(function.name) = runThreeWays<T>(
        function.name, n, per, s.threads,
        [&](T* out) { function.call(tensors.view(), tables, out); },
        [&](std::size_t i, T* out) {
          const std::vector<T> one = tensors.alone(i);
          const utf_BatchTables<T> itsTable = table.perItem
                                                  ? utf_BatchTables<T>::perItem(table.of(i), 1)
                                                  : utf_BatchTables<T>::one(table.of(0));
          function.call(tensors.viewOf(one), itsTable, out);
        },
        [&](std::size_t i) {
          return tensors.finite(i) && (!function.takesTables || table.finite(i));
        });
  }
  checkTensorResults(tensors, results);

  // Transforms: matrices written back symmetric; in place, the bits of out of place.
  for (const std::vector<T>* out : {&results.newAxes, &results.oldAxes}) {
    if (tensors.order != utf_BatchOrder::Matrix) {
      break;
    }
    for (std::size_t i = 0; i < n; ++i) {
      const T* m = out->data() + 9 * i;
      if (!sameBits(m[1], m[3]) || !sameBits(m[2], m[6]) || !sameBits(m[5], m[7])) {
        finding("a transform: matrix %zu written back asymmetric", i);
      }
    }
  }
  const utf_BatchTables<T> tables = table.all(n);
  const auto transformFinite = [&](std::size_t i) { return tensors.finite(i) && table.finite(i); };
  if (tensors.stride == values) {
    for (bool back : {false, true}) {
      std::vector<T> inPlace = tensors.stored;
      const utf_BatchTensors<T> view(inPlace.data(), n, tensors.layout, tensors.engineeringShear,
                                     tensors.order, tensors.strideGiven);
      if (back) {
        utf_batchTensorsToOldAxes(view, tables, inPlace.data());
      } else {
        utf_batchTensorsToNewAxes(view, tables, inPlace.data());
      }
      const std::vector<T>& expected = back ? results.oldAxes : results.newAxes;
      for (std::size_t i = 0; i < n; ++i) {
        expectSameResults(back ? "utf_batchTensorsToOldAxes" : "utf_batchTensorsToNewAxes",
                          "in place", i, &inPlace[i * values], &expected[i * values],
                          tensors.values, transformFinite(i));
      }
    }
  }

  // Vectors, both ways, out of place and in place.
  for (bool back : {false, true}) {
    const char* name = back ? "utf_batchVectorsToOldAxes" : "utf_batchVectorsToNewAxes";
    const auto call = [back](const T* in, std::size_t count, const utf_BatchTables<T>& t, T* out) {
      if (back) {
        utf_batchVectorsToOldAxes(in, count, t, out);
      } else {
        utf_batchVectorsToNewAxes(in, count, t, out);
      }
    };
    const auto vectorFinite = [&](std::size_t i) {
      return allFinite(&vectors[3 * i], 3) && table.finite(i);
    };
    const std::vector<T> out = runThreeWays<T>(
        name, n, 3, s.threads, [&](T* o) { call(vectors.data(), n, tables, o); },
        [&](std::size_t i, T* o) {
          const std::vector<T> one(&vectors[3 * i], &vectors[3 * i] + 3);
          call(one.data(), 1,
               table.perItem ? utf_BatchTables<T>::perItem(table.of(i), 1)
                             : utf_BatchTables<T>::one(table.of(0)),
               o);
        },
        vectorFinite);
    std::vector<T> inPlace = vectors;
    call(inPlace.data(), n, tables, inPlace.data());
    for (std::size_t i = 0; i < n; ++i) {
      expectSameResults(name, "in place", i, &inPlace[3 * i], &out[3 * i], 3, vectorFinite(i));
    }
  }

  breakPrecondition(s, tensors, table, vectors, points);
}

std::string describe(const Settings& s, std::size_t count) {
  static const char* const sources[] = {"raw", "quaternions", "2d rotations", "cylindrical",
                                        "spherical"};
  char text[400];
  std::snprintf(text, sizeof text,
                "%s, layout %d, order %s, %s shears, padding %zu%s, %zu tensors, %d thread(s), "
                "SIMD %s, tables %s%s, broken precondition %d",
                s.isDouble ? "double" : "float", static_cast<int>(s.layout),
                orderNames[static_cast<int>(s.order)],
                s.engineeringShear ? "engineering" : "tensorial", s.padding,
                s.explicitStride ? " (stride given)" : "", count, s.threads, utf_batchSimdTarget(),
                sources[static_cast<int>(s.tableSource)], s.perItemTables ? " per item" : " (one)",
                static_cast<int>(s.broken));
  return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (utf_initialized() == 0) {
    int counter = 0;
    utf_initialize(counter); // once: the library stays started for the whole process
  }
  // Missing setting bytes read as 0.
  std::uint8_t bytes[settingBytes] = {};
  std::copy(data, data + std::min(size, settingBytes), bytes);
  const Settings settings = settingsOf(bytes);
  Numbers numbers(data + std::min(size, settingBytes), size - std::min(size, settingBytes));

  const std::vector<std::int64_t>& targets = supportedTargets();
  if (settings.targetChoice != 0 && !targets.empty()) {
    hwy::SetSupportedTargetsForTest(
        targets[static_cast<std::size_t>(settings.targetChoice - 1) % targets.size()]);
  }
  utf_batchSetThreadCount(settings.threads);
  s_context = describe(settings, settings.count + (settings.extraBlock ? utf_batchBlockSize : 0));
  try {
    if (settings.isDouble) {
      fuzzWith<double>(settings, numbers);
    } else {
      fuzzWith<float>(settings, numbers);
    }
  } catch (const nex_Exception& failure) {
    // Every assertion that an input breaks on purpose is caught where it is expected.
    finding("unexpected exception: %s", failure.AsString().Text());
  }
  hwy::SetSupportedTargetsForTest(0);
  return 0;
}
