#ifndef UTF_CONSTANTS_H
#define UTF_CONSTANTS_H

// Mathematical constants used across the library, its tools and its tests, each defined once.

// pi to the precision of long double (the references of the tests), and the double nearest to it.
constexpr long double utf_piLong = 3.141592653589793238462643383279502884L;
constexpr double utf_pi = 3.141592653589793;
static_assert(static_cast<double>(utf_piLong) == utf_pi, "utf_pi is pi rounded to double");

#endif
