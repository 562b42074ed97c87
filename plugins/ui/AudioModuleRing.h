#pragma once

// Finding the instance's sample ring from a plug-in UI. In one binary (VST3, CLAP,
// the JACK apps) the UI reads the table of published rings it shares with the
// audio side. An LV2 bundle has two modules, NAME_dsp.so and NAME_ui.so, each with
// a table of its own: the UI asks the audio module the host loaded beside it in
// this process (never loading it), through the function it exports. A host that
// runs the audio elsewhere has no such module here, and nothing is found.
//
// UI thread.

#include <cstdint>
#include <string>
#include <string_view>

class SampleRing;

namespace zkplug {

// The audio module's path beside a UI module's ("x/NAME_ui.so" -> "x/NAME_dsp.so");
// empty for any other name.
std::string AudioModuleBeside(std::string_view uiModule);

// The ring published under token in this module or in the audio module beside it.
SampleRing* FindRingInProcess(std::uint64_t token);

} // namespace zkplug
