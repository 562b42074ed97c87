// DPF's VST3 entry, compiled under another name: Vst3Entry.cpp exports the
// GetPluginFactory that hosts see and amends the factory DPF makes.
#define GetPluginFactory zk_dpf_GetPluginFactory
#include "DistrhoPluginMain.cpp"
