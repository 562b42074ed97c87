#pragma once

#include "units/Zkmorva20Parameters.h"

#include <array>
#include <cstdint>

// The links between the two channels of the two-channel EQ, as data.
//
// A link group is one section of one channel with its link switch and the controls
// the switch couples: an input or output gain, or a filter section of a channel.
// Every group has a partner group (the same section on the other channel); member i
// of a group corresponds to member i of its partner. From the groups follow the
// counterpart of every control, the link switch it obeys, the switches the master
// link sets and the dependent-parameter lists hosts ask for.
namespace zk::z20links {

inline constexpr AudioUnitParameterID kNone = 0;

struct LinkGroup {
    AudioUnitParameterID link;
    std::array<AudioUnitParameterID, 4> members;
    std::uint8_t memberCount;
    std::uint8_t partner; // index of the same section on the other channel
    bool twoAxis;         // members 0 and 1 are one two-axis control (shifters)
};

namespace detail {

// A filter section of a channel, in channel offsets.
struct SectionOffsets {
    AudioUnitParameterID link;
    std::array<AudioUnitParameterID, 4> members;
    std::uint8_t memberCount;
    bool twoAxis;
};

inline constexpr std::array<SectionOffsets, 9> kChannelSections{{
    {kZ20HpLink, {kZ20HpQ, kZ20HpFreq, kZ20HpOn}, 3, false},
    {kZ20LfLink, {kZ20LfQ, kZ20LfFreq, kZ20LfGain, kZ20LfOn}, 4, false},
    {kZ20LmfLink, {kZ20LmfQ, kZ20LmfFreq, kZ20LmfGain, kZ20LmfOn}, 4, false},
    {kZ20MfLink, {kZ20MfQ, kZ20MfFreq, kZ20MfGain, kZ20MfOn}, 4, false},
    {kZ20HmfLink, {kZ20HmfQ, kZ20HmfFreq, kZ20HmfGain, kZ20HmfOn}, 4, false},
    {kZ20HfLink, {kZ20HfQ, kZ20HfFreq, kZ20HfGain, kZ20HfOn}, 4, false},
    {kZ20LpLink, {kZ20LpQ, kZ20LpFreq, kZ20LpOn}, 3, false},
    {kZ20BsLink, {kZ20BsFreq, kZ20BsGain, kZ20BsOn}, 3, true},
    {kZ20PsLink, {kZ20PsFreq, kZ20PsGain, kZ20PsOn}, 3, true},
}};

inline constexpr std::size_t kGroupCount = 4 + 2 * kChannelSections.size();
inline constexpr std::uint8_t kFirstChannel1Section = 4;
inline constexpr std::uint8_t kFirstChannel2Section = kFirstChannel1Section + 9;

// Group order: the four gain links (7, 9, 11, 13), channel 1's sections, channel 2's
// sections. This is also the order in which the master link sets the switches.
constexpr std::array<LinkGroup, kGroupCount> BuildGroups() {
    std::array<LinkGroup, kGroupCount> g{};
    g[0] = {kZ20Input1Link, {kZ20Input1Gain}, 1, 2, false};
    g[1] = {kZ20Output1Link, {kZ20Output1Gain}, 1, 3, false};
    g[2] = {kZ20Input2Link, {kZ20Input2Gain}, 1, 0, false};
    g[3] = {kZ20Output2Link, {kZ20Output2Gain}, 1, 1, false};
    for (int channel = 0; channel < 2; ++channel) {
        const std::uint8_t first = channel == 0 ? kFirstChannel1Section : kFirstChannel2Section;
        const std::uint8_t other = channel == 0 ? kFirstChannel2Section : kFirstChannel1Section;
        for (std::uint8_t s = 0; s < kChannelSections.size(); ++s) {
            const SectionOffsets& o = kChannelSections[s];
            LinkGroup& group = g[first + s];
            group.link = Z20ChannelId(channel, o.link);
            for (std::uint8_t m = 0; m < o.memberCount; ++m) {
                group.members[m] = Z20ChannelId(channel, o.members[m]);
            }
            group.memberCount = o.memberCount;
            group.partner = static_cast<std::uint8_t>(other + s);
            group.twoAxis = o.twoAxis;
        }
    }
    return g;
}

} // namespace detail

inline constexpr std::array<LinkGroup, detail::kGroupCount> kGroups = detail::BuildGroups();

// What the link rules say about one control id 0..99.
struct LinkEntry {
    AudioUnitParameterID counterpart = kNone;    // same control on the other channel
    AudioUnitParameterID ownLink = kNone;        // its section's switch on its own channel
    AudioUnitParameterID channel1Link = kNone;   // its section's switch on channel 1
    AudioUnitParameterID twoAxisPartner = kNone; // other axis of a two-axis control
    bool isMember = false;
};

namespace detail {
constexpr std::array<LinkEntry, kZ20LastDispatched + 1> BuildEntries() {
    std::array<LinkEntry, kZ20LastDispatched + 1> e{};
    for (const LinkGroup& group : kGroups) {
        const LinkGroup& partner = kGroups[group.partner];
        // Channel 1's group is the one whose switch comes first.
        const AudioUnitParameterID channel1Link =
            group.link < partner.link ? group.link : partner.link;
        for (std::uint8_t m = 0; m < group.memberCount; ++m) {
            LinkEntry& x = e[group.members[m]];
            x.counterpart = partner.members[m];
            x.ownLink = group.link;
            x.channel1Link = channel1Link;
            x.isMember = true;
            if (group.twoAxis && m < 2) {
                x.twoAxisPartner = group.members[1 - m];
            }
        }
    }
    return e;
}
} // namespace detail

inline constexpr std::array<LinkEntry, kZ20LastDispatched + 1> kEntries = detail::BuildEntries();

constexpr LinkEntry Entry(long id) {
    return id >= 0 && id <= static_cast<long>(kZ20LastDispatched)
               ? kEntries[static_cast<std::size_t>(id)]
               : LinkEntry{};
}

// The switches the master link sets, in the order it sets them.
constexpr std::array<AudioUnitParameterID, detail::kGroupCount> BuildLinkParameters() {
    std::array<AudioUnitParameterID, detail::kGroupCount> links{};
    for (std::size_t i = 0; i < kGroups.size(); ++i) {
        links[i] = kGroups[i].link;
    }
    return links;
}
inline constexpr std::array<AudioUnitParameterID, detail::kGroupCount> kLinkParameters =
    BuildLinkParameters();

// Dependent parameters (property 45): which other parameters may change when one
// changes.
inline constexpr std::size_t kMaxDependents = 56;
struct DependentList {
    std::uint8_t count = 0;
    std::array<AudioUnitParameterID, kMaxDependents> ids{};
};

// The master link's list, as hosts get it: the switches, then every gain and channel
// control of channel 2.
inline constexpr std::array<AudioUnitParameterID, kMaxDependents> kMasterLinkDependents{
    7,  9,  11, 13, 20, 25, 30, 35, 40, 45, 49, 53, 57, 61, 66, 71, 76, 81, 86,
    90, 94, 98, 10, 12, 59, 60, 62, 63, 64, 65, 67, 68, 69, 70, 72, 73, 74, 75,
    77, 78, 79, 80, 82, 83, 84, 85, 87, 88, 89, 91, 92, 93, 95, 96, 97, 99};

namespace detail {
constexpr std::array<DependentList, kZ20LastDispatched + 1> BuildDependents() {
    std::array<DependentList, kZ20LastDispatched + 1> d{};
    d[kZ20Ch1Solo] = {1, {kZ20Ch2Solo}};
    d[kZ20Ch2Solo] = {1, {kZ20Ch1Solo}};
    d[kZ20MasterLink] = {static_cast<std::uint8_t>(kMasterLinkDependents.size()),
                         kMasterLinkDependents};
    for (const LinkGroup& group : kGroups) {
        const LinkGroup& partner = kGroups[group.partner];
        for (std::uint8_t m = 0; m < group.memberCount; ++m) {
            d[group.members[m]] = {1, {partner.members[m]}};
        }
        // A switch: the master link, the partner switch, the partner's controls.
        DependentList& list = d[group.link];
        list.ids[list.count++] = kZ20MasterLink;
        list.ids[list.count++] = partner.link;
        for (std::uint8_t m = 0; m < partner.memberCount; ++m) {
            list.ids[list.count++] = partner.members[m];
        }
    }
    return d;
}
} // namespace detail

inline constexpr std::array<DependentList, kZ20LastDispatched + 1> kDependents =
    detail::BuildDependents();

inline constexpr DependentList kNoDependents{};

// The list of parameter id (empty for ids above 99).
constexpr const DependentList& Dependents(AudioUnitParameterID id) {
    return id <= kZ20LastDispatched ? kDependents[id] : kNoDependents;
}

// The unit's answer to a change of `id` to `value` from outside, given the other
// values (`read(id)`): calls `set(id, value, overridesChange)` for each parameter
// it sets, in order. A change to a linked control moves its counterpart (the
// section's switch on the control's own channel decides); a solo switched on
// switches the other off; the master link copies itself to every switch, and its
// 0.1 and 0.9 (single precision) are requests to snap to off and on, which also
// set the master link itself (`overridesChange`). The unit and the editor both
// answer by this rule, so what the editor shows is what the unit does.
template <class Read, class Set>
void ForEachAnswer(AudioUnitParameterID id, float value, Read read, Set set) {
    if (id == kZ20Ch1Solo || id == kZ20Ch2Solo) {
        if (value == 1.0f) {
            set(id == kZ20Ch1Solo ? kZ20Ch2Solo : kZ20Ch1Solo, 0.0f, false);
        }
        return;
    }
    if (id == kZ20MasterLink) {
        constexpr float kSnapOff = 0.1f;
        constexpr float kSnapOn = 0.9f;
        float links = value;
        if (value == kSnapOff || value == kSnapOn) {
            links = value == kSnapOn ? 1.0f : 0.0f;
            set(kZ20MasterLink, links, true);
        }
        for (AudioUnitParameterID link : kLinkParameters) {
            set(link, links, false);
        }
        return;
    }
    const LinkEntry e = Entry(id);
    if (e.isMember && read(e.ownLink) != 0.0f) {
        set(e.counterpart, value, false);
    }
}

static_assert(kDependents[kZ20MasterLink].count == 56);
static_assert(Entry(63).channel1Link == 25 && Entry(63).ownLink == 66);
static_assert(Entry(kZ20Output2Gain).counterpart == kZ20Output1Gain);

} // namespace zk::z20links
