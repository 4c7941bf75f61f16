#ifndef UTF_TEST_PRESCRIBED_ROTATION_H
#define UTF_TEST_PRESCRIBED_ROTATION_H

// The rounding rules of the rotations, written out here in T with every cast visible, for the
// bit-for-bit tests: the products and brackets in T, the factor 2 (and the 1 - 2(...) of the
// in-plane block) applied in double and rounded once, the halving of an engineering shear as
// value times 0.5 in double. In the double instantiation every cast is the identity.

template <typename T>
T twice(T bracket) {
  return static_cast<T>(2.0 * static_cast<double>(bracket));
}

template <typename T>
T oneMinusTwice(T square) {
  return static_cast<T>(1.0 - 2.0 * static_cast<double>(square));
}

template <typename T>
T halved(T value) {
  return static_cast<T>(static_cast<double>(value) * 0.5);
}

// The direction-cosine table of a 3D rotation (x, y, z, w) = q[0..3], row r the new axis r: the
// diagonal a sum of four squares from the left, the off-diagonal brackets doubled in double.
// Nothing normalises: a non-unit q gives a scaled table.
template <typename T>
struct PrescribedTable {
  T a[3][3];
};

template <typename T>
PrescribedTable<T> prescribedTable3d(const T* q) {
  const T x = q[0], y = q[1], z = q[2], w = q[3];
  return PrescribedTable<T>{
      {{x * x - y * y - z * z + w * w, twice(x * y + z * w), twice(x * z - y * w)},
       {twice(x * y - z * w), -x * x + y * y - z * z + w * w, twice(y * z + x * w)},
       {twice(x * z + y * w), twice(y * z - x * w), -x * x - y * y + z * z + w * w}}};
}

// The in-plane block of a 2D rotation (s, c) = p[0..1] in the same form, rows
// (1 - 2s^2, 2(cs)) and (2((-c)s), 1 - 2s^2), the third row and column (0, 0, 1).
template <typename T>
PrescribedTable<T> prescribedTable2d(const T* p) {
  const T s = p[0], c = p[1];
  return PrescribedTable<T>{{{oneMinusTwice(s * s), twice(c * s), T(0)},
                             {twice((-c) * s), oneMinusTwice(s * s), T(0)},
                             {T(0), T(0), T(1)}}};
}

#endif
