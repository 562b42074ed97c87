#pragma once

// Rounded constants that are part of the required responses. They are intended
// as they stand: changing one to its "exact" value changes every output bit.
namespace zk {

// The square root of two rounded to single precision, used as Butterworth
// damping and as the shelves' fixed term.
inline constexpr double kSqrt2Single = 1.4142135381698608;

} // namespace zk
