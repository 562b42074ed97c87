#pragma once

// The factory library of the channel EQ. Cut filters take their slope from the Q
// value (16: 6, 18: 12, 20: 18, 22: 24 dB/oct); an LF or HF Q of 0.29 is a shelf.
#include "units/FactoryPreset.h"

namespace zk::z10presets {

inline constexpr PresetValue kFlat[] = {{"EQ on/off", 1}};

inline constexpr PresetValue kVocalPresence[] = {
    {"HP f", 90},        {"HP Q", 18},    {"LMF f", 300}, {"LMF Q", 1.2f},
    {"LMF Gain", -2.5f}, {"MF f", 3000},  {"MF Q", 1},    {"MF Gain", 3},
    {"HF f", 10000},     {"HF Q", 0.29f}, {"HF Gain", 2}};

inline constexpr PresetValue kLowCutForVoice[] = {{"HP f", 100}, {"HP Q", 20}};

inline constexpr PresetValue kKickTighten[] = {{"HP f", 30},    {"HP Q", 18},     {"LF f", 60},
                                               {"LF Q", 1.4f},  {"LF Gain", 3},   {"LMF f", 350},
                                               {"LMF Q", 1.5f}, {"LMF Gain", -5}, {"HMF f", 4000},
                                               {"HMF Q", 1.5f}, {"HMF Gain", 3}};

inline constexpr PresetValue kBassDeMud[] = {
    {"HP f", 35},    {"HP Q", 18},     {"LF f", 80},  {"LF Gain", 1.5f}, {"LMF f", 250},
    {"LMF Q", 1.2f}, {"LMF Gain", -4}, {"MF f", 800}, {"MF Q", 1.5f},    {"MF Gain", 2}};

inline constexpr PresetValue kAcousticGuitarSparkle[] = {
    {"HP f", 80},    {"HP Q", 18},    {"LMF f", 200},  {"LMF Q", 1},    {"LMF Gain", -3},
    {"HMF f", 5000}, {"HMF Q", 1.2f}, {"HMF Gain", 2}, {"HF f", 12000}, {"HF Gain", 3}};

inline constexpr PresetValue kAir[] = {{"HF f", 16000}, {"HF Q", 0.29f}, {"HF Gain", 4}};

inline constexpr PresetValue kGentleMasteringTilt[] = {
    {"HP f", 20},       {"HP Q", 16},   {"LF f", 300},   {"LF Q", 0.29f},
    {"LF Gain", -1.5f}, {"HF f", 3000}, {"HF Q", 0.29f}, {"HF Gain", 1.5f}};

inline constexpr PresetValue kMasteringWarmth[] = {
    {"LF f", 120},    {"LF Gain", 1},  {"HMF f", 3500},  {"HMF Q", 0.8f},
    {"HMF Gain", -1}, {"HF f", 14000}, {"HF Gain", 0.5f}};

inline constexpr PresetValue kTelephone[] = {{"HP f", 400}, {"HP Q", 22},   {"LP f", 3400},
                                             {"LP Q", 22},  {"MF f", 1500}, {"MF Q", 0.8f},
                                             {"MF Gain", 4}};

inline constexpr PresetValue kSnareCrack[] = {
    {"HP f", 80}, {"HP Q", 18},    {"LMF f", 200},  {"LMF Q", 1.5f}, {"LMF Gain", 2}, {"MF f", 900},
    {"MF Q", 2},  {"MF Gain", -3}, {"HMF f", 5000}, {"HMF Q", 1},    {"HMF Gain", 4}};

inline constexpr PresetValue kOverheadsClean[] = {{"HP f", 200}, {"HP Q", 20},     {"LMF f", 400},
                                                  {"LMF Q", 1},  {"LMF Gain", -2}, {"HF f", 10000},
                                                  {"HF Gain", 2}};

inline constexpr PresetValue kPianoClarity[] = {
    {"HP f", 40},   {"HP Q", 18}, {"LMF f", 250},    {"LMF Q", 1},    {"LMF Gain", -2},
    {"MF f", 2500}, {"MF Q", 1},  {"MF Gain", 1.5f}, {"HF f", 10000}, {"HF Gain", 1.5f}};

inline constexpr PresetValue kDeHarsh[] = {{"MF f", 2800},  {"MF Q", 2.5f}, {"MF Gain", -3},
                                           {"HMF f", 6500}, {"HMF Q", 3},   {"HMF Gain", -2.5f}};

inline constexpr PresetValue kBassWeight[] = {{"Bass Shift f", 80},
                                              {"Bass Shift Gain", 3},
                                              {"LMF f", 300},
                                              {"LMF Q", 1},
                                              {"LMF Gain", -1.5f}};

} // namespace zk::z10presets

namespace zk {

inline constexpr FactoryPreset kZkmorva10Presets[] = {
    {"Flat", "Every band at 0 dB and the cut filters open: a clean start", z10presets::kFlat},
    {"Vocal Presence",
     "Rumble and mud out, intelligibility lifted at 3 kHz, a little air from 10 kHz",
     z10presets::kVocalPresence},
    {"Low Cut for Voice",
     "An 18 dB/oct high-pass at 100 Hz against handling noise, pops and room rumble",
     z10presets::kLowCutForVoice},
    {"Kick Tighten", "Punch at 60 Hz, boxiness out at 350 Hz, beater click at 4 kHz",
     z10presets::kKickTighten},
    {"Bass De-mud", "The muddy 250 Hz region cut, the fundamental kept, definition at 800 Hz",
     z10presets::kBassDeMud},
    {"Acoustic Guitar Sparkle", "Body boom out at 200 Hz, sparkle at 5 kHz and a 12 kHz shelf",
     z10presets::kAcousticGuitarSparkle},
    {"Air", "A 4 dB high shelf from 16 kHz: openness without harshness", z10presets::kAir},
    {"Gentle Mastering Tilt",
     "Brighter around 1 kHz: -1.5 dB shelf below 300 Hz, +1.5 dB shelf above 3 kHz",
     z10presets::kGentleMasteringTilt},
    {"Mastering Warmth", "A touch of low shelf, a softer 3.5 kHz and a little top sheen",
     z10presets::kMasteringWarmth},
    {"Telephone", "Band-limited to 400 Hz - 3.4 kHz at 24 dB/oct with a honk at 1.5 kHz",
     z10presets::kTelephone},
    {"Snare Crack", "Body at 200 Hz, ring out at 900 Hz, crack at 5 kHz", z10presets::kSnareCrack},
    {"Overheads Clean", "Kick and toms out below 200 Hz, low-mid clutter cut, cymbals lifted",
     z10presets::kOverheadsClean},
    {"Piano Clarity", "Less low-mid boom, a little 2.5 kHz presence and a soft top shelf",
     z10presets::kPianoClarity},
    {"De-harsh", "Narrow cuts at 2.8 kHz and 6.5 kHz for edgy vocals, strings and guitars",
     z10presets::kDeHarsh},
    {"Bass Weight", "Bass shift +3 dB at 80 Hz with the low mids cleared a little",
     z10presets::kBassWeight},
};

} // namespace zk
