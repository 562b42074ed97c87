#include "GainUnit.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cstring>
#include <random>

namespace {

using namespace zktest;

std::vector<std::uint32_t> Bits(GainUnit& u) {
    std::vector<std::uint32_t> bits;
    for (AudioUnitParameterID id = 0; id < kNumParams; ++id) {
        bits.push_back(std::bit_cast<std::uint32_t>(u.Globals()->GetParameter(id)));
    }
    return bits;
}

std::string DataElement(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& pairs) {
    std::vector<std::uint8_t> b;
    for (auto [id, bits] : pairs) {
        for (std::uint32_t x : {id, bits}) {
            for (int s = 24; s >= 0; s -= 8) {
                b.push_back(static_cast<std::uint8_t>(x >> s));
            }
        }
    }
    return "<data>" + zkfw::plist::Base64Encode(b.data(), b.size()) + "</data>";
}

std::string Document(const std::string& data, std::int64_t version = 0,
                     std::uint32_t subtype = MakeFourCC("Gain")) {
    std::map<std::string, std::string> e;
    e["version"] = "<integer>" + std::to_string(version) + "</integer>";
    e["type"] = "<integer>" + std::to_string(MakeFourCC("aufx")) + "</integer>";
    e["subtype"] = "<integer>" + std::to_string(subtype) + "</integer>";
    e["manufacturer"] = "<integer>" + std::to_string(MakeFourCC("Zkts")) + "</integer>";
    e["name"] = "<string>Test &amp; preset</string>";
    e["data"] = data;
    return zkfw::plist::WriteDictDocument(e);
}

// Refusal leaves every bit and the preset name as they were, and explains.
void ExpectRefused(GainUnit& u, const std::string& doc, const std::string& mentions) {
    const auto before = Bits(u);
    const std::string name = u.GetPresetName();
    std::string error;
    EXPECT_NE(u.RestoreState(doc, &error), noErr);
    EXPECT_EQ(Bits(u), before);
    EXPECT_EQ(u.GetPresetName(), name);
    EXPECT_NE(error.find(mentions), std::string::npos) << "message: " << error;
}

TEST(SavedState, DocumentShape) {
    GainUnit u(nullptr);
    const std::string doc = u.SaveState();
    EXPECT_NE(doc.find("<plist version=\"1.0\">"), std::string::npos);
    for (const char* key : {"version", "type", "subtype", "manufacturer", "data", "name"}) {
        EXPECT_NE(doc.find(std::string("<key>") + key + "</key>"), std::string::npos) << key;
    }
    EXPECT_NE(doc.find("<integer>" + std::to_string(MakeFourCC("aufx")) + "</integer>"),
              std::string::npos);
    zkfw::plist::Value v;
    std::string error;
    ASSERT_TRUE(zkfw::plist::Parse(doc, v, &error)) << error;
    EXPECT_EQ(v.dict.at("data").text.size(), 8u * kNumParams);
    EXPECT_EQ(v.dict.at("name").text, "Untitled");
}

TEST(SavedState, RoundTripIsBitExact) {
    GainUnit a(nullptr);
    a.Globals()->SetParameter(kGain, -7.123456789f);
    a.Globals()->SetParameter(kMode, 2.0f);
    a.Globals()->SetParameter(kMix, std::nextafter(33.3f, 100.0f));
    a.SetPresetName("Vocal <bright> & airy");
    const auto want = Bits(a);
    const std::string doc = a.SaveState();

    GainUnit b(nullptr);
    std::string error;
    ASSERT_EQ(b.RestoreState(doc, &error), noErr) << error;
    EXPECT_EQ(Bits(b), want);
    EXPECT_EQ(b.GetPresetName(), "Vocal <bright> & airy");
    EXPECT_EQ(b.SaveState(), doc);
}

TEST(SavedState, RestorePostsValueChanges) {
    GainUnit a(nullptr);
    a.Globals()->SetParameter(kGain, -12.0f);
    const std::string doc = a.SaveState();
    GainUnit b(nullptr);
    auto loop = CFRunLoop::CreatePumped();
    std::vector<float> got;
    AUEventListenerRef l = nullptr;
    ASSERT_EQ(
        AUEventListenerCreate([](void* ud, void*, const AudioUnitEvent*, UInt64,
                                 float v) { static_cast<std::vector<float>*>(ud)->push_back(v); },
                              &got, loop.get(), kCFRunLoopDefaultMode, 0.05f, 0.05f, &l),
        noErr);
    AudioUnitEvent e;
    e.mArgument.mParameter = AudioUnitParameter{&b, kGain, kAudioUnitScope_Global, 0};
    ASSERT_EQ(AUEventListenerAddEventType(l, nullptr, &e), noErr);
    ASSERT_EQ(b.RestoreState(doc), noErr);
    loop->Pump();
    EXPECT_EQ(got, std::vector<float>{-12.0f});
    AUListenerDispose(l);
}

TEST(SavedState, OutOfRangeValuesAreClamped) {
    GainUnit u(nullptr);
    const std::string doc = Document(DataElement({{kGain, std::bit_cast<std::uint32_t>(40.0f)},
                                                  {kMix, std::bit_cast<std::uint32_t>(-5.0f)}}));
    std::string error;
    ASSERT_EQ(u.RestoreState(doc, &error), noErr) << error;
    EXPECT_EQ(u.Globals()->GetParameter(kGain), 12.0f);
    EXPECT_EQ(u.Globals()->GetParameter(kMix), 0.0f);
    EXPECT_EQ(u.Globals()->GetParameter(kMode), 1.0f); // absent: unchanged
    EXPECT_EQ(u.GetPresetName(), "Test & preset");
}

TEST(SavedState, RefusesBadDocumentsAndLeavesUnitUnchanged) {
    GainUnit u(nullptr);
    u.Globals()->SetParameter(kGain, -3.5f);
    const std::string good = u.SaveState();

    ExpectRefused(u, "", "empty");
    ExpectRefused(u, good.substr(0, good.size() / 2), "malformed");
    ExpectRefused(u, "<plist version=\"1.0\"><array/></plist>", "not a <dict>");
    ExpectRefused(u, Document(DataElement({{kGain, 0}}), 1), "newer");
    ExpectRefused(u, Document(DataElement({{kGain, 0}}), 0, MakeFourCC("Othr")), "another unit");
    ExpectRefused(u, Document(DataElement({{kGain, 0x7fc00000u}})), "NaN");
    ExpectRefused(u, Document(DataElement({{kMix, 0x7f800000u}})), "infinity");
    ExpectRefused(u, Document(DataElement({{kGain, 0}, {kMix, 0x7fc00000u}})), "parameter 2");
    ExpectRefused(u, Document(DataElement({{77, 0}})), "parameter 77 is unknown");
    ExpectRefused(u, Document(DataElement({{kGain, 0}, {kGain, 0}})), "twice");
    ExpectRefused(u, Document("<data>AAAA</data>"), "not a whole number");
    ExpectRefused(u, Document("<data>!!!!</data>"), "base64");
    ExpectRefused(u, Document("<string>x</string>"), "\"data\"");
    std::string noType = good;
    noType.replace(noType.find("<key>type</key>"), 15, "<key>kind</key>");
    ExpectRefused(u, noType, "missing key \"type\"");
    EXPECT_EQ(u.Globals()->GetParameter(kGain), -3.5f);
}

TEST(SavedState, HostileInputNeverCrashes) {
    GainUnit u(nullptr);
    u.Globals()->SetParameter(kMix, 42.0f);
    std::mt19937 rng(1234);
    std::string junk(1u << 20, '\0');
    for (char& c : junk) {
        c = static_cast<char>(rng());
    }
    ExpectRefused(u, junk, "malformed");
    std::string deep = "<plist version=\"1.0\">";
    for (int i = 0; i < 100000; ++i) {
        deep += "<array>";
    }
    ExpectRefused(u, deep, "nesting");
    ExpectRefused(u, std::string(5u << 20, ' '), "too large");
    // Random mutations of a valid document: each is taken whole or refused with a
    // reason and no trace.
    const std::string good = u.SaveState();
    for (int i = 0; i < 2000; ++i) {
        std::string m = good;
        const int edits = 1 + static_cast<int>(rng() % 4);
        for (int k = 0; k < edits; ++k) {
            m[rng() % m.size()] = static_cast<char>(rng());
        }
        m.resize(rng() % (m.size() + 1));
        const auto before = Bits(u);
        std::string error;
        if (u.RestoreState(m, &error) != noErr) {
            ASSERT_EQ(Bits(u), before) << "mutation " << i << " refused but applied: " << error;
            ASSERT_FALSE(error.empty()) << "mutation " << i << " refused without a reason";
        }
    }
}

TEST(SavedState, ParsingIsLocaleIndependent) {
    const char* old = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = old ? old : "C";
    // de_DE uses ',' as the decimal separator; fine if the locale is not installed.
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    zkfw::plist::Value v;
    std::string error;
    ASSERT_TRUE(zkfw::plist::Parse(
        "<plist version=\"1.0\"><dict><key>r</key><real>1.5</real></dict></plist>", v, &error))
        << error;
    EXPECT_EQ(v.dict.at("r").real, 1.5);
    std::setlocale(LC_NUMERIC, saved.c_str());
}

TEST(Base64, RoundTripAndStrictness) {
    for (std::size_t n = 0; n < 20; ++n) {
        std::vector<std::uint8_t> b(n);
        for (std::size_t i = 0; i < n; ++i) {
            b[i] = static_cast<std::uint8_t>(i * 37 + 5);
        }
        const std::string enc = zkfw::plist::Base64Encode(b.data(), b.size());
        std::string dec;
        ASSERT_TRUE(zkfw::plist::Base64Decode(enc, dec));
        ASSERT_EQ(dec.size(), n);
        EXPECT_TRUE(n == 0 || std::memcmp(dec.data(), b.data(), n) == 0);
    }
    std::string out;
    EXPECT_TRUE(zkfw::plist::Base64Decode("  SGVs\n bG8= ", out));
    EXPECT_EQ(out, "Hello");
    EXPECT_FALSE(zkfw::plist::Base64Decode("SGVsbG8", out));
    EXPECT_FALSE(zkfw::plist::Base64Decode("SG=sbG8=", out));
    EXPECT_FALSE(zkfw::plist::Base64Decode("SGV$bG8=", out));
}

} // namespace
