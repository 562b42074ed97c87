// DPF's CLAP entry, compiled under another name: ClapEntry.cpp exports the
// checked entry that hosts see and forwards to this one.
#define clap_entry zk_dpf_clap_entry
#include "DistrhoPluginMain.cpp"
