// The two-channel EQ's parameter dispatch: stored values into processor settings
// and filters, link propagation, solo and master link. Runs on the render thread
// (from ApplyPendingCommands) and in Reset.
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

float CZkmorva20AU::StoredValue(AudioUnitParameterID id) const {
    AudioUnitParameterValue v = 0.0f;
    PeekParameter(kAudioUnitScope_Global, 0, id, v);
    return v;
}

void CZkmorva20AU::PostParameter(AudioUnitParameterID id, float value) {
    const AudioUnitParameter p{GetComponentInstance(), id, kAudioUnitScope_Global, 0};
    AUParameterSet(nullptr, nullptr, &p, value, 0);
}

// Only channel 1's switch is consulted, also for channel 2's controls (intended);
// a NaN switch counts as on.
long CZkmorva20AU::GetLinkStatus(long id) {
    const AudioUnitParameterID link = z20links::Entry(id).channel1Link;
    return link != z20links::kNone && StoredValue(link) != 0.0f ? 1 : 0;
}

long CZkmorva20AU::GetLinkedControl(long id) {
    return static_cast<long>(z20links::Entry(id).counterpart);
}

void CZkmorva20AU::UpdateParameters(AudioUnitParameterID id) {
    if (id > kZ20LastDispatched) {
        return;
    }
    // Links, solo and the master link pass on what was set; the processor only
    // gets values of the parameter's range.
    const float raw = StoredValue(id);
    const float stored = DispatchValue(kZkmorva20Parameters[id], raw);
    const double v = stored;
    const bool on = stored != 0.0f;

    if (id >= kZ20Channel1First) {
        UpdateChannelControl(id, v);
        PropagateLink(id, raw);
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
            PropagateLink(id, raw);
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
    case kZ20MasterLink:
        UpdateMasterLink(raw);
        break;
    case kZ20MonoMaker:
        monoMakerFrequency = v;
        GetMonoMaker().Update(v, kMonoMakerShelfLimitHz);
        break;
    case kZ20StereoWidth:
        stereoWidth = v * 0.01;
        break;
    default: // the gain link switches: nothing to push
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

// A change made under a gesture on this control (or on the other axis of a shifter's
// two-axis control) moves the counterpart when the section's link on this control's
// own channel is on. The counterpart's own update does not pass it on again: it is
// not the touched control.
void CZkmorva20AU::PropagateLink(AudioUnitParameterID id, float v) {
    const z20links::LinkEntry e = z20links::Entry(id);
    if (!e.isMember) {
        return;
    }
    const AudioUnitParameterID touched = GetTouchedParameter();
    const bool touchedHere =
        touched == id || (e.twoAxisPartner != z20links::kNone && touched == e.twoAxisPartner);
    if (touchedHere && StoredValue(e.ownLink) != 0.0f) {
        PostParameter(e.counterpart, v);
    }
}

// Solo acts only for the control under a gesture, so a solo restored from a saved
// state or written by automation has no effect; intended.
void CZkmorva20AU::UpdateSolo(AudioUnitParameterID id, float v) {
    if (GetTouchedParameter() != id) {
        return;
    }
    const bool channel1 = id == kZ20Ch1Solo;
    if (v == 1.0f) {
        PostParameter(channel1 ? kZ20Ch2Solo : kZ20Ch1Solo, 0.0f);
        soloMode = channel1 ? 1 : 2;
    } else {
        soloMode = 0;
    }
}

// 0.1 and 0.9 exactly (single precision) are snap requests to off and on, kept as
// deliberate values; anything else is copied to every link switch.
void CZkmorva20AU::UpdateMasterLink(float v) {
    constexpr float kSnapOff = 0.1f;
    constexpr float kSnapOn = 0.9f;
    if (v == kSnapOff) {
        PostParameter(kZ20MasterLink, 0.0f);
        return;
    }
    if (v == kSnapOn) {
        PostParameter(kZ20MasterLink, 1.0f);
        return;
    }
    for (AudioUnitParameterID link : z20links::kLinkParameters) {
        PostParameter(link, v);
    }
}
