#pragma once

// Natural logarithms and curve coefficients shared by the value mapping, the
// display and parse functions and the curve view. Each is defined once here and
// computed at start-up. A few (ln1000, ln1100, ln4500, ln4_4, ln15_001div0_28)
// have no user yet; they are kept so the set is complete.
namespace zkeditor {

extern const double ln20, ln40, ln50, ln65, ln400, ln1000, ln1100, ln1300, ln4500, ln8000;
extern const double ln5, ln2_5, ln4_4;
extern const double ln0_3, ln0_28;
extern const double ln15div0_3, ln15div0_28, ln15_001div0_28;

// The level-gain display law 20*log10(coeffA*x^2 + coeffB*x): 0 dB at 0.5, +12 dB at 1.
extern const double coeffA, coeffB, coeffP, powCoeffP;

} // namespace zkeditor
