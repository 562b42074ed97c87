// DPF's LV2 entry, compiled under another name: Lv2Entry.cpp exports the
// lv2_descriptor that hosts see and forwards to this one. DPF's TTL generator
// (lv2_generate_ttl) keeps its name.
#define lv2_descriptor zk_dpf_lv2_descriptor
#include "DistrhoPluginMain.cpp"
