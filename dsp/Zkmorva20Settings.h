#pragma once

// Per-channel settings of the two-channel equaliser, as the unit's parameter
// dispatch writes them: gains are linear factors (1.0 = 0 dB), frequencies Hz.

// High-pass or low-pass: slope code (see CZkmorvaHpLpFilter), corner, switch.
struct CutSettings {
    double slope = 112.0;
    double frequency = 0.0;
    bool on = true;
};

// Bell/shelf band or shifter.
struct BandSettings {
    double gain = 1.0;
    double q = 0.0;
    double frequency = 0.0;
    bool on = true;
};

struct ChannelSettings {
    CutSettings hp;
    BandSettings lf, lmf, mf, hmf, hf;
    CutSettings lp;
    BandSettings bassShift, presShift;
};

// What a channel starts with; the unit overwrites all of it from its parameters.
// High-pass and low-pass start outside their active ranges, every band flat.
inline constexpr ChannelSettings kDefaultChannelSettings{
    .hp = {112.0, 0.0, true},
    .lf = {1.0, 0.29, 100.0, true},
    .lmf = {1.0, 1.0, 315.0, true},
    .mf = {1.0, 2.0, 3150.0, true},
    .hmf = {1.0, 3.0, 5800.0, true},
    .hf = {1.0, 0.29, 12000.0, true},
    .lp = {112.0, 27000.0, true},
    .bassShift = {1.0, 2.14, 89.0, true},
    .presShift = {1.0, 1.13, 12600.0, true},
};
