// The channel EQ's parameter dispatch: stored values into processor settings and
// filters. Runs on the render thread (batches) and in Reset.
#include "units/Zkmorva10AU.h"

#include "dsp/Truncate.h"
#include "units/CutSlopes.h"
#include "units/Decibels.h"
#include "units/GlobalFields.h"
#include "units/SectionControls.h"

#include <array>

namespace {

using namespace zk;
using Processor = CZkmorva10SignalProcessing;

// By id, from the high-pass Q on.
constexpr std::array<SectionControl, kZ10LastDispatched + 1 - kZ10HpQ> kSectionControls{{
    {ControlKind::CutQ, Section::Hp},
    {ControlKind::CutFrequency, Section::Hp},
    {ControlKind::On, Section::Hp},
    {ControlKind::BandQ, Section::Lf},
    {ControlKind::BandFrequency, Section::Lf},
    {ControlKind::BandGain, Section::Lf},
    {ControlKind::On, Section::Lf},
    {ControlKind::BandQ, Section::Lmf},
    {ControlKind::BandFrequency, Section::Lmf},
    {ControlKind::BandGain, Section::Lmf},
    {ControlKind::On, Section::Lmf},
    {ControlKind::BandQ, Section::Mf},
    {ControlKind::BandFrequency, Section::Mf},
    {ControlKind::BandGain, Section::Mf},
    {ControlKind::On, Section::Mf},
    {ControlKind::BandQ, Section::Hmf},
    {ControlKind::BandFrequency, Section::Hmf},
    {ControlKind::BandGain, Section::Hmf},
    {ControlKind::On, Section::Hmf},
    {ControlKind::BandQ, Section::Hf},
    {ControlKind::BandFrequency, Section::Hf},
    {ControlKind::BandGain, Section::Hf},
    {ControlKind::On, Section::Hf},
    // The channel EQ's low-pass has always taken its Q control's value itself, so
    // from 16 up it runs the 30 dB/oct cascade whatever slope the text names; its
    // presets and sessions sound that way.
    {ControlKind::CutRawQ, Section::Lp},
    {ControlKind::CutFrequency, Section::Lp},
    {ControlKind::On, Section::Lp},
    {ControlKind::ShifterFrequency, Section::Bs},
    {ControlKind::ShifterGain, Section::Bs},
    {ControlKind::On, Section::Bs},
    {ControlKind::ShifterFrequency, Section::Ps},
    {ControlKind::ShifterGain, Section::Ps},
    {ControlKind::On, Section::Ps},
}};

// The processor's fields and filter of each cut and shifter section.
struct CutFields {
    double Processor::*slope;
    double Processor::*frequency;
    bool Processor::*on;
    CZkmorvaHpLpFilter& (Processor::*filter)();
};
constexpr CutFields kHighPass{&Processor::hpSlope, &Processor::hpFrequency, &Processor::hpOn,
                              &Processor::GetHpFilter};
constexpr CutFields kLowPass{&Processor::lpSlope, &Processor::lpFrequency, &Processor::lpOn,
                             &Processor::GetLpFilter};

struct ShifterFields {
    Processor::CShifterSettings Processor::*settings;
    CZkmorvaShifter& (Processor::*filter)();
};
constexpr ShifterFields kBassShifter{&Processor::bassShift, &Processor::GetBassShifter};
constexpr ShifterFields kPresenceShifter{&Processor::presenceShift, &Processor::GetPresenceShifter};

// The global parameters with a plain field conversion.
constexpr std::array<GlobalField<Processor, bool>, 2> kGlobalSwitches{{
    {kZ10AutoListenOn, &Processor::autoListenEnabled},
    {kZ10EqOn, &Processor::eqOn},
}};
constexpr std::array<GlobalField<Processor, double>, 2> kGlobalGains{{
    {kZ10InputGain, &Processor::inputGain},
    {kZ10OutputGain, &Processor::outputGain},
}};

} // namespace

void CZkmorva10AU::UpdateParameters(AudioUnitParameterID id) {
    if (id > kZ10LastDispatched) {
        return;
    }
    AudioUnitParameterValue stored = 0.0f;
    if (!PeekParameter(kAudioUnitScope_Global, 0, id, stored)) {
        return;
    }
    // The processor only gets values of the parameter's range.
    stored = DispatchValue(kZkmorva10Parameters[id], stored);
    const double v = stored;

    if (id >= kZ10HpQ) {
        UpdateSectionControl(id, v);
        return;
    }
    auto toFactor = [this](double dB) { return ConvertDecibelsToFactor(dB, kLevelGainFloorDb); };
    if (SetGlobalField<Processor>(*this, kGlobalSwitches, kGlobalGains, id, v, toFactor)) {
        return;
    }
    switch (id) {
    case kZ10AutoListenMode: {
        std::int32_t mode = autoListenMode;
        zk::TruncateToInt32(v, &mode);
        autoListenMode = mode;
        break;
    }
    case kZ10PhaseRev:
        phase = 1.0 - 2.0 * v; // off +1, on -1
        break;
    default:
        break;
    }
}

void CZkmorva10AU::UpdateSectionControl(AudioUnitParameterID id, double v) {
    const SectionControl c = kSectionControls[id - kZ10HpQ];
    const CutFields& cut = c.section == Section::Hp ? kHighPass : kLowPass;
    const ShifterFields& shifter = c.section == Section::Bs ? kBassShifter : kPresenceShifter;

    switch (c.kind) {
    case ControlKind::CutQ:
    case ControlKind::CutRawQ:
        this->*cut.slope = c.kind == ControlKind::CutQ ? SlopeCode(v) : v;
        (this->*cut.filter)().Update(this->*cut.slope, CZkmorvaHpLpFilter::kSlope);
        break;
    case ControlKind::CutFrequency:
        this->*cut.frequency = v;
        (this->*cut.filter)().Update(v, CZkmorvaHpLpFilter::kFrequency);
        Follow(id, v);
        break;
    case ControlKind::BandQ:
        band[BandIndex(c.section)].q = v;
        ApplyBandQ(GetBandFilter(static_cast<int>(BandIndex(c.section))), v, c.section);
        break;
    case ControlKind::BandFrequency:
        band[BandIndex(c.section)].frequency = v;
        GetBandFilter(static_cast<int>(BandIndex(c.section))).Update(v, CBiquad::kFrequency);
        Follow(id, v);
        break;
    case ControlKind::BandGain: {
        CBandSettings& s = band[BandIndex(c.section)];
        s.gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        GetBandFilter(static_cast<int>(BandIndex(c.section))).Update(s.gain, CBiquad::kGain);
        break;
    }
    case ControlKind::ShifterFrequency: // no auto-listen follows a shifter
        (this->*shifter.settings).frequency = v;
        (this->*shifter.filter)().Update(v, CZkmorvaShifter::kFrequency);
        break;
    case ControlKind::ShifterGain: {
        CShifterSettings& s = this->*shifter.settings;
        s.gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        (this->*shifter.filter)().Update(s.gain, CZkmorvaShifter::kGain);
        break;
    }
    case ControlKind::On:
        if (IsCut(c.section)) {
            this->*cut.on = v != 0.0;
        } else if (IsBand(c.section)) {
            band[BandIndex(c.section)].on = v != 0.0;
        } else {
            (this->*shifter.settings).on = v != 0.0;
        }
        break;
    case ControlKind::Link: // the channel EQ has no links
        break;
    }
}

// While the auto-listen of this very control sounds, its narrow band moves with it.
void CZkmorva10AU::Follow(AudioUnitParameterID id, double frequency) {
    if (IsAutoListenActive() && GetAutoListenParam() == static_cast<std::int32_t>(id)) {
        GetAutoListenFilter().Update(frequency, CBiquad::kFrequency);
    }
}
