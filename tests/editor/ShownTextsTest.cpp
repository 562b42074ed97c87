// Where the unit gives a value a word of its own ("off", "Mono", "-oo",
// "lo-shelf", "12dB/oct."), the editor's box for that parameter says the same
// at that value, as the editor writes it: blanks, case and a last letter may
// differ ("lo-shelf" / "Lo-Shelv", "-oo" / "-oo dB"), a number may not ("20 Hz"
// where the unit says "off").
#include "EditorRig.h"

#include "units/Zkmorva10Parameters.h"
#include "units/Zkmorva20Parameters.h"
#include "widgets/CTextEdit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

namespace {

// A value inside both the rule's range and the parameter's.
std::optional<float> ValueIn(const zk::ValueRange& range, const zk::ParameterDef& p) {
    const float lo = std::max(range.lo, p.minValue);
    const float hi = std::min(range.hi, p.maxValue);
    for (float v : {0.5f * (lo + hi), lo, hi}) {
        if (v >= p.minValue && v <= p.maxValue && range.Contains(v)) {
            return v;
        }
    }
    return std::nullopt;
}

std::string Folded(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (c != ' ') {
            out.push_back(static_cast<char>(std::tolower(c)));
        }
    }
    return out;
}

template <class Rig>
void CheckBoxesSayWhatTheUnitSays(Rig& rig, std::span<const zk::ParameterDef> table,
                                  std::span<const zk::ValueTextRule> texts) {
    AUBase& unit = rig.host.Unit();
    int compared = 0;
    for (const zk::ValueTextRule& rule : texts) {
        for (AudioUnitParameterID id : rule.ids) {
            auto* box = dynamic_cast<CTextEdit*>(
                rig.editor->getControls().first(static_cast<long>(id), zkeditor::Role::kTextBox));
            const std::optional<float> value =
                id < table.size() ? ValueIn(rule.range, table[id]) : std::nullopt;
            if (box == nullptr || !value) {
                continue;
            }
            AudioUnitParameterStringFromValue request{id, &*value, nullptr};
            UInt32 size = sizeof request;
            ASSERT_EQ(AudioUnitGetProperty(&unit, kAudioUnitProperty_ParameterStringFromValue,
                                           kAudioUnitScope_Global, 0, &request, &size),
                      noErr);
            ASSERT_NE(request.outString, nullptr) << "id " << id << " at " << *value;
            const std::string said = Folded(request.outString);
            const std::string shown =
                box->valueToString(rig.editor->ConvertToVSTValue(*value, static_cast<long>(id)));
            EXPECT_EQ(Folded(shown).rfind(said.substr(0, said.size() - 1), 0), 0u)
                << "box " << id << " shows \"" << shown << "\" at " << *value
                << " where the unit says \"" << request.outString << "\"";
            ++compared;
        }
    }
    EXPECT_GT(compared, 0);
}

TEST(ShownTexts, ChannelEqBoxesSayWhatTheUnitSays) {
    CheckBoxesSayWhatTheUnitSays(*zktest::MakeRig10(), zk::kZkmorva10Parameters,
                                 zk::kZkmorva10ValueTexts);
}

TEST(ShownTexts, TwoChannelEqBoxesSayWhatTheUnitSays) {
    CheckBoxesSayWhatTheUnitSays(*zktest::MakeRig20(), zk::kZkmorva20Parameters,
                                 zk::kZkmorva20ValueTexts);
}

} // namespace
