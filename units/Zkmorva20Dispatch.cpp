// The two-channel EQ's parameter dispatch: stored values into processor settings
// and filters; and the unit's answers to changes from outside: linked partners,
// solo and master link. Runs on the render thread (batches) and in Reset.
#include "units/Zkmorva20AU.h"

#include "dsp/Truncate.h"
#include "units/CutSlopes.h"
#include "units/Decibels.h"
#include "units/GlobalFields.h"
#include "units/SectionControls.h"
#include "units/Zkmorva20Links.h"

#include <array>
#include <cstdint>

namespace {

using namespace zk;

constexpr double kMonoMakerShelfLimitHz = 400.0;
constexpr double kFactorPerPercent = 0.01; // the stereo width is set in percent

// By channel offset.
constexpr std::array<SectionControl, kZ20ChannelSpan> kChannelControls{{
    {ControlKind::CutQ, Section::Hp},
    {ControlKind::CutFrequency, Section::Hp},
    {ControlKind::Link, Section::Hp},
    {ControlKind::On, Section::Hp},
    {ControlKind::BandQ, Section::Lf},
    {ControlKind::BandFrequency, Section::Lf},
    {ControlKind::BandGain, Section::Lf},
    {ControlKind::Link, Section::Lf},
    {ControlKind::On, Section::Lf},
    {ControlKind::BandQ, Section::Lmf},
    {ControlKind::BandFrequency, Section::Lmf},
    {ControlKind::BandGain, Section::Lmf},
    {ControlKind::Link, Section::Lmf},
    {ControlKind::On, Section::Lmf},
    {ControlKind::BandQ, Section::Mf},
    {ControlKind::BandFrequency, Section::Mf},
    {ControlKind::BandGain, Section::Mf},
    {ControlKind::Link, Section::Mf},
    {ControlKind::On, Section::Mf},
    {ControlKind::BandQ, Section::Hmf},
    {ControlKind::BandFrequency, Section::Hmf},
    {ControlKind::BandGain, Section::Hmf},
    {ControlKind::Link, Section::Hmf},
    {ControlKind::On, Section::Hmf},
    {ControlKind::BandQ, Section::Hf},
    {ControlKind::BandFrequency, Section::Hf},
    {ControlKind::BandGain, Section::Hf},
    {ControlKind::Link, Section::Hf},
    {ControlKind::On, Section::Hf},
    {ControlKind::CutQ, Section::Lp},
    {ControlKind::CutFrequency, Section::Lp},
    {ControlKind::Link, Section::Lp},
    {ControlKind::On, Section::Lp},
    {ControlKind::ShifterFrequency, Section::Bs},
    {ControlKind::ShifterGain, Section::Bs},
    {ControlKind::Link, Section::Bs},
    {ControlKind::On, Section::Bs},
    {ControlKind::ShifterFrequency, Section::Ps},
    {ControlKind::ShifterGain, Section::Ps},
    {ControlKind::Link, Section::Ps},
    {ControlKind::On, Section::Ps},
}};

// Settings of the bell/shelf bands and shifters by section (null for the cuts).
constexpr std::array<BandSettings ChannelSettings::*, 9> kBandSettingsOf{
    nullptr,
    &ChannelSettings::lf,
    &ChannelSettings::lmf,
    &ChannelSettings::mf,
    &ChannelSettings::hmf,
    &ChannelSettings::hf,
    nullptr,
    &ChannelSettings::bassShift,
    &ChannelSettings::presShift};

// The global parameters with a plain field conversion.
constexpr std::array<GlobalField<CZkmorva20SignalProcessing, bool>, 4> kGlobalSwitches{{
    {kZ20AutoListenOn, &CZkmorva20SignalProcessing::autoListenOn},
    {kZ20EqOn, &CZkmorva20SignalProcessing::eqOn},
    {kZ20MonoMakerOn, &CZkmorva20SignalProcessing::monoMakerOn},
    {kZ20StereoWidthOn, &CZkmorva20SignalProcessing::stereoWidthOn},
}};
constexpr std::array<GlobalField<CZkmorva20SignalProcessing, double>, 4> kGlobalGains{{
    {kZ20Input1Gain, &CZkmorva20SignalProcessing::inputGain1},
    {kZ20Output1Gain, &CZkmorva20SignalProcessing::outputGain1},
    {kZ20Input2Gain, &CZkmorva20SignalProcessing::inputGain2},
    {kZ20Output2Gain, &CZkmorva20SignalProcessing::outputGain2},
}};

} // namespace

// One switch per section decides for both channels: channel 1's, also for
// channel 2's controls, so that a section's controls on either channel listen
// alike; a NaN switch counts as on.
long CZkmorva20AU::GetLinkStatus(long id) {
    const AudioUnitParameterID link = z20links::Entry(id).channel1Link;
    return link != z20links::kNone && StoredParameter(link) != 0.0f ? 1 : 0;
}

long CZkmorva20AU::GetLinkedControl(long id) {
    return static_cast<long>(z20links::Entry(id).counterpart);
}

void CZkmorva20AU::UpdateParameters(AudioUnitParameterID id) {
    if (id > kZ20LastDispatched) {
        return;
    }
    // The processor only gets values of the parameter's range.
    const float raw = StoredParameter(id);
    const float stored = DispatchValue(kZkmorva20Parameters[id], raw);
    const double v = stored;

    if (id >= kZ20Channel1First) {
        UpdateChannelControl(id, v);
        return;
    }
    auto toFactor = [this](double dB) { return ConvertDecibelsToFactor(dB, kLevelGainFloorDb); };
    if (SetGlobalField<CZkmorva20SignalProcessing>(*this, kGlobalSwitches, kGlobalGains, id, v,
                                                   toFactor)) {
        return;
    }
    switch (id) {
    case kZ20Ch1Solo:
    case kZ20Ch2Solo:
        UpdateSolo(id, raw);
        break;
    case kZ20AutoListenMode: {
        std::int32_t mode = autoListenMode;
        zk::TruncateToInt32(v, &mode);
        autoListenMode = mode;
        break;
    }
    case kZ20MonoMaker:
        monoMakerFrequency = v;
        GetMonoMaker().Update(v, kMonoMakerShelfLimitHz);
        break;
    case kZ20StereoWidth:
        stereoWidth = v * kFactorPerPercent;
        break;
    default: // the master link and the gain link switches: nothing to push
        break;
    }
}

void CZkmorva20AU::UpdateChannelControl(AudioUnitParameterID id, double v) {
    const int channel = id < kZ20Channel2First ? 0 : 1;
    const SectionControl c = kChannelControls[id - Z20ChannelId(channel, 0)];
    ChannelSettings& s = GetChannelSettings(channel);
    CZkmorva20ChannelFilters& f = GetChannelFilters(channel);
    const bool isCut = IsCut(c.section);
    CutSettings& cut = c.section == Section::Hp ? s.hp : s.lp;
    CZkmorvaHpLpFilter& cutFilter = c.section == Section::Hp ? f.hpFilter : f.lpFilter;
    BandSettings* band =
        isCut ? nullptr : &(s.*kBandSettingsOf[static_cast<std::size_t>(c.section)]);
    CZkmorvaShifter& shifter = c.section == Section::Bs ? f.bassShifter : f.presenceShifter;

    switch (c.kind) {
    case ControlKind::CutQ:
        cut.slope = SlopeCode(v);
        cutFilter.Update(cut.slope, CZkmorvaHpLpFilter::kSlope);
        break;
    case ControlKind::CutFrequency:
        cut.frequency = v;
        cutFilter.Update(v, CZkmorvaHpLpFilter::kFrequency);
        break;
    case ControlKind::BandQ:
        band->q = v;
        ApplyBandQ(f.bandFilter[BandIndex(c.section)], v, c.section);
        break;
    case ControlKind::BandFrequency:
        band->frequency = v;
        f.bandFilter[BandIndex(c.section)].Update(v, CBiquad::kFrequency);
        break;
    case ControlKind::BandGain:
        band->gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        f.bandFilter[BandIndex(c.section)].Update(band->gain, CBiquad::kGain);
        break;
    case ControlKind::ShifterFrequency:
        band->frequency = v;
        shifter.Update(v, CZkmorvaShifter::kFrequency);
        break;
    case ControlKind::ShifterGain:
        band->gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        shifter.Update(band->gain, CZkmorvaShifter::kGain);
        break;
    case ControlKind::On:
        (isCut ? cut.on : band->on) = v != 0.0;
        break;
    case ControlKind::CutRawQ: // the channel EQ's low-pass only
    case ControlKind::Link:
        break;
    }
}

// The solo heard is the one switched on last; switching it off leaves the other
// channel's, if that is on.
void CZkmorva20AU::UpdateSolo(AudioUnitParameterID id, float v) {
    const int channel = id == kZ20Ch1Solo ? 1 : 2;
    const AudioUnitParameterID other = id == kZ20Ch1Solo ? kZ20Ch2Solo : kZ20Ch1Solo;
    if (v == 1.0f) {
        soloMode = channel;
    } else if (soloMode == channel) {
        soloMode = StoredParameter(other) == 1.0f ? 3 - channel : 0;
    }
}

void CZkmorva20AU::AnswerChange(AudioUnitParameterID id) {
    z20links::ForEachAnswer(
        id, StoredParameter(id), [this](AudioUnitParameterID p) { return StoredParameter(p); },
        [this](AudioUnitParameterID p, float v, bool overridesChange) {
            SetOwnParameter(p, v, overridesChange);
        });
}
