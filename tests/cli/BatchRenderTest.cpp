// Several files at once: rendered in parallel, each exactly as it renders alone,
// past files that fail (named at the end), and never over an input.
#include "CliTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace zkclitest;

// Files of different formats, rates and channel counts, with a bad and a short one
// among them, rendered from their folder on three threads.
TEST(BatchRender, EachFileAsAloneAndPastTheBadOnes) {
    ScratchFolder dir;
    fs::create_directory(dir / "in");
    fs::create_directory(dir / "out");
    fs::create_directory(dir / "alone");
    WriteAudio(dir / "in" / "a.wav", TestSignal(2, 30000));
    WriteAudio(dir / "in" / "b.flac", TestSignal(1, 20000, 44100), 44100,
               SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    WriteAudio(dir / "in" / "c.wav", TestSignal(3, 25000, 96000), 96000);
    WriteAudio(dir / "in" / "e.aiff", TestSignal(2, 9000), 48000,
               SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
    {
        std::ofstream bad(dir / "in" / "bad.wav");
        bad << "not a sound file\n";
        std::ofstream notes(dir / "in" / "notes.txt"); // not a sound file name: left out
        notes << "x\n";
        const std::string full = FileBytes(dir / "in" / "a.wav");
        std::ofstream cut(dir / "in" / "d.wav", std::ios::binary);
        cut << full.substr(0, full.size() / 2);
    }
    const auto inputs = Snapshot(dir / "in");
    const std::vector<std::string> settings = {"--set", "MF Gain=4", "--set", "HP f=60"};
    std::vector<std::string> batch = {"render", (dir / "in").string(), (dir / "out").string(),
                                      "--jobs", "3"};
    batch.insert(batch.end(), settings.begin(), settings.end());
    const RunResult r = RunZkmorva(batch, dir.path);
    EXPECT_EQ(r.status, 1);
    const std::string failures = "zkmorva: 2 of 6 files failed:\n  " +
                                 (dir / "in" / "bad.wav").string() + ": cannot read input file ";
    ASSERT_NE(r.err.find(failures), std::string::npos) << r.err;
    const std::string d = (dir / "in" / "d.wav").string();
    EXPECT_NE(r.err.find("\n  " + d + ": input file " + d + " is shorter than its header says: "),
              std::string::npos)
        << r.err;
    EXPECT_NE(r.out.find("rendered 4 of 6 files into " + (dir / "out").string()), std::string::npos)
        << r.out;
    EXPECT_EQ(Snapshot(dir / "in"), inputs);
    const std::vector<std::string> rendered = {"a.wav", "b.flac", "c.wav", "e.aiff"};
    EXPECT_EQ(dir.Names(), (std::vector<std::string>{"alone", "in", "out"}));
    EXPECT_EQ(ScratchFolder::NamesIn(dir / "out"), rendered) << "no temporaries, no failed file";
    for (const std::string& name : rendered) {
        std::vector<std::string> alone = {"render", (dir / "in" / name).string(),
                                          (dir / "alone" / name).string()};
        alone.insert(alone.end(), settings.begin(), settings.end());
        ASSERT_EQ(RunZkmorva(alone, dir.path).status, 0) << name;
        EXPECT_TRUE(FileBytes(dir / "out" / name) == FileBytes(dir / "alone" / name)) << name;
    }
}

// Outputs are checked before anything is read or rendered; the folders stay as they
// were.
TEST(BatchRender, RefusedBeforeAnyWork) {
    ScratchFolder dir;
    for (const char* folder : {"in", "other", "out", "empty"}) {
        fs::create_directory(dir / folder);
    }
    WriteAudio(dir / "in" / "a.wav", TestSignal(2, 1000));
    WriteAudio(dir / "in" / "b.wav", TestSignal(2, 1000));
    WriteAudio(dir / "other" / "a.wav", TestSignal(1, 1000));
    const auto before = Snapshot(dir.path);
    const std::string in = (dir / "in").string(), a = (dir / "in" / "a.wav").string(),
                      b = (dir / "in" / "b.wav").string(), out = (dir / "out").string();
    const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> cases = {
        {{"render", in, in}, {"output " + a + " is the input file " + a, "never overwritten"}},
        {{"render", a, b, in}, {"output " + a + " is the input file " + a}},
        {{"render", a, (dir / "other" / "a.wav").string(), out},
         {"inputs " + a + " and ", "would both be written to " + out + "/a.wav"}},
        {{"render", a, b, (dir / "missing").string()},
         {"output folder " + (dir / "missing").string() + " does not exist",
          "several inputs render into a folder"}},
        {{"render", a, b, "/proc"}, {"output folder /proc is not writable"}},
        {{"render", (dir / "empty").string(), out}, {"empty holds no sound files"}},
        {{"render", a, b, (dir / "other").string(), "--preset", (dir / "other" / "b.wav").string()},
         {"is the preset"}},
        {{"render", a, b, out, "--format", "mp9"}, {"unknown output format \"mp9\""}},
        {{"render", a, b, out, "--set", "Treble=3"},
         {"unknown parameter \"Treble\"", "Zkmorva 10"}},
    };
    for (const auto& [args, needles] : cases) {
        ExpectRefusal(RunZkmorva(args, dir.path), needles);
        EXPECT_EQ(Snapshot(dir.path), before) << args[1];
    }
}

} // namespace
