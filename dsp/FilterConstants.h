#pragma once

// Rounded constants the filters are built on. Each stays as it stands: changing
// one to its "exact" value changes every output bit of the units.
namespace zk {

// The square root of two rounded to single precision, used as Butterworth
// damping and as the shelves' fixed term.
inline constexpr double kSqrt2Single = 1.4142135381698608;

} // namespace zk
