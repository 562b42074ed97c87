// zk_bundle_presets lv2 UNIT PLUGIN_URI BUNDLE_DIR
// zk_bundle_presets vst3 UNIT UNIQUE_ID FOLDER
//
// Writes the unit's factory presets for a built plug-in. LV2: into the bundle,
// presets.ttl (every control port by symbol and the settings document as the
// plug-in's state, so a host that restores either gets the same sound) and one
// manifest entry per preset, so that hosts list them without loading the plug-in;
// the manifest's earlier entries from this tool are replaced, so it may run after
// every build. VST3: one .vstpreset per preset into FOLDER (hosts look in
// ~/.vst3/presets/<vendor>/<plug-in>/), the plug-in's state blob as its component
// state.
#include "cli/CliError.h"
#include "cli/OutputPath.h"
#include "cli/Presets.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

using namespace zkcli;

constexpr const char* kMarker = "# Factory presets (zk_bundle_presets)";

const UnitKind& Unit(const std::string& name) {
    const UnitKind* unit = FindUnit(name);
    if (unit == nullptr) {
        throw CliError("unknown unit \"" + name + "\"");
    }
    return *unit;
}

void WriteLv2(const UnitKind& unit, const std::string& uri, const std::filesystem::path& bundle) {
    if (std::find(unit.lv2Uris.begin(), unit.lv2Uris.end(), uri) == unit.lv2Uris.end()) {
        throw CliError("<" + uri + "> is not one of " + unit.title +
                       "'s plug-ins (cli/UnitCatalog.cpp names them)");
    }
    std::string presets = Lv2Prefixes();
    std::string entries =
        std::string(kMarker) + "\n@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n\n";
    for (const zk::FactoryPreset& p : unit.factoryPresets) {
        const std::string subject = "<" + uri + "#" + PresetSlug(p.name) + ">";
        const Preset preset = FactoryPresetFor(unit, p);
        presets +=
            "\n" +
            Lv2PresetBody(
                {subject, {uri}, p.name, p.description, PresetValues(preset), preset.document});
        entries += subject + "\n    a pset:Preset ;\n    lv2:appliesTo <" + uri +
                   "> ;\n    rdfs:label " + TurtleString(p.name) +
                   " ;\n    rdfs:seeAlso <presets.ttl> .\n\n";
    }
    std::string manifest = ReadTextFile(bundle / "manifest.ttl", "manifest");
    if (const std::size_t old = manifest.find(kMarker); old != std::string::npos) {
        manifest.erase(old);
    }
    WriteTextFile(bundle / "presets.ttl", presets);
    WriteTextFile(bundle / "manifest.ttl", manifest + "\n" + entries);
}

void WriteVst3(const UnitKind& unit, const std::string& uniqueId,
               const std::filesystem::path& folder) {
    if (uniqueId.size() != 4) {
        throw CliError("a VST3 unique id has four characters, not \"" + uniqueId + "\"");
    }
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) {
        throw CliError("cannot make folder " + folder.string() + ": " + ec.message());
    }
    const std::string classId = DpfVst3ClassId(uniqueId);
    for (const zk::FactoryPreset& p : unit.factoryPresets) {
        const Preset preset = FactoryPresetFor(unit, p);
        // A host shows the file's name.
        std::string file = p.name;
        std::replace(file.begin(), file.end(), '/', '-');
        WriteTextFile(folder / (file + ".vstpreset"),
                      VstPresetFile(classId, StateBlob(PresetValues(preset), preset.document)));
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string mode = argc == 5 ? argv[1] : "";
    if (mode != "lv2" && mode != "vst3") {
        std::fprintf(stderr, "usage: zk_bundle_presets lv2 UNIT PLUGIN_URI BUNDLE_DIR\n"
                             "       zk_bundle_presets vst3 UNIT UNIQUE_ID FOLDER\n");
        return 2;
    }
    try {
        if (mode == "lv2") {
            WriteLv2(Unit(argv[2]), argv[3], argv[4]);
        } else {
            WriteVst3(Unit(argv[2]), argv[3], argv[4]);
        }
        return 0;
    } catch (const CliError& e) {
        std::fprintf(stderr, "zk_bundle_presets: %s\n", e.what());
        return 1;
    }
}
