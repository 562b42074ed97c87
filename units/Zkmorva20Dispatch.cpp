// The two-channel EQ's parameter dispatch: stored values into processor settings
// and filters; and the unit's answers to changes from outside: linked partners,
// solo and master link. Runs on the render thread (batches) and in Reset.
#include "units/Zkmorva20AU.h"

#include "dsp/ShelvingRule.h"
#include "dsp/Truncate.h"
#include "units/Zkmorva20Links.h"

#include <array>
#include <cstdint>

namespace {

using namespace zk;

constexpr float kGainFloorDb = -100.0f;      // input and output gains
constexpr float kBandGainFloorDb = -1000.0f; // band and shifter gains
constexpr double kMonoMakerShelfLimitHz = 400.0;

// Cut-filter Q controls: the top ranges select slope codes (6..30 dB/oct); values up
// to 15 are a resonant Q and pass unchanged.
struct SlopeStep {
    double above;
    double code;
};
constexpr std::array<SlopeStep, 5> kSlopeSteps{
    {{23.0, 130.0}, {21.0, 124.0}, {19.0, 118.0}, {17.0, 112.0}, {15.0, 106.0}}};

double SlopeCode(double v) {
    for (const SlopeStep& s : kSlopeSteps) {
        if (v > s.above) {
            return s.code;
        }
    }
    return v;
}

enum class Kind : std::uint8_t {
    CutQ,
    CutFrequency,
    BandQ,
    BandFrequency,
    BandGain,
    ShifterFrequency,
    ShifterGain,
    On,
    Link,
};
enum class Section : std::uint8_t { Hp, Lf, Lmf, Mf, Hmf, Hf, Lp, Bs, Ps };

struct ChannelControl {
    Kind kind;
    Section section;
};

// By channel offset.
constexpr std::array<ChannelControl, kZ20ChannelSpan> kChannelControls{{
    {Kind::CutQ, Section::Hp},
    {Kind::CutFrequency, Section::Hp},
    {Kind::Link, Section::Hp},
    {Kind::On, Section::Hp},
    {Kind::BandQ, Section::Lf},
    {Kind::BandFrequency, Section::Lf},
    {Kind::BandGain, Section::Lf},
    {Kind::Link, Section::Lf},
    {Kind::On, Section::Lf},
    {Kind::BandQ, Section::Lmf},
    {Kind::BandFrequency, Section::Lmf},
    {Kind::BandGain, Section::Lmf},
    {Kind::Link, Section::Lmf},
    {Kind::On, Section::Lmf},
    {Kind::BandQ, Section::Mf},
    {Kind::BandFrequency, Section::Mf},
    {Kind::BandGain, Section::Mf},
    {Kind::Link, Section::Mf},
    {Kind::On, Section::Mf},
    {Kind::BandQ, Section::Hmf},
    {Kind::BandFrequency, Section::Hmf},
    {Kind::BandGain, Section::Hmf},
    {Kind::Link, Section::Hmf},
    {Kind::On, Section::Hmf},
    {Kind::BandQ, Section::Hf},
    {Kind::BandFrequency, Section::Hf},
    {Kind::BandGain, Section::Hf},
    {Kind::Link, Section::Hf},
    {Kind::On, Section::Hf},
    {Kind::CutQ, Section::Lp},
    {Kind::CutFrequency, Section::Lp},
    {Kind::Link, Section::Lp},
    {Kind::On, Section::Lp},
    {Kind::ShifterFrequency, Section::Bs},
    {Kind::ShifterGain, Section::Bs},
    {Kind::Link, Section::Bs},
    {Kind::On, Section::Bs},
    {Kind::ShifterFrequency, Section::Ps},
    {Kind::ShifterGain, Section::Ps},
    {Kind::Link, Section::Ps},
    {Kind::On, Section::Ps},
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

std::size_t BandIndex(Section s) {
    return static_cast<std::size_t>(s) - static_cast<std::size_t>(Section::Lf);
}

// The global parameters with a plain field conversion.
struct GlobalSwitch {
    AudioUnitParameterID id;
    bool CZkmorva20SignalProcessing::*field;
};
constexpr std::array<GlobalSwitch, 4> kGlobalSwitches{{
    {kZ20AutoListenOn, &CZkmorva20SignalProcessing::autoListenOn},
    {kZ20EqOn, &CZkmorva20SignalProcessing::eqOn},
    {kZ20MonoMakerOn, &CZkmorva20SignalProcessing::monoMakerOn},
    {kZ20StereoWidthOn, &CZkmorva20SignalProcessing::stereoWidthOn},
}};
struct GlobalGain {
    AudioUnitParameterID id;
    double CZkmorva20SignalProcessing::*field;
};
constexpr std::array<GlobalGain, 4> kGlobalGains{{
    {kZ20Input1Gain, &CZkmorva20SignalProcessing::inputGain1},
    {kZ20Output1Gain, &CZkmorva20SignalProcessing::outputGain1},
    {kZ20Input2Gain, &CZkmorva20SignalProcessing::inputGain2},
    {kZ20Output2Gain, &CZkmorva20SignalProcessing::outputGain2},
}};

} // namespace

// Only channel 1's switch is consulted, also for channel 2's controls (intended);
// a NaN switch counts as on.
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
    const bool on = stored != 0.0f;

    if (id >= kZ20Channel1First) {
        UpdateChannelControl(id, v);
        return;
    }
    for (const GlobalSwitch& s : kGlobalSwitches) {
        if (s.id == id) {
            this->*s.field = on;
            return;
        }
    }
    for (const GlobalGain& g : kGlobalGains) {
        if (g.id == id) {
            this->*g.field = ConvertDecibelsToFactor(v, kGainFloorDb);
            return;
        }
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
        stereoWidth = v * 0.01;
        break;
    default: // the master link and the gain link switches: nothing to push
        break;
    }
}

void CZkmorva20AU::UpdateChannelControl(AudioUnitParameterID id, double v) {
    const int channel = id < kZ20Channel2First ? 0 : 1;
    const ChannelControl c = kChannelControls[id - Z20ChannelId(channel, 0)];
    ChannelSettings& s = GetChannelSettings(channel);
    CZkmorva20ChannelFilters& f = GetChannelFilters(channel);
    const bool isCut = c.section == Section::Hp || c.section == Section::Lp;
    CutSettings& cut = c.section == Section::Hp ? s.hp : s.lp;
    CZkmorvaHpLpFilter& cutFilter = c.section == Section::Hp ? f.hpFilter : f.lpFilter;
    BandSettings* band =
        isCut ? nullptr : &(s.*kBandSettingsOf[static_cast<std::size_t>(c.section)]);
    CZkmorvaShifter& shifter = c.section == Section::Bs ? f.bassShifter : f.presenceShifter;

    switch (c.kind) {
    case Kind::CutQ:
        cut.slope = SlopeCode(v);
        cutFilter.Update(cut.slope, CZkmorvaHpLpFilter::kSlope);
        break;
    case Kind::CutFrequency:
        cut.frequency = v;
        cutFilter.Update(v, CZkmorvaHpLpFilter::kFrequency);
        break;
    case Kind::BandQ: {
        band->q = v;
        CBiquad& section = f.bandFilter[BandIndex(c.section)];
        if (c.section == Section::Lf) {
            zk::ApplyShelvingRule(section, v, LowShelf);
        } else if (c.section == Section::Hf) {
            zk::ApplyShelvingRule(section, v, HighShelf);
        } else {
            section.Update(v, CBiquad::kQ);
        }
        break;
    }
    case Kind::BandFrequency:
        band->frequency = v;
        f.bandFilter[BandIndex(c.section)].Update(v, CBiquad::kFrequency);
        break;
    case Kind::BandGain:
        band->gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        f.bandFilter[BandIndex(c.section)].Update(band->gain, CBiquad::kGain);
        break;
    case Kind::ShifterFrequency:
        band->frequency = v;
        shifter.Update(v, CZkmorvaShifter::kFrequency);
        break;
    case Kind::ShifterGain:
        band->gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        shifter.Update(band->gain, CZkmorvaShifter::kGain);
        break;
    case Kind::On:
        (isCut ? cut.on : band->on) = v != 0.0;
        break;
    case Kind::Link:
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
