#pragma once

#include "Biquad.h"

// Makes the low end mono: a Butterworth high-pass on the side signal removes
// stereo content below a frequency, a +0.5 dB low shelf on the mid adds a little
// level back there.
class CMonoMaker final {
public:
    explicit CMonoMaker(double sampleRate);

    void SetSampleRate(double sr);
    // Left/right in place: converts to mid/side, advances both sections with the
    // converted samples and writes back the unfiltered conversion. The result is
    // the input times 2/c^2 (c the single-precision root of two), 1.0000000342
    // rather than 1, which every output bit of the mid/side stage carries.
    void FilterLRBuffers(double* left, double* right, long count);
    void FilterMSBuffers(double* mid, double* side, long count);
    double FilterMSample(double x) { return midSection.FilterSample(x); }
    double FilterSSample(double x) { return sideSection.FilterSample(x); }
    // Side high-pass at frequency; mid shelf at the smaller of the two.
    void Update(double frequency, double shelfFrequency);
    void InitBuffers();
    void GetCoeffs(double* out, bool mid) const;
    CBiquad* GetBiquad(bool mid) { return mid ? &midSection : &sideSection; }

private:
    CBiquad midSection;
    CBiquad sideSection;
};
