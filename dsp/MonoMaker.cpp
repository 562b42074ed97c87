#include "MonoMaker.h"

#include "FilterConstants.h"

#include <algorithm>
#include <cmath>

CMonoMaker::CMonoMaker(double sampleRate) : midSection(sampleRate), sideSection(sampleRate) {}

void CMonoMaker::SetSampleRate(double sr) {
    midSection.SetSampleRate(sr);
    sideSection.SetSampleRate(sr);
}

void CMonoMaker::Update(double frequency, double shelfFrequency) {
    sideSection.Update(filterParameters{HighPass2, 0.0, frequency, zk::kSqrt2Single});
    // +0.5 dB; the shelf ignores q.
    midSection.Update(filterParameters{LowShelf, std::pow(10.0, 0.025),
                                       std::min(shelfFrequency, frequency), zk::kSqrt2Single});
}

void CMonoMaker::FilterMSBuffers(double* mid, double* side, long count) {
    midSection.FilterBuffer(mid, count);
    sideSection.FilterBuffer(side, count);
}

void CMonoMaker::FilterLRBuffers(double* left, double* right, long count) {
    constexpr double c = zk::kSqrt2Single;
    for (long i = 0; i < count; ++i) {
        const double m = (left[i] + right[i]) / c;
        const double s = (left[i] - right[i]) / c;
        midSection.FilterSample(m);
        sideSection.FilterSample(s);
        left[i] = (m + s) / c;
        right[i] = (m - s) / c;
    }
}

void CMonoMaker::InitBuffers() {
    midSection.InitBuffers();
    sideSection.InitBuffers();
}

void CMonoMaker::GetCoeffs(double* out, bool mid) const {
    (mid ? midSection : sideSection).GetCoeffs(out);
}
