// Batch hosts that render a sound file through an LV2 in one go, compared with the
// zkmorva renderer given the same settings:
//   lv2file    Debian's lv2file with -p control values. Its feature list holds a URID
//              map, an unmap without data, options and an entry whose URI is null; it
//              does not compensate latency, so the renderer keeps its latency too. The
//              result must equal the renderer's bit for bit.
//   gstreamer  GStreamer's lv2 element: gst-inspect-1.0 lists it, and a gst-launch-1.0
//              pipeline from a float WAV file to a float WAV file runs through it.
//              GStreamer starts every toggle at off whatever the plug-in's default,
//              so the pipeline sets each one; samples stay 32-bit floats all the way,
//              so the result must equal the renderer's bit for bit as well.
// The input is a second of noise and tones, different on every channel.
//
// zk_file_hosts_test lv2file|gstreamer URI LV2_DIR UNIT RENDERER SYMBOL=VALUE...

#include "tests/plugins/ChildProcess.h"
#include "tests/plugins/FloatWav.h"
#include "tests/plugins/HostChecks.h"

#include <lilv/lilv.h>
#include <lv2/core/lv2.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Frames = std::vector<float>; // interleaved

constexpr int kRate = 48000;
constexpr int kFrames = 48000;

zktest::HostChecks check;

struct Control {
    std::string symbol;
    float defaultValue = 0.0f;
    bool toggle = false;
    // GStreamer shows a control with labelled values as a choice of those values
    // only: a default that is not one of them cannot be set there.
    bool defaultOutsideLabels = false;
};

struct PluginInfo {
    int channels = 0;
    std::vector<Control> controls; // input controls
};

PluginInfo Describe(const std::string& uri) {
    PluginInfo info;
    LilvWorld* world = lilv_world_new();
    lilv_world_load_all(world);
    LilvNode* uriNode = lilv_new_uri(world, uri.c_str());
    const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uriNode);
    if (plugin != nullptr) {
        LilvNode* audio = lilv_new_uri(world, LV2_CORE__AudioPort);
        LilvNode* control = lilv_new_uri(world, LV2_CORE__ControlPort);
        LilvNode* input = lilv_new_uri(world, LV2_CORE__InputPort);
        LilvNode* toggled = lilv_new_uri(world, LV2_CORE__toggled);
        for (uint32_t i = 0; i < lilv_plugin_get_num_ports(plugin); ++i) {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
            if (!lilv_port_is_a(plugin, port, input)) {
                continue;
            }
            if (lilv_port_is_a(plugin, port, audio)) {
                ++info.channels;
                continue;
            }
            if (!lilv_port_is_a(plugin, port, control)) {
                continue;
            }
            Control c;
            c.symbol = lilv_node_as_string(lilv_port_get_symbol(plugin, port));
            LilvNode* def = nullptr;
            lilv_port_get_range(plugin, port, &def, nullptr, nullptr);
            c.defaultValue = def != nullptr ? lilv_node_as_float(def) : 0.0f;
            lilv_node_free(def);
            c.toggle = lilv_port_has_property(plugin, port, toggled);
            if (LilvScalePoints* points = lilv_port_get_scale_points(plugin, port)) {
                c.defaultOutsideLabels = !c.toggle;
                LILV_FOREACH(scale_points, it, points) {
                    const LilvScalePoint* p = lilv_scale_points_get(points, it);
                    if (lilv_node_as_float(lilv_scale_point_get_value(p)) == c.defaultValue) {
                        c.defaultOutsideLabels = false;
                    }
                }
                lilv_scale_points_free(points);
            }
            info.controls.push_back(c);
        }
        for (LilvNode* n : {audio, control, input, toggled}) {
            lilv_node_free(n);
        }
    }
    lilv_node_free(uriNode);
    lilv_world_free(world);
    return info;
}

// Noise and a tone per channel, at about -12 dBFS RMS.
Frames TestInput(int channels) {
    Frames data(static_cast<std::size_t>(kFrames * channels));
    std::uint32_t seed = 777;
    for (int i = 0; i < kFrames; ++i) {
        for (int c = 0; c < channels; ++c) {
            seed = seed * 1664525u + 1013904223u;
            const double noise = (double(seed >> 8) / 16777216.0 - 0.5) * 0.5;
            const double tone = 0.2 * std::sin(2.0 * M_PI * 90.0 * (c + 1) * i / kRate);
            data[static_cast<std::size_t>(i * channels + c)] = static_cast<float>(noise + tone);
        }
    }
    return data;
}

std::string Quote(const std::string& s) {
    return "'" + s + "'";
}

int Run(const std::string& command, const std::string& log) {
    const int status = std::system((command + " >>" + Quote(log) + " 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

double RmsDb(const Frames& data) {
    double sum = 0.0;
    for (float v : data) {
        sum += double(v) * v;
    }
    return 10.0 * std::log10(sum / std::max<std::size_t>(data.size(), 1) + 1e-30);
}

void Compare(const Frames& got, const Frames& want, int channels, const std::string& host) {
    if (!check(got.size() == want.size(),
               host + " output has " + std::to_string(got.size() / channels) +
                   " frames, the renderer's " + std::to_string(want.size() / channels))) {
        return;
    }
    std::size_t differing = 0, first = got.size();
    double worst = 0.0;
    for (std::size_t i = 0; i < got.size(); ++i) {
        if (std::memcmp(&got[i], &want[i], sizeof(float)) != 0) {
            first = std::min(first, i);
            ++differing;
            worst = std::max(worst, std::abs(double(got[i]) - want[i]));
        }
    }
    check(differing == 0,
          host + " output equals the renderer's bit for bit (" + std::to_string(differing) +
              " samples differ" +
              (differing != 0 ? ", first at frame " + std::to_string(first / channels) +
                                    ", largest difference " + std::to_string(worst)
                              : std::string()) +
              ")");
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fprintf(stderr, "usage: %s lv2file|gstreamer URI LV2_DIR UNIT RENDERER SYM=VAL...\n",
                     argv[0]);
        return 2;
    }
    const std::string host = argv[1], uri = argv[2], unit = argv[4], renderer = argv[5];
    const std::vector<std::string> settings(argv + 6, argv + argc);
    const std::string tool = host == "lv2file" ? "lv2file" : "gst-launch-1.0";
    if (std::system(("command -v " + tool + " >/dev/null").c_str()) != 0) {
        std::printf("SKIPPED: %s not installed (scripts/packages.txt)\n", tool.c_str());
        return 0;
    }
    setenv("LV2_PATH", fs::absolute(argv[3]).c_str(), 1);
    char tmpl[] = "/tmp/zk-filehost-XXXXXX";
    const std::string dir = mkdtemp(tmpl);
    const std::string log = dir + "/host.log";
    // GStreamer scans LV2_PATH into its registry: a registry of this run's own.
    setenv("GST_REGISTRY", (dir + "/gst-registry.bin").c_str(), 1);

    const PluginInfo info = Describe(uri);
    if (!check(info.channels > 0, "lilv describes " + uri)) {
        return check.Finish();
    }
    const int channels = info.channels;
    const std::string in = dir + "/in.wav", out = dir + "/out.wav", ref = dir + "/ref.wav";
    if (!check(zktest::WriteFloatWav(in, TestInput(channels), channels, kRate), "input written")) {
        return check.Finish();
    }

    std::string command = "timeout 60 ";
    if (host == "lv2file") {
        command += "lv2file -i " + Quote(in) + " -o " + Quote(out);
        for (const std::string& s : settings) {
            std::string p = s;
            p[p.find('=')] = ':';
            command += " -p " + Quote(p);
        }
        command += " " + Quote(uri);
    } else {
        const std::string listing =
            zktest::CommandOutput("timeout 60 gst-inspect-1.0 lv2 2>>" + Quote(log));
        const std::string element = uri.substr(0, 3) + "-" + uri.substr(4, uri.rfind(':') - 4) +
                                    "-" + uri.substr(uri.rfind(':') + 1); // urn-zkmorva-NAME
        if (!check(listing.find("  " + element + ": ") != std::string::npos,
                   "gst-inspect-1.0 lv2 lists " + element)) {
            std::printf("logs in %s\n", dir.c_str());
            return check.Finish();
        }
        std::string properties = " lv2-enabled=true";
        std::string unsettable;
        for (const Control& c : info.controls) {
            if (c.toggle && c.symbol != "lv2_enabled") {
                properties += " " + c.symbol + (c.defaultValue > 0.5f ? "=true" : "=false");
            }
            if (c.defaultOutsideLabels) {
                unsettable += " " + c.symbol;
            }
        }
        check(unsettable.empty(), "every control can hold its default in GStreamer" +
                                      (unsettable.empty() ? std::string()
                                                          : " (not" + unsettable +
                                                                ": GStreamer offers a control "
                                                                "with labelled values as a "
                                                                "choice of those values only)"));
        for (const std::string& s : settings) {
            properties += " " + s;
        }
        command +=
            "gst-launch-1.0 --gst-disable-segtrap -q filesrc location=" + Quote(in) +
            " ! wavparse ! audioconvert ! " + element + properties +
            " ! audioconvert ! audio/x-raw,format=F32LE ! wavenc ! filesink location=" + Quote(out);
    }
    const int status = Run(command, log);
    check(status == 0, host + " exits with 0 (got " + std::to_string(status) + ")");
    const Frames got = zktest::ReadFloatWav(out, channels);
    check(got.size() == static_cast<std::size_t>(kFrames * channels),
          host + " writes all " + std::to_string(kFrames) + " frames (got " +
              std::to_string(got.size() / channels) + ")");
    const double level = RmsDb(got);
    check(level > -40.0, host + " output is not silent (" + std::to_string(level) + " dBFS RMS)");

    std::string render = Quote(renderer) + " render " + Quote(in) + " " + Quote(ref) + " --unit " +
                         unit + " --keep-latency --type float --quiet";
    for (const std::string& s : settings) {
        render += " --set " + Quote(s);
    }
    check(Run(render, log) == 0, "zkmorva render with the same settings");
    Compare(got, zktest::ReadFloatWav(ref, channels), channels, host);

    if (check.failed == 0) {
        fs::remove_all(dir);
    } else {
        std::printf("logs in %s\n", dir.c_str());
    }
    return check.Finish();
}
