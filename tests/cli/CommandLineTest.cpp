// The real program: exit status, the one-line message naming the culprit, and no
// output file (nor temporary) left behind when it fails.
#include "CliTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace zkclitest;

class CommandLine : public ::testing::Test {
protected:
    void SetUp() override {
        WriteAudio(dir / "in.wav", TestSignal(2, 4800));
        inputBytes = FileBytes(dir / "in.wav");
    }
    std::string In() const { return (dir / "in.wav").string(); }
    std::string Out() const { return (dir / "out.wav").string(); }
    // Fails with a message holding every `needle`, and leaves the folder as it was.
    void ExpectRefused(const std::vector<std::string>& args,
                       const std::vector<std::string>& needles,
                       std::vector<std::string> expectedFiles = {"in.wav"}) {
        ExpectRefusal(RunZkmorva(args, dir.path), needles);
        std::sort(expectedFiles.begin(), expectedFiles.end());
        EXPECT_EQ(dir.Names(), expectedFiles);
        EXPECT_EQ(FileBytes(dir / "in.wav"), inputBytes);
    }
    ScratchFolder dir;
    std::string inputBytes;
};

TEST_F(CommandLine, RendersAndSummarises) {
    const RunResult r =
        RunZkmorva({"render", In(), Out(), "--set", "MF Gain=3", "--quiet"}, dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, ""); // not a terminal: no progress bar
    EXPECT_NE(r.out.find("input peak"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("output peak"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("latency      4 frames (compensated)"), std::string::npos) << r.out;
    // Zkmorva 10 has no meters to report, and the summary says so instead of a number.
    EXPECT_NE(r.out.find("correlation  none: Zkmorva 10 has no correlation meter\n"
                         "  balance      none: Zkmorva 10 has no balance meter\n"),
              std::string::npos)
        << r.out;
    EXPECT_EQ(dir.Names(), (std::vector<std::string>{"in.wav", "out.wav"}));
    const RunResult json = RunZkmorva({"render", In(), Out(), "--json"}, dir.path);
    ASSERT_EQ(json.status, 0) << json.err;
    EXPECT_NE(json.out.find("\"correlation\": null,\n      \"balance\": null,\n      "
                            "\"meterNotes\": [\"Zkmorva 10 has no correlation or balance meter\"]"),
              std::string::npos)
        << json.out;
}

TEST_F(CommandLine, MissingOrUnreadableInput) {
    ExpectRefused({"render", (dir / "nope.wav").string(), Out()}, {"nope.wav", "does not exist"});
    fs::create_directory(dir / "folder.wav");
    ExpectRefused({"render", (dir / "folder.wav").string(), Out()},
                  {"output folder " + Out() + " does not exist", "folder.wav is a folder"},
                  {"folder.wav", "in.wav"});
    fs::remove(dir / "folder.wav");
}

TEST_F(CommandLine, UnsupportedFormat) {
    {
        std::ofstream text(dir / "notes.wav");
        text << "these are not samples\n";
    }
    ExpectRefused({"render", (dir / "notes.wav").string(), Out()},
                  {"cannot read input file", "notes.wav"}, {"in.wav", "notes.wav"});
    ExpectRefused({"render", In(), Out(), "--format", "mp9"}, {"unknown output format \"mp9\""},
                  {"in.wav", "notes.wav"});
    ExpectRefused({"render", In(), Out(), "--format", "flac", "--type", "float"}, {"flac", "float"},
                  {"in.wav", "notes.wav"});
}

TEST_F(CommandLine, UnknownNamesAndValueOutOfRange) {
    ExpectRefused({"render", In(), Out(), "--listen", "Bass"}, {"unknown parameter \"Bass\""});
    ExpectRefused({"render", In(), Out(), "--unit", "30"}, {"unknown unit \"30\""});
    ExpectRefused({"preset", "write", (dir / "p.aupreset").string(), "--set", "MF Q=99"},
                  {"\"MF Q\"", "0.3 .. 15"});
}

TEST_F(CommandLine, MalformedAndForeignPresets) {
    {
        std::ofstream bad(dir / "bad.aupreset");
        bad << "<?xml version=\"1.0\"?><plist><dict><key>type</key><integer>x</integer>";
    }
    ExpectRefused({"render", In(), Out(), "--preset", (dir / "bad.aupreset").string()},
                  {"bad.aupreset", "not a preset document"}, {"bad.aupreset", "in.wav"});
    fs::remove(dir / "bad.aupreset");

    ASSERT_EQ(RunZkmorva({"preset", "write", (dir / "good.aupreset").string()}, dir.path).status,
              0);
    std::string doc = FileBytes(dir / "good.aupreset");
    const std::string manufacturer = std::to_string(MakeFourCC("Vnqe"));
    doc.replace(doc.find(manufacturer), manufacturer.size(), std::to_string(MakeFourCC("Else")));
    {
        std::ofstream foreign(dir / "foreign.aupreset");
        foreign << doc;
    }
    ExpectRefused({"render", In(), Out(), "--preset", (dir / "foreign.aupreset").string()},
                  {"foreign.aupreset", "another product", "'Else'"},
                  {"foreign.aupreset", "good.aupreset", "in.wav"});
    ExpectRefused({"preset", "show", (dir / "missing.aupreset").string()},
                  {"missing.aupreset", "does not exist"},
                  {"foreign.aupreset", "good.aupreset", "in.wav"});
}

TEST_F(CommandLine, OutputNeverOverwritesTheInput) {
    ExpectRefused({"render", In(), In()}, {"is the input file"});
    ExpectRefused({"render", In(), (dir / "." / ".." / dir.path.filename() / "in.wav").string()},
                  {"is the input file"});
    fs::create_symlink(dir / "in.wav", dir / "link.wav");
    ExpectRefused({"render", In(), (dir / "link.wav").string()}, {"is the input file"},
                  {"in.wav", "link.wav"});
    ExpectRefused({"preset", "write", (dir / "p.aupreset").string(), "--from", In()},
                  {"in.wav", "not a preset document"}, {"in.wav", "link.wav"});
}

// Every output is checked before anything is rendered or drawn; /proc takes no new
// files, not even from root.
TEST_F(CommandLine, UnwritableOutput) {
    ExpectRefused({"render", In(), (dir / "no-such-folder" / "out.wav").string()},
                  {"no-such-folder", "does not exist"});
    ExpectRefused({"render", In(), "/proc/out.wav"}, {"/proc/out.wav", "/proc is not writable"});
    fs::create_directory(dir / "taken");
    ExpectRefused({"render", (dir / "taken").string()}, {"taken", "is a folder"},
                  {"in.wav", "taken"});
    ExpectRefused(
        {"response", "--png", (dir / "no-such-folder" / "r.png").string(), "--points", "2"},
        {"no-such-folder"}, {"in.wav", "taken"});
    ExpectRefused({"response", "--png", "/proc/r.png", "--points", "2"}, {"/proc/r.png"},
                  {"in.wav", "taken"});
    ExpectRefused({"demo", "/proc"}, {"/proc"}, {"in.wav", "taken"});
    // A plot or a rendering over the preset it comes from is refused; the preset
    // stays as it was.
    const fs::path preset = dir / "p.aupreset";
    ASSERT_EQ(RunZkmorva({"preset", "write", preset.string()}, dir.path).status, 0);
    const std::string presetBytes = FileBytes(preset);
    ExpectRefused({"response", "--preset", preset.string(), "--png", preset.string()},
                  {"p.aupreset", "never overwritten"}, {"in.wav", "p.aupreset", "taken"});
    ExpectRefused({"render", In(), preset.string(), "--preset", preset.string(), "--format", "wav"},
                  {"p.aupreset", "never overwritten"}, {"in.wav", "p.aupreset", "taken"});
    EXPECT_EQ(FileBytes(preset), presetBytes);
}

TEST_F(CommandLine, UsageErrors) {
    ExpectRefused({"mix", In()}, {"unknown command \"mix\""});
    ExpectRefused({"render", In(), Out(), "--volume", "3"}, {"unknown option --volume"});
    ExpectRefused({"render", In(), Out(), "--set"}, {"--set needs a value"});
    ExpectRefused({"render", In(), Out(), "--block", "0"}, {"--block", "1 to 8192"});
    ExpectRefused({"render"}, {"[INPUT] OUTPUT"});
}

// Every command has a page of its own, the same through "help COMMAND" and
// "COMMAND --help" (before any other argument is looked at), and the overview
// lists them all.
TEST_F(CommandLine, HelpForEveryCommand) {
    const RunResult overview = RunZkmorva({"help"}, dir.path);
    ASSERT_EQ(overview.status, 0) << overview.err;
    for (const std::string command : {"render", "params", "preset", "response", "demo"}) {
        const RunResult page = RunZkmorva({"help", command}, dir.path);
        EXPECT_EQ(page.status, 0) << command << ": " << page.err;
        EXPECT_EQ(page.out.rfind("Usage:\n  zkmorva " + command, 0), 0u) << page.out;
        EXPECT_NE(overview.out.find("  zkmorva " + command), std::string::npos) << command;
        for (const std::vector<std::string>& asked : {std::vector<std::string>{command, "--help"},
                                                      {command, "-h", "--no-such-option"},
                                                      {command, "--unit", "99", "--help"}}) {
            const RunResult again = RunZkmorva(asked, dir.path);
            EXPECT_EQ(again.status, 0) << command << ": " << again.err;
            EXPECT_EQ(again.out, page.out) << command;
        }
    }
    const RunResult render = RunZkmorva({"render", "--help"}, dir.path);
    for (const char* option : {"--allow-short", "--jobs", "--json", "--keep-latency", "INPUT..."}) {
        EXPECT_NE(render.out.find(option), std::string::npos) << option;
    }
    ExpectRefused({"help", "mix"}, {"unknown command \"mix\"", "render, params"});
}

TEST_F(CommandLine, ParamsAsTextAndJson) {
    const RunResult text = RunZkmorva({"params", "10"}, dir.path);
    ASSERT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("LF Gain"), std::string::npos);
    EXPECT_NE(text.out.find("-12 dB .. 12 dB"), std::string::npos);
    EXPECT_NE(text.out.find("Auto listen mode: 0 \"Q - -\""), std::string::npos) << text.out;
    const RunResult json = RunZkmorva({"params", "--json"}, dir.path);
    ASSERT_EQ(json.status, 0);
    EXPECT_NE(json.out.find("{\"id\": 11, \"name\": \"LF Gain\", \"symbol\": \"LfGain\", "
                            "\"unit\": \"dB\", \"role\": \"control\", \"min\": -12, \"max\": 12, "
                            "\"default\": 0}"),
              std::string::npos)
        << json.out;
    EXPECT_NE(json.out.find("\"valueStrings\": [\"Q - -\""), std::string::npos);
}

} // namespace
