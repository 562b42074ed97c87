// AUBase::SaveState / RestoreState: the unit's parameters as a class-information
// dictionary in a property-list document (see AUBase.h for the keys and the layout
// of "data").

#include "framework/AUBase.h"
#include "framework/Base64.h"
#include "framework/EventPosting.h"
#include "framework/PropertyList.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

using zkfw::plist::KindName;
using zkfw::plist::Value;
using ParameterValues = std::vector<std::pair<AudioUnitParameterID, AudioUnitParameterValue>>;

// "data" holds one record per parameter: the id, then the float's bits.
constexpr std::size_t kBytesPerRecord = 8;
// The base64 text of "data" is broken into lines of this length, as plist writers do.
constexpr std::size_t kBase64LineLength = 68;

void PutBE32(std::vector<std::uint8_t>& v, std::uint32_t x) {
    v.push_back(static_cast<std::uint8_t>(x >> 24));
    v.push_back(static_cast<std::uint8_t>(x >> 16));
    v.push_back(static_cast<std::uint8_t>(x >> 8));
    v.push_back(static_cast<std::uint8_t>(x));
}

std::uint32_t GetBE32(const std::string& s, std::size_t at) {
    return (std::uint32_t(std::uint8_t(s[at])) << 24) |
           (std::uint32_t(std::uint8_t(s[at + 1])) << 16) |
           (std::uint32_t(std::uint8_t(s[at + 2])) << 8) | std::uint32_t(std::uint8_t(s[at + 3]));
}

std::string Integer(std::int64_t v) {
    return "<integer>" + std::to_string(v) + "</integer>";
}

// The entries every saved-state dictionary must have, and the optional "name".
struct Entries {
    const Value* version = nullptr;
    const Value* type = nullptr;
    const Value* subtype = nullptr;
    const Value* manufacturer = nullptr;
    const Value* data = nullptr;
    const Value* name = nullptr;
};

// Finds the entries and checks their kinds. Returns why not, or "" when all is well.
std::string FindEntries(const Value& root, Entries& out) {
    std::string why;
    const auto field = [&](const char* key, Value::Kind kind, const Value*& v) {
        const auto it = root.dict.find(key);
        if (it == root.dict.end()) {
            why = std::string("missing key \"") + key + "\"";
        } else if (it->second.kind != kind) {
            why = std::string("key \"") + key + "\" is a <" + KindName(it->second.kind) +
                  ">, expected <" + KindName(kind) + ">";
        } else {
            v = &it->second;
        }
        return why.empty();
    };
    if (!field("version", Value::Kind::Integer, out.version) ||
        !field("type", Value::Kind::Integer, out.type) ||
        !field("subtype", Value::Kind::Integer, out.subtype) ||
        !field("manufacturer", Value::Kind::Integer, out.manufacturer) ||
        !field("data", Value::Kind::Data, out.data)) {
        return why;
    }
    if (const auto it = root.dict.find("name"); it != root.dict.end()) {
        if (it->second.kind != Value::Kind::String) {
            return "key \"name\" is not a <string>";
        }
        out.name = &it->second;
    }
    return {};
}

// The version and the unit the document was saved from. Returns why not, or "".
std::string CheckOrigin(const Entries& e, const AudioComponentDescription& mine) {
    const SInt64 version = e.version->integer;
    if (version > AUBase::kCurrentSavedStateVersion) {
        return "version " + std::to_string(version) + " is newer than the supported version " +
               std::to_string(AUBase::kCurrentSavedStateVersion);
    }
    if (version < 0) {
        return "invalid version " + std::to_string(version);
    }
    // Four-char codes are written as unsigned 32-bit numbers; a document that holds
    // them as signed 32-bit numbers is read as well.
    const auto code = [](const Value* v, UInt32& out) {
        if (v->integer < INT32_MIN || v->integer > UINT32_MAX) {
            return false;
        }
        out = static_cast<UInt32>(v->integer);
        return true;
    };
    AudioComponentDescription doc{};
    if (!code(e.type, doc.componentType) || !code(e.subtype, doc.componentSubType) ||
        !code(e.manufacturer, doc.componentManufacturer)) {
        return "type, subtype or manufacturer out of the 32-bit range";
    }
    if (!SameComponent(doc, mine)) {
        return "the document belongs to another unit (type '" + FourCCToString(doc.componentType) +
               "', subtype '" + FourCCToString(doc.componentSubType) + "', manufacturer '" +
               FourCCToString(doc.componentManufacturer) + "'; this unit is '" +
               FourCCToString(mine.componentType) + "', '" + FourCCToString(mine.componentSubType) +
               "', '" + FourCCToString(mine.componentManufacturer) + "')";
    }
    return {};
}

// Decodes "data" into (id, value) pairs for `unit`: every id known and given once,
// every value finite, then clamped to the parameter's range. Returns why not, or "".
std::string DecodeValues(AUBase& unit, const std::string& bytes, ParameterValues& values) {
    if (bytes.size() % kBytesPerRecord != 0) {
        return "data is " + std::to_string(bytes.size()) +
               " bytes, not a whole number of 8-byte (id, value) pairs";
    }
    const AUElement* g = unit.Globals();
    values.reserve(bytes.size() / kBytesPerRecord);
    std::vector<bool> seen(g->GetNumberOfParameters(), false);
    for (std::size_t at = 0; at < bytes.size(); at += kBytesPerRecord) {
        const AudioUnitParameterID id = GetBE32(bytes, at);
        float v = std::bit_cast<float>(GetBE32(bytes, at + 4));
        if (!g->HasParameter(id)) {
            return "parameter " + std::to_string(id) + " is unknown to this unit";
        }
        if (seen[id]) {
            return "parameter " + std::to_string(id) + " appears twice";
        }
        seen[id] = true;
        if (!std::isfinite(v)) {
            return "parameter " + std::to_string(id) + " has a non-finite value (" +
                   (std::isnan(v) ? "NaN" : "infinity") + ")";
        }
        AudioUnitParameterInfo info;
        if (unit.GetParameterInfo(kAudioUnitScope_Global, id, info) == noErr &&
            info.minValue <= info.maxValue) {
            v = std::clamp(v, info.minValue, info.maxValue);
        }
        values.emplace_back(id, v);
    }
    return {};
}

} // namespace

std::string AUBase::SaveState() {
    CreateElements();
    std::vector<std::uint8_t> bytes;
    const AUElement* g = Globals();
    const UInt32 n = g->GetNumberOfParameters();
    bytes.reserve(n * kBytesPerRecord);
    for (UInt32 id = 0; id < n; ++id) {
        PutBE32(bytes, id);
        PutBE32(bytes, std::bit_cast<std::uint32_t>(g->GetParameter(id)));
    }
    const std::string b64 = zkfw::plist::Base64Encode(bytes.data(), bytes.size());
    std::string data = "<data>\n";
    for (std::size_t i = 0; i < b64.size(); i += kBase64LineLength) {
        data += "\t" + b64.substr(i, kBase64LineLength) + "\n";
    }
    data += "\t</data>";
    const AudioComponentDescription& d = GetComponentDescription();
    std::map<std::string, std::string> entries;
    entries["data"] = data;
    entries["manufacturer"] = Integer(d.componentManufacturer);
    entries["name"] = "<string>" + zkfw::plist::EscapeText(mPresetName) + "</string>";
    entries["subtype"] = Integer(d.componentSubType);
    entries["type"] = Integer(d.componentType);
    entries["version"] = Integer(kCurrentSavedStateVersion);
    return zkfw::plist::WriteDictDocument(entries);
}

OSStatus AUBase::RestoreState(std::string_view document, std::string* outError) {
    std::string localError;
    std::string& err = outError ? *outError : localError;
    err.clear();
    const auto refuse = [&](std::string message) {
        err = "saved state refused: " + std::move(message);
        return kAudioUnitErr_InvalidPropertyValue;
    };
    CreateElements();

    Value root;
    std::string why;
    if (!zkfw::plist::Parse(document, root, &why)) {
        return refuse(why);
    }
    if (root.kind != Value::Kind::Dict) {
        return refuse(std::string("the root is a <") + KindName(root.kind) + ">, not a <dict>");
    }
    Entries entries;
    ParameterValues values;
    if (!(why = FindEntries(root, entries)).empty() ||
        !(why = CheckOrigin(entries, GetComponentDescription())).empty() ||
        !(why = DecodeValues(*this, entries.data->text, values)).empty()) {
        return refuse(why);
    }

    // Validated: apply, then tell the listeners.
    AUElement* g = Globals();
    for (const auto& [id, v] : values) {
        g->SetParameter(id, v);
    }
    if (entries.name) {
        mPresetName = entries.name->text;
    }
    StateRestored();
    for (const auto& [id, v] : values) {
        AudioUnitEvent e;
        e.mEventType = kAudioUnitEvent_ParameterValueChange;
        e.mArgument.mParameter = AudioUnitParameter{this, id, kAudioUnitScope_Global, 0};
        zkfw::PostEvent(nullptr, nullptr, e, v);
    }
    PropertyChanged(kAudioUnitProperty_ClassInfo, kAudioUnitScope_Global, 0);
    return noErr;
}
