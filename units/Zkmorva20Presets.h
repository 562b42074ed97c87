#pragma once

// The factory library of the two-channel EQ. Every setting is given for both
// channels: a section whose link is on holds the same values on both sides. Only a
// preset that treats the sides differently turns links off, and then the master
// link and every link switch, since the unit sets every switch to the master
// link's value whenever that is applied.
#include "units/FactoryPreset.h"

namespace zk::z20presets {

inline constexpr PresetValue kFlat[] = {{"EQ on/off", 1}};

inline constexpr PresetValue kVocalPresence[] = {
    {"HP L f", 90},        {"HP R f", 90},        {"HP L Q", 18},    {"HP R Q", 18},
    {"LMF L f", 300},      {"LMF R f", 300},      {"LMF L Q", 1.2f}, {"LMF R Q", 1.2f},
    {"LMF L Gain", -2.5f}, {"LMF R Gain", -2.5f}, {"MF L f", 3000},  {"MF R f", 3000},
    {"MF L Q", 1},         {"MF R Q", 1},         {"MF L Gain", 3},  {"MF R Gain", 3},
    {"HF L f", 10000},     {"HF R f", 10000},     {"HF L Gain", 2},  {"HF R Gain", 2}};

inline constexpr PresetValue kMonoBassWideTop[] = {{"Mono-Maker", 120},
                                                   {"Mono-Maker on/off", 1},
                                                   {"Stereo-Width", 130},
                                                   {"Stereo-Width on/off", 1}};

inline constexpr PresetValue kLeftRightRepair[] = {{"Master Link on/off", 0},
                                                   {"Input L Gain Link on/off", 0},
                                                   {"Output L Gain Link on/off", 0},
                                                   {"Input R Gain Link on/off", 0},
                                                   {"Output R Gain Link on/off", 0},
                                                   {"HP L Link on/off", 0},
                                                   {"LF L Link on/off", 0},
                                                   {"LMF L Link on/off", 0},
                                                   {"MF L Link on/off", 0},
                                                   {"HMF L Link on/off", 0},
                                                   {"HF L Link on/off", 0},
                                                   {"LP L Link on/off", 0},
                                                   {"Bass Shift L Link on/off", 0},
                                                   {"Pres Shift L Link on/off", 0},
                                                   {"HP R Link on/off", 0},
                                                   {"LF R Link on/off", 0},
                                                   {"LMF R Link on/off", 0},
                                                   {"MF R Link on/off", 0},
                                                   {"HMF R Link on/off", 0},
                                                   {"HF R Link on/off", 0},
                                                   {"LP R Link on/off", 0},
                                                   {"Bass Shift R Link on/off", 0},
                                                   {"Pres Shift R Link on/off", 0},
                                                   {"Input R Gain", 2},
                                                   {"HF R f", 8000},
                                                   {"HF R Gain", 2.5f},
                                                   {"HMF R f", 3000},
                                                   {"HMF R Q", 1},
                                                   {"HMF R Gain", 1}};

inline constexpr PresetValue kMixBusTilt[] = {
    {"LF L f", 300},  {"LF R f", 300},  {"LF L Gain", -1.5f}, {"LF R Gain", -1.5f},
    {"HF L f", 3000}, {"HF R f", 3000}, {"HF L Gain", 1.5f},  {"HF R Gain", 1.5f}};

inline constexpr PresetValue kMasteringAir[] = {{"Pres Shift L f", 16000},
                                                {"Pres Shift R f", 16000},
                                                {"Pres Shift L Gain", 1.5f},
                                                {"Pres Shift R Gain", 1.5f}};

inline constexpr PresetValue kMasteringLowEnd[] = {
    {"HP L f", 25},     {"HP R f", 25},     {"HP L Q", 16},     {"HP R Q", 16},
    {"LMF L f", 220},   {"LMF R f", 220},   {"LMF L Q", 0.9f},  {"LMF R Q", 0.9f},
    {"LMF L Gain", -1}, {"LMF R Gain", -1}, {"Mono-Maker", 80}, {"Mono-Maker on/off", 1}};

inline constexpr PresetValue kDrumBusPunch[] = {
    {"LF L f", 60},      {"LF R f", 60},      {"LF L Q", 1.2f},   {"LF R Q", 1.2f},
    {"LF L Gain", 2.5f}, {"LF R Gain", 2.5f}, {"LMF L f", 400},   {"LMF R f", 400},
    {"LMF L Q", 1.2f},   {"LMF R Q", 1.2f},   {"LMF L Gain", -3}, {"LMF R Gain", -3},
    {"HMF L f", 5000},   {"HMF R f", 5000},   {"HMF L Q", 1},     {"HMF R Q", 1},
    {"HMF L Gain", 2},   {"HMF R Gain", 2}};

inline constexpr PresetValue kAcousticGuitarSparkle[] = {
    {"HP L f", 80},     {"HP R f", 80},     {"LMF L f", 200},  {"LMF R f", 200},
    {"LMF L Gain", -3}, {"LMF R Gain", -3}, {"HMF L f", 5000}, {"HMF R f", 5000},
    {"HMF L Q", 1.2f},  {"HMF R Q", 1.2f},  {"HMF L Gain", 2}, {"HMF R Gain", 2},
    {"HF L f", 12000},  {"HF R f", 12000},  {"HF L Gain", 3},  {"HF R Gain", 3}};

inline constexpr PresetValue kPianoClarity[] = {
    {"HP L f", 40},     {"HP R f", 40},     {"LMF L f", 250},    {"LMF R f", 250},
    {"LMF L Gain", -2}, {"LMF R Gain", -2}, {"MF L f", 2500},    {"MF R f", 2500},
    {"MF L Q", 1},      {"MF R Q", 1},      {"MF L Gain", 1.5f}, {"MF R Gain", 1.5f},
    {"HF L f", 10000},  {"HF R f", 10000},  {"HF L Gain", 1.5f}, {"HF R Gain", 1.5f}};

inline constexpr PresetValue kTelephone[] = {
    {"HP L f", 400},  {"HP R f", 400},  {"HP L Q", 22},      {"HP R Q", 22},
    {"LP L f", 3400}, {"LP R f", 3400}, {"LP L Q", 22},      {"LP R Q", 22},
    {"MF L f", 1500}, {"MF R f", 1500}, {"MF L Q", 0.8f},    {"MF R Q", 0.8f},
    {"MF L Gain", 4}, {"MF R Gain", 4}, {"Stereo-Width", 0}, {"Stereo-Width on/off", 1}};

inline constexpr PresetValue kOverheadsClean[] = {
    {"HP L f", 200},   {"HP R f", 200},   {"HP L Q", 20},     {"HP R Q", 20},
    {"LMF L f", 400},  {"LMF R f", 400},  {"LMF L Gain", -2}, {"LMF R Gain", -2},
    {"HF L f", 10000}, {"HF R f", 10000}, {"HF L Gain", 2},   {"HF R Gain", 2}};

inline constexpr PresetValue kWidePads[] = {
    {"HP L f", 150},    {"HP R f", 150},    {"LMF L f", 350},      {"LMF R f", 350},
    {"LMF L Gain", -2}, {"LMF R Gain", -2}, {"Stereo-Width", 150}, {"Stereo-Width on/off", 1}};

inline constexpr PresetValue kBassDeMud[] = {
    {"HP L f", 35},    {"HP R f", 35},     {"LMF L f", 250},   {"LMF R f", 250}, {"LMF L Q", 1.2f},
    {"LMF R Q", 1.2f}, {"LMF L Gain", -4}, {"LMF R Gain", -4}, {"MF L f", 800},  {"MF R f", 800},
    {"MF L Q", 1.5f},  {"MF R Q", 1.5f},   {"MF L Gain", 2},   {"MF R Gain", 2}};

inline constexpr PresetValue kDeHarsh[] = {
    {"MF L f", 2800},  {"MF R f", 2800},  {"MF L Q", 2.5f},      {"MF R Q", 2.5f},
    {"MF L Gain", -3}, {"MF R Gain", -3}, {"HMF L f", 6500},     {"HMF R f", 6500},
    {"HMF L Q", 3},    {"HMF R Q", 3},    {"HMF L Gain", -2.5f}, {"HMF R Gain", -2.5f}};

} // namespace zk::z20presets

namespace zk {

inline constexpr FactoryPreset kZkmorva20Presets[] = {
    {"Flat", "Both channels flat and linked, mid/side stage neutral: a clean start",
     z20presets::kFlat},
    {"Vocal Presence",
     "Rumble and mud out, intelligibility lifted at 3 kHz, a little air, on both sides",
     z20presets::kVocalPresence},
    {"Mono Bass, Wider Top",
     "Everything below 120 Hz folded to mono, the stereo image above widened to 130 %",
     z20presets::kMonoBassWideTop},
    {"Left/Right Repair",
     "For a lopsided recording: the right side 2 dB up with its dull top end restored",
     z20presets::kLeftRightRepair},
    {"Mix Bus Tilt", "Brighter around 1 kHz: -1.5 dB below 300 Hz, +1.5 dB above 3 kHz",
     z20presets::kMixBusTilt},
    {"Mastering Air", "Presence shift +1.5 dB at 16 kHz: sheen without edge",
     z20presets::kMasteringAir},
    {"Mastering Low End",
     "Subsonic 6 dB/oct high-pass at 25 Hz, mono below 80 Hz, a soft 220 Hz dip",
     z20presets::kMasteringLowEnd},
    {"Drum Bus Punch", "Weight at 60 Hz, boxiness out at 400 Hz, attack at 5 kHz",
     z20presets::kDrumBusPunch},
    {"Acoustic Guitar Sparkle", "Body boom out at 200 Hz, sparkle at 5 kHz and a 12 kHz shelf",
     z20presets::kAcousticGuitarSparkle},
    {"Piano Clarity", "Less low-mid boom, a little 2.5 kHz presence and a soft top shelf",
     z20presets::kPianoClarity},
    {"Telephone", "Mono, band-limited to 400 Hz - 3.4 kHz at 24 dB/oct, honk at 1.5 kHz",
     z20presets::kTelephone},
    {"Overheads Clean", "Kick and toms out below 200 Hz, low-mid clutter cut, cymbals lifted",
     z20presets::kOverheadsClean},
    {"Wide Pads", "Low end cleared below 150 Hz, low mids tucked, image widened to 150 %",
     z20presets::kWidePads},
    {"Bass De-mud", "The muddy 250 Hz region cut, the fundamental kept, definition at 800 Hz",
     z20presets::kBassDeMud},
    {"De-harsh", "Narrow cuts at 2.8 kHz and 6.5 kHz for edgy sources, on both sides",
     z20presets::kDeHarsh},
};

} // namespace zk
