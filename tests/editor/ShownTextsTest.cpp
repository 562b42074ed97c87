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

#include <cctype>
#include <string>

namespace {

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
void CheckBoxesSayWhatTheUnitSays(Rig& rig, std::span<const zk::ValueTextRule> texts) {
    AUBase& unit = rig.host.Unit();
    int compared = 0;
    for (const zk::ValueTextRule& rule : texts) {
        for (AudioUnitParameterID id : rule.ids) {
            auto* box = dynamic_cast<CTextEdit*>(
                rig.editor->getControls().first(static_cast<long>(id), zkeditor::Role::TextBox));
            if (box == nullptr) {
                continue;
            }
            AudioUnitParameterStringFromValue request{id, &rule.value, nullptr};
            UInt32 size = sizeof request;
            ASSERT_EQ(AudioUnitGetProperty(&unit, kAudioUnitProperty_ParameterStringFromValue,
                                           kAudioUnitScope_Global, 0, &request, &size),
                      noErr);
            ASSERT_NE(request.outString, nullptr) << "id " << id << " at " << rule.value;
            const std::string said = Folded(request.outString);
            const std::string shown = box->valueToString(
                rig.editor->ConvertToVSTValue(rule.value, static_cast<long>(id)));
            EXPECT_EQ(Folded(shown).rfind(said.substr(0, said.size() - 1), 0), 0u)
                << "box " << id << " shows \"" << shown << "\" at " << rule.value
                << " where the unit says \"" << request.outString << "\"";
            ++compared;
        }
    }
    EXPECT_GT(compared, 0);
}

TEST(ShownTexts, BoxesOfBothEditorsSayWhatTheUnitSays) {
    CheckBoxesSayWhatTheUnitSays(*zktest::MakeRig10(), zk::kZkmorva10ValueTexts);
    CheckBoxesSayWhatTheUnitSays(*zktest::MakeRig20(), zk::kZkmorva20ValueTexts);
}

} // namespace
