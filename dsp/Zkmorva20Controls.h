#pragma once

#include "Zkmorva20Settings.h"

#include <array>
#include <cstdint>

// What the two-channel processor needs to know about the unit's parameter ids:
// which channel controls can be listened to and what listening to them means.
// Channel 1 controls start at id 18, channel 2 at 59; the offsets are shared.
namespace zk20 {

// Sections of one channel chain that carry listenable controls.
enum class Section : std::uint8_t { Hp, Lf, Lmf, Mf, Hmf, Hf, Lp };

// Kind of a control for auto-listen. CutQ and BandQ are "Q" controls, Frequency
// the "f" controls, BandGain the "Gain" controls of the mode letters.
enum class ListenKind : std::uint8_t { None, CutQ, Frequency, BandQ, BandGain };

struct ControlRole {
    ListenKind kind = ListenKind::None;
    Section section = Section::Hp;
};

inline constexpr std::array<long, 2> kChannelFirstId = {18, 59};
// Only the first 31 controls of a channel (up to the low-pass frequency) listen.
inline constexpr long kListenableSpan = 31;
// Last channel 1 id of the listenable range: listening to ids up to here plays
// channel 1, above it channel 2.
inline constexpr long kLastChannel1ListenId = kChannelFirstId[0] + kListenableSpan - 1;

// By offset from the channel's first id (link and on/off controls are None).
inline constexpr std::array<ControlRole, kListenableSpan> kControlRoles = {{
    {ListenKind::CutQ, Section::Hp},      // 0 HP Q
    {ListenKind::Frequency, Section::Hp}, // 1 HP f
    {},                                   // 2 HP link
    {},                                   // 3 HP on
    {ListenKind::BandQ, Section::Lf},     // 4
    {ListenKind::Frequency, Section::Lf}, // 5
    {ListenKind::BandGain, Section::Lf},  // 6
    {},
    {},
    {ListenKind::BandQ, Section::Lmf}, // 9
    {ListenKind::Frequency, Section::Lmf},
    {ListenKind::BandGain, Section::Lmf},
    {},
    {},
    {ListenKind::BandQ, Section::Mf}, // 14
    {ListenKind::Frequency, Section::Mf},
    {ListenKind::BandGain, Section::Mf},
    {},
    {},
    {ListenKind::BandQ, Section::Hmf}, // 19
    {ListenKind::Frequency, Section::Hmf},
    {ListenKind::BandGain, Section::Hmf},
    {},
    {},
    {ListenKind::BandQ, Section::Hf}, // 24
    {ListenKind::Frequency, Section::Hf},
    {ListenKind::BandGain, Section::Hf},
    {},
    {},
    {ListenKind::CutQ, Section::Lp},      // 29 LP Q
    {ListenKind::Frequency, Section::Lp}, // 30 LP f
}};

// A listenable control: its channel (0 or 1) and role.
struct LocatedControl {
    int channel = 0;
    ControlRole role;
};

constexpr LocatedControl LocateControl(long id) {
    for (int ch = 0; ch < 2; ++ch) {
        const long offset = id - kChannelFirstId[static_cast<size_t>(ch)];
        if (offset >= 0 && offset < kListenableSpan) {
            return {ch, kControlRoles[static_cast<size_t>(offset)]};
        }
    }
    return {};
}

// Auto-listen modes 0..6: which kinds of control start listening.
inline constexpr std::uint8_t kListenQ = 1, kListenFrequency = 2, kListenGain = 4;
inline constexpr std::array<std::uint8_t, 7> kModeKinds = {
    kListenQ,                                  // 0 "Q - -"
    kListenFrequency,                          // 1 "- f -"
    kListenGain,                               // 2 "- - G"
    kListenQ | kListenFrequency,               // 3 "Q f -"
    kListenQ | kListenGain,                    // 4 "Q - G"
    kListenFrequency | kListenGain,            // 5 "- f G"
    kListenQ | kListenFrequency | kListenGain, // 6 "Q f G"
};

constexpr std::uint8_t ModeKinds(int mode) {
    return mode >= 0 && mode < static_cast<int>(kModeKinds.size())
               ? kModeKinds[static_cast<size_t>(mode)]
               : std::uint8_t{0};
}

// Index of a band section in a channel's band filters (LF..HF), -1 for the cuts.
inline constexpr std::array<int, 7> kBandIndexOfSection = {-1, 0, 1, 2, 3, 4, -1};

constexpr int BandIndex(Section s) {
    return kBandIndexOfSection[static_cast<size_t>(s)];
}

// Band settings in filter order LF..HF.
inline constexpr std::array<BandSettings ChannelSettings::*, 5> kBandSettings = {
    &ChannelSettings::lf, &ChannelSettings::lmf, &ChannelSettings::mf, &ChannelSettings::hmf,
    &ChannelSettings::hf};

} // namespace zk20
