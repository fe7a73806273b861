#include "importer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>

#include "memory_file.h"

namespace Tarvo::Import::Test {
namespace {

using testing::HasSubstr;
using testing::Not;

class ImporterTest : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/quil_import_testXXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override
    {
        for (const std::string& path : files_) {
            std::remove(path.c_str());
        }
        rmdir(dir_.c_str());
    }
    std::string File(const std::string& name, const std::string& text)
    {
        const std::string path = dir_ + "/" + name;
        std::ofstream(path) << text;
        files_.push_back(path);
        return path;
    }
    // Imports and returns the trace without its two header comments; false on error.
    bool Import(std::vector<std::string> files, ImportOptions options = {})
    {
        options.files = std::move(files);
        Tarvo::Test::MemoryFile out;
        Tarvo::Test::MemoryFile warnings;
        Tools::TraceWriter writer(out.File());
        const bool ok = Importer(options, writer, warnings.File()).Run(error);
        trace = out.Text();
        warned = warnings.Text();
        return ok;
    }

    std::string Missing() const { return dir_ + "/missing.csv"; }

    std::string trace;
    std::string warned;
    std::string error;

private:
    std::string dir_;
    std::vector<std::string> files_;
};

// A 100 x 50 panel: finger one at the top-left corner, finger two at the far corner,
// both move, then they lift one after the other.
const char kDesc[] = "N: panel\nA: 2f 0 1 0 0 0\nA: 35 0 100 0 0 0\nA: 36 0 50 0 0 0\n";
const char kEvents[] =
    "E: 5.000000 0003 0039 0077\nE: 5.000000 0003 0035 0000\nE: 5.000000 0003 0036 0000\n"
    "E: 5.000000 0000 0000 0000\n"
    "E: 5.010000 0003 002f 0001\nE: 5.010000 0003 0039 0078\nE: 5.010000 0003 0035 0100\n"
    "E: 5.010000 0003 0036 0050\nE: 5.010000 0000 0000 0000\n"
    "E: 5.020000 0003 0036 0025\nE: 5.020000 0003 002f 0000\nE: 5.020000 0003 0035 0050\n"
    "E: 5.020000 0003 003a 0010\nE: 5.020000 0000 0000 0000\n"
    "E: 5.030000 0003 0039 -001\nE: 5.030000 0000 0000 0000\n"
    "E: 5.040000 0003 002f 0001\nE: 5.040000 0003 0039 -001\nE: 5.040000 0000 0000 0000\n";

TEST_F(ImporterTest, EvemuDescriptionSaysTheAxesAndThePanelsShape)
{
    ASSERT_TRUE(Import({File("p.desc", kDesc), File("p.swipe.events", kEvents)})) << error;
    EXPECT_THAT(trace, HasSubstr("# options: --interval-ms 100 --display 1344x2772\n"));
    EXPECT_THAT(trace,
                HasSubstr("p.swipe.events: evemu, X 0..100, Y 0..50 from the description\n"));
    // The landscape panel is scaled as it is, and said to be in the header and on stderr.
    const std::string turn =
        "p.swipe.events: the panel is landscape (X 0..100, Y 0..50) and the display portrait "
        "(1344x2772), so touches are stretched out of shape; --rotate 90 turns it upright (or "
        "--rotate 270: a recording does not say which way round the panel is mounted)\n";
    EXPECT_THAT(trace, HasSubstr(turn + "enable 9\nenable 10\nenable 11\nenable 12\nenable 13\n"));
    EXPECT_THAT(warned, HasSubstr(turn));
}

TEST_F(ImporterTest, DisplayRotationAndTheShapeOfThePanel)
{
    ImportOptions options;
    options.width = 101;
    options.height = 201;
    options.rotate = 90;
    ASSERT_TRUE(Import({File("p.desc", kDesc), File("p.swipe.events", kEvents)}, options));
    // The panel's top-left corner is the display's top-right one after a quarter turn.
    EXPECT_THAT(trace, HasSubstr("@0 touch down 0 100 0 0\n@10 touch down 1 0 200 0,1\n"));
    EXPECT_EQ(warned, "");

    // Turned across a landscape display, it is the other way round.
    std::swap(options.width, options.height);
    ASSERT_TRUE(Import({File("p.desc", kDesc), File("p.swipe.events", kEvents)}, options));
    EXPECT_THAT(warned,
                HasSubstr("turned by --rotate 90, the panel is portrait (X 0..100, Y 0..50) "
                          "and the display landscape (201x101), so touches are stretched "
                          "out of shape; --rotate 0 turns it upright (or --rotate 180"));

    // Square in units, landscape in millimetres: the resolutions tell.
    const char square[] = "N: panel\nA: 35 0 100 0 0 4\nA: 36 0 100 0 0 8\n";
    ASSERT_TRUE(Import({File("s.desc", square), File("s.swipe.events", kEvents)}));
    EXPECT_THAT(warned, HasSubstr("the panel is landscape (X 0..100, Y 0..100, 25 x 12 mm)"));
}

const char kProtocolA[] =
    "[    1.000000] EV_ABS       ABS_MT_POSITION_X    000003e8\n"
    "[    1.000000] EV_ABS       ABS_MT_POSITION_Y    00000000\n"
    "[    1.000000] EV_SYN       SYN_MT_REPORT        00000000\n"
    "[    1.000000] EV_SYN       SYN_REPORT           00000000\n"
    "[    1.015000] EV_ABS       ABS_MT_POSITION_X    000001f4\n"
    "[    1.015000] EV_ABS       ABS_MT_POSITION_Y    000001f4\n"
    "[    1.015000] EV_SYN       SYN_MT_REPORT        00000000\n"
    "[    1.015000] EV_SYN       SYN_REPORT           00000000\n"
    "[    1.030000] EV_SYN       SYN_MT_REPORT        00000000\n"
    "[    1.030000] EV_SYN       SYN_REPORT           00000000\n";

TEST_F(ImporterTest, GeteventAxesFromTheOptionElseTheBlockElseGuessedOnlyWhenAsked)
{
    const std::string block =
        "add device 1: /dev/input/event1\n  events:\n"
        "    ABS (0003): ABS_MT_POSITION_X     : value 0, min 0, max 2000, fuzz 0\n"
        "                ABS_MT_POSITION_Y     : value 0, min 0, max 1000, fuzz 0\n";
    const std::string withBlock = File("a.txt", block + kProtocolA);
    ASSERT_TRUE(Import({withBlock})) << error;
    EXPECT_THAT(trace, HasSubstr("X 0..2000, Y 0..1000 from the recording\n"));
    EXPECT_THAT(trace, HasSubstr("enable 13\n@0 touch down 0 672 0 0\n@15 touch move 0 336 1386 0\n"
                                 "@30 touch up 0 336 1386 0\n"));

    ImportOptions options;
    options.axes = std::make_pair(4000, 500);
    ASSERT_TRUE(Import({withBlock}, options)) << error;
    EXPECT_THAT(trace, HasSubstr("X 0..4000, Y 0..500 from --axes, not the recording's "
                                 "X 0..2000, Y 0..1000\n"));
    EXPECT_THAT(trace, HasSubstr("@0 touch down 0 336 0 0\n@15 touch move 0 168 2771 0\n"));
    EXPECT_THAT(warned, HasSubstr("a.txt: scaling X 0..4000 and Y 0..500 (--axes) to the "
                                  "display, not the recording's X 0..2000, Y 0..1000\n"));

    const std::string bare = File("c.txt", kProtocolA);
    EXPECT_FALSE(Import({bare}));
    EXPECT_EQ(error, bare +
                         ": no touch axis ranges in the recording (a getevent dump without its "
                         "-p block): give --axes XMAX,YMAX (getevent -p on the device shows "
                         "them), or --guess-axes to take the largest values seen (X 0..1000, Y "
                         "0..500)");
    EXPECT_EQ(trace, "");

    ImportOptions guess;
    guess.guessAxes = true;
    ASSERT_TRUE(Import({bare}, guess)) << error;
    EXPECT_THAT(trace, HasSubstr("X 0..1000, Y 0..500 from the largest values seen (touch axes "
                                 "guessed)\n"));
    EXPECT_THAT(trace, HasSubstr("@0 touch down 0 1343 0 0\n@15 touch move 0 672 2771 0\n"));
    // Guessed ranges say nothing of the panel's shape: no word about turning it.
    EXPECT_THAT(warned, HasSubstr("c.txt: touch axes guessed: X 0..1000, Y 0..500"));
    EXPECT_THAT(warned, Not(HasSubstr("--rotate")));
}

TEST_F(ImporterTest, EventsOfOtherDevicesAreLeftOut)
{
    const std::string dump =
        "[    0.500000] /dev/input/event3: EV_KEY KEY_VOLUMEDOWN DOWN\n"
        "[    0.500000] /dev/input/event3: EV_SYN SYN_REPORT 00000000\n"
        "[    1.000000] /dev/input/event1: EV_ABS ABS_MT_TRACKING_ID 00000005\n"
        "[    1.000000] /dev/input/event1: EV_ABS ABS_MT_POSITION_X 0000000a\n"
        "[    1.000000] /dev/input/event3: EV_ABS ABS_X 00000099\n"
        "[    1.000000] /dev/input/event1: EV_ABS ABS_MT_POSITION_Y 0000000a\n"
        "[    1.000000] /dev/input/event1: EV_SYN SYN_REPORT 00000000\n"
        "[    1.002000] /dev/input/event1: EV_SYN SYN_DROPPED 00000000\n"
        "[    1.003000] /dev/input/event1: EV_SYN SYN_REPORT 00000000\n";
    ImportOptions options;
    options.axes = std::make_pair(20, 20);
    ASSERT_TRUE(Import({File("d.txt", dump)}, options)) << error;
    EXPECT_THAT(trace, HasSubstr("getevent /dev/input/event1, X 0..20, Y 0..20 from --axes\n"));
    EXPECT_THAT(trace, HasSubstr("enable 13\n@0 touch down 0 672 1386 0\n"));
    EXPECT_THAT(warned, HasSubstr("d.txt:8: SYN_DROPPED"));
}

TEST_F(ImporterTest, SensorLogResampledWithChosenTypes)
{
    std::string log = "time_ms,x,y,z,prox\n";
    for (int t = 0; t <= 300; t += 20) {
        log += std::to_string(1000 + t) + ",0," + std::to_string(t) + ",9.8,5\n";
    }
    ImportOptions options;
    options.enable = std::vector<int32_t>{3, 7};
    options.intervalMs = 150;
    ASSERT_TRUE(Import({File("walk.csv", log)}, options)) << error;
    EXPECT_THAT(trace, HasSubstr("--enable 3,7\nenable 3\nenable 7\n"));
    EXPECT_THAT(trace, HasSubstr("walk.csv: CSV with a header, time in ms (from the header), "
                                 "acceleration in m/s^2 (from the magnitude), proximity\n"
                                 "@0 prox 5\n@0 acc 0 0 9.8\n@150 prox 5\n@150 acc 0 140 9.8\n"
                                 "@300 prox 5\n@300 acc 0 300 9.8\n"));
}

TEST_F(ImporterTest, SeveralFilesFollowOneAnother)
{
    ASSERT_TRUE(Import({File("a.csv", "0,0,0,9.8\n10,0,0,9.8\n210,0,0,9.8\n"),
                        File("p.desc", kDesc), File("p.swipe.events", kEvents)}))
        << error;
    // Both kinds of motion are enabled; the touches start a second after the samples.
    EXPECT_THAT(trace, HasSubstr("enable 7\nenable 9\n"));
    EXPECT_THAT(trace, HasSubstr("@300 acc 0 0 9.8\n"));
    EXPECT_THAT(trace, HasSubstr("@1300 touch down 0 0 0 0\n"));
}

TEST_F(ImporterTest, ErrorsNameTheFileAndLine)
{
    const std::string bad = File("bad.events", std::string(kEvents) + "E: 5.05 0000\n");
    EXPECT_FALSE(Import({bad}));
    EXPECT_EQ(error, bad + ":20: event line needs TIME TYPE CODE VALUE, got 2 fields");

    EXPECT_FALSE(Import({Missing()}));
    EXPECT_THAT(error, HasSubstr("missing.csv: cannot be read: No such file or directory"));

    const std::string keysOnly = File("k.txt", "[ 1.0] EV_KEY KEY_POWER DOWN\n");
    EXPECT_FALSE(Import({keysOnly}));
    EXPECT_EQ(error, keysOnly + ": no touch event");

    const std::string noMovement = File("n.events", "E: 1.0 0003 0039 1\nE: 1.0 0000 0000 0000\n");
    EXPECT_FALSE(Import({noMovement}));
    EXPECT_THAT(error, HasSubstr("n.events: no usable touch event"));

    EXPECT_FALSE(Import({File("p.desc", kDesc)}));
    EXPECT_EQ(error, "no usable event in the recording");
    EXPECT_THAT(trace, Not(HasSubstr("touch")));

    // Options for the other kind of recording are refused, not ignored.
    ImportOptions rotate;
    rotate.rotate = 90;
    EXPECT_FALSE(Import({File("a.csv", "0,0,0,9.8\n")}, rotate));
    EXPECT_EQ(error,
              "--rotate applies to touch recordings, and every file given is a sensor "
              "log (CSV)");
    ImportOptions units;
    units.units = AccUnit::G;
    EXPECT_FALSE(Import({File("p.desc", kDesc), File("p.swipe.events", kEvents)}, units));
    EXPECT_EQ(error,
              "--units applies to sensor logs (CSV), and every file given is a touch "
              "recording");
}

// What a recording may declare or hold, and a trace could not: refused with the place,
// never written (quil-replay would refuse the trace) nor computed with an overflow.
TEST_F(ImporterTest, RecordingsPastWhatATraceHoldsAreRefused)
{
    ImportOptions milliseconds;
    milliseconds.time = TimeUnit::MS;
    EXPECT_FALSE(Import({File("gap.csv", "0,0,0,9.8\n10,0,0,9.8\n9000000000000000,0,0,9.8\n")},
                        milliseconds));
    EXPECT_THAT(error, HasSubstr("gap.csv:3: time lies more than 1000000000000 ms after"));

    const std::string lateTouch = std::string(kEvents) +
                                  "E: 9000000000.0 0003 0039 0080\nE: 9000000000.0 0003 0035 0010\n"
                                  "E: 9000000000.0 0000 0000 0000\n";
    EXPECT_FALSE(Import({File("p.desc", kDesc), File("late.events", lateTouch)}));
    EXPECT_THAT(error, HasSubstr("late.events:22: this event lies more than 1000000000000 ms"));

    // A slot range to INT32_MAX is as many slots as the decoder tracks.
    const std::string slots =
        "N: panel\nA: 2f 0 2147483647 0 0 0\nA: 35 0 100 0 0 0\nA: 36 0 50 0 0 0\n";
    EXPECT_TRUE(Import({File("s.desc", slots), File("s.events", kEvents)})) << error;
    EXPECT_THAT(trace, HasSubstr("touch down 0 0 0 0\n"));
}

}  // namespace
}  // namespace Tarvo::Import::Test
