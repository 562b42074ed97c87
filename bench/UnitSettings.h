#pragma once

// Every section active, as a host sets it through parameters (the values of
// Configurations.h): for any host with Set(id, value).
#include "units/Zkmorva10Parameters.h"
#include "units/Zkmorva20Parameters.h"

namespace zkbench {

using namespace zk;

template <class Host> void SetAllActive10(Host& host) {
    const float bandDb[] = {3.0f, -4.0f, 2.5f, -3.0f, 4.0f};
    const float bandHz[] = {100.0f, 300.0f, 2000.0f, 5000.0f, 12000.0f};
    const float bandQ[] = {0.7f, 1.0f, 2.0f, 3.0f, 0.7f};
    for (AudioUnitParameterID b = 0; b < 5; ++b) {
        host.Set(kZ10LfQ + 4 * b, bandQ[b]);
        host.Set(kZ10LfFreq + 4 * b, bandHz[b]);
        host.Set(kZ10LfGain + 4 * b, bandDb[b]);
        host.Set(kZ10LfOn + 4 * b, 1.0f);
    }
    host.Set(kZ10HpFreq, 60.0f);
    host.Set(kZ10HpQ, 25.0f); // 30 dB/oct
    host.Set(kZ10HpOn, 1.0f);
    host.Set(kZ10LpFreq, 18000.0f);
    host.Set(kZ10LpQ, 25.0f);
    host.Set(kZ10LpOn, 1.0f);
    host.Set(kZ10BassShiftGain, 2.0f);
    host.Set(kZ10BassShiftOn, 1.0f);
    host.Set(kZ10PresShiftGain, -2.0f);
    host.Set(kZ10PresShiftOn, 1.0f);
}

template <class Host> void SetAllActive20(Host& host) {
    const float bandDb[] = {3.0f, -4.0f, 2.5f, -3.0f, 4.0f};
    const float bandHz[] = {100.0f, 300.0f, 2000.0f, 5000.0f, 12000.0f};
    const float bandQ[] = {0.7f, 1.0f, 2.0f, 3.0f, 0.7f};
    for (AudioUnitParameterID first : {kZ20Channel1First, kZ20Channel2First}) {
        for (AudioUnitParameterID b = 0; b < 5; ++b) {
            host.Set(first + kZ20LfQ + 5 * b, bandQ[b]);
            host.Set(first + kZ20LfFreq + 5 * b, bandHz[b]);
            host.Set(first + kZ20LfGain + 5 * b, bandDb[b]);
            host.Set(first + kZ20LfOn + 5 * b, 1.0f);
        }
        host.Set(first + kZ20HpFreq, 60.0f);
        host.Set(first + kZ20HpQ, 25.0f); // 30 dB/oct
        host.Set(first + kZ20HpOn, 1.0f);
        host.Set(first + kZ20LpFreq, 18000.0f);
        host.Set(first + kZ20LpQ, 25.0f);
        host.Set(first + kZ20LpOn, 1.0f);
        host.Set(first + kZ20BsGain, 2.0f);
        host.Set(first + kZ20BsOn, 1.0f);
        host.Set(first + kZ20PsGain, -2.0f);
        host.Set(first + kZ20PsOn, 1.0f);
    }
    host.Set(kZ20MonoMaker, 120.0f);
    host.Set(kZ20MonoMakerOn, 1.0f);
    host.Set(kZ20StereoWidth, 130.0f);
    host.Set(kZ20StereoWidthOn, 1.0f);
}

} // namespace zkbench
