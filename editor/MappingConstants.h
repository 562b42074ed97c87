#pragma once

// Natural logarithms and curve coefficients shared by the value mapping, the
// display and parse functions and the curve view. Each is defined once here and
// computed at start-up.
namespace zkeditor {

extern const double ln20, ln40, ln50, ln65, ln400, ln1300, ln8000;
extern const double ln5, ln2_5;
extern const double ln0_3, ln0_28;
extern const double ln15div0_3, ln15div0_28;

// The level-gain display law 20*log10(coeffA*x^2 + coeffB*x): 0 dB at 0.5, +12 dB at 1.
extern const double coeffA, coeffB, coeffP, powCoeffP;

} // namespace zkeditor
