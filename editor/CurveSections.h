#pragma once

// Analogue-prototype magnitudes of the curve view's sections, as pixel offsets:
// each returns s * log10(|H|) at the frequency ratio r = f / f0, where s is the
// view's pixels per decade of amplitude. A gain of exactly 1 gives exactly 0.
namespace zkeditor::curve {

// A ratio within 2 % of the centre counts as the centre, so that the column
// nearest a narrow section shows its full value.
double SnapRatio(double r);

double calcPeak(double gain, double q, double r, double s);
double calcHiPass(double r, int order, double s);
double calcLoPass(double r, int order, double s);
// Exactly at the centre the notch is clamped to 1e-15 (far below any view).
double calcNotch(double q, double r, double s);
double calcLoShelv(double gain, double r, double s);
double calcHiShelv(double gain, double r, double s);

// Order of a cut filter for its slope code (100 x the control position).
int SlopeOrder(double code);

} // namespace zkeditor::curve
