#pragma once

#include "Biquad.h"
#include "CascadeKernels.h"

#include <array>
#include <utility>

// A fixed chain of sections run in order, with the history of all of them laid
// out section after section (four values each) for per-channel save/restore.
// The composite filters are built on it.
template <int N> class CSectionCascade {
public:
    static constexpr int kSectionCount = N;
    static constexpr int kStateSize = N * CBiquad::kStateSize;

    void SetSampleRate(double sr) {
        for (CBiquad& s : section) {
            s.SetSampleRate(sr);
        }
    }
    // All sections in one fused pass (CascadeKernels.h) ...
    void FilterBuffer(double* buffer, long count) {
        CBiquad* all[N];
        for (int i = 0; i < N; ++i) {
            all[i] = &section[i];
        }
        zk::FilterCascade(all, N, buffer, count);
    }
    // ... equal bit for bit to these plain loops, one section after another.
    void FilterBufferReference(double* buffer, long count) {
        for (CBiquad& s : section) {
            s.FilterBuffer(buffer, count);
        }
    }
    double FilterSample(double x) {
        for (CBiquad& s : section) {
            x = s.FilterSample(x);
        }
        return x;
    }
    void InitBuffers() {
        for (CBiquad& s : section) {
            s.InitBuffers();
        }
    }
    void GetBuffers(double* out) const {
        for (const CBiquad& s : section) {
            s.GetBuffers(out);
            out += CBiquad::kStateSize;
        }
    }
    void StoreBuffers(const double* in) {
        for (CBiquad& s : section) {
            s.StoreBuffers(in);
            in += CBiquad::kStateSize;
        }
    }
    void GetCoeffs(double* out, int index) const {
        if (index >= 0 && index < N) {
            section[index].GetCoeffs(out);
        }
    }
    CBiquad* GetBiquad(int index) { return index >= 0 && index < N ? &section[index] : nullptr; }
    const CBiquad* GetBiquad(int index) const {
        return index >= 0 && index < N ? &section[index] : nullptr;
    }

protected:
    explicit CSectionCascade(double sampleRate)
        : section(Flat(sampleRate, std::make_index_sequence<N>{})) {}
    explicit CSectionCascade(std::array<CBiquad, N> sections) : section(sections) {}

    std::array<CBiquad, N> section;

private:
    template <std::size_t... I>
    static std::array<CBiquad, N> Flat(double sampleRate, std::index_sequence<I...>) {
        return {((void)I, CBiquad(sampleRate))...};
    }
};
