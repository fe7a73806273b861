// The replayer waits for the library's workers only where output order depends on it.
// Its output must be byte for byte what waiting after every record gives: checked on
// every bundled trace and on generated ones mixing host calls, samples, touches and
// faults, as text, as JSON and with the debug log.
#include "replayer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include <unistd.h>

#include "gesture_trace_generator.h"
#include "host_platform.h"
#include "replay_capture.h"
#include "trace_parser.h"

namespace Tarvo::Replay::Test {
namespace {

using Host::HostPlatform;

using Form = ReplayForm;

class ReplayerTest : public testing::Test {
protected:
    // The gesture report is a static of the plug-in and outlives a run: the two ways
    // play through two copies of the plug-in, so that each run starts from what the
    // same series of runs left behind.
    static void SetUpTestSuite()
    {
        namespace fs = std::filesystem;
        const fs::path copy =
            fs::temp_directory_path() / ("quil_replayer_test_" + std::to_string(getpid()) + ".so");
        fs::copy_file(QUIL_PLUGIN_PATH, copy, fs::copy_options::overwrite_existing);
        std::string error;
        ASSERT_TRUE(plugin_.Load(QUIL_PLUGIN_PATH, error)) << error;
        ASSERT_TRUE(reference_.Load(copy.string(), error)) << error;
        fs::remove(copy);  // mapped, it stays loaded
    }

    static void ExpectSameBothWays(const std::vector<TraceRecord>& records, Form form,
                                   const std::string& what)
    {
        const std::string reference = CaptureReplay(reference_, records, form, true);
        const std::string fast = CaptureReplay(plugin_, records, form, false);
        ASSERT_EQ(fast, reference) << what << " as form " << static_cast<int>(form);
    }

    static PluginLoader plugin_;
    static PluginLoader reference_;
};

PluginLoader ReplayerTest::plugin_;
PluginLoader ReplayerTest::reference_;

TEST_F(ReplayerTest, EveryBundledTracePrintsTheSameWithoutWaitingAfterEachRecord)
{
    namespace fs = std::filesystem;
    int played = 0;
    for (const char* dir : {"examples", "tests/traces"}) {
        for (const auto& entry :
             fs::recursive_directory_iterator(fs::path(QUIL_SOURCE_DIR) / dir)) {
            if (entry.path().extension() != ".trace") {
                continue;
            }
            std::vector<TraceRecord> records;
            std::string error;
            if (!TraceParser::ParseFile(entry.path().string(), records, error)) {
                continue;  // the malformed ones never run
            }
            for (Form form : {Form::TEXT, Form::JSON, Form::DEBUG_LOG}) {
                ExpectSameBothWays(records, form, entry.path().string());
            }
            ++played;
        }
    }
    EXPECT_GT(played, 20);
}

// A random but plausible trace: a few motions and gestures switched on and off, bursts
// of samples near real poses, touch strokes of one to three fingers, platform faults
// and settings, all interleaved.
std::string GenerateTrace(uint32_t seed)
{
    std::mt19937 random(seed);
    auto pick = [&random](int n) { return static_cast<int>(random() % static_cast<uint32_t>(n)); };
    auto real = [&random](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    static const int kTypes[] = {0, 2, 3, 4, 6, 7, 9, 10, 11, 12, 13, 5, -1};
    static const char* kCalls[] = {"GetAllSensors",  "SubscribeSensor",  "SetBatch",
                                   "ActivateSensor", "DeactivateSensor", "UnsubscribeSensor"};
    static const float kPoses[][3] = {
        {0.1F, 0.2F, 9.8F}, {6.9F, 0.2F, 6.9F},  {0.1F, 0.2F, -9.8F},   {0.9F, 3.4F, 12.9F},
        {3.3F, 8.6F, 2.7F}, {15.0F, 3.0F, 2.0F}, {-15.0F, -3.0F, 2.0F}, {9.8F, 0.1F, 0.2F}};
    std::ostringstream trace;
    double stamp = 0.0;
    const int records = 10 + pick(20);
    for (int i = 0; i < records; ++i) {
        const int stampKind = pick(4);
        if (stampKind != 0) {
            stamp += stampKind == 1 ? 0.0 : pick(50) + (pick(4) == 0 ? 0.5 : 0.0);
            trace << "@" << stamp << " ";
        }
        switch (pick(16)) {
            case 0:
            case 1:
                trace << (pick(3) == 0 ? "disable " : "enable ") << kTypes[pick(13)] << "\n";
                break;
            case 2:
                trace << (pick(2) == 0 ? "idle" : pick(2) == 0 ? "unregister" : "register") << "\n";
                break;
            case 3:
                trace << (pick(2) == 0 ? "supported " : "disable-count ") << kTypes[pick(13)]
                      << "\n";
                break;
            case 4: {
                const int call = pick(6);
                trace << (pick(2) == 0 ? "fail " : "heal ") << kCalls[call];
                // GetAllSensors fails for every sensor or not at all.
                trace << (call == 0 || pick(2) == 0 ? "\n" : " " + std::to_string(pick(13)) + "\n");
                break;
            }
            case 5:
                switch (pick(5)) {
                    case 0:
                        trace << "device-sensors " << (pick(2) == 0 ? "1,5,12" : "1") << "\n";
                        break;
                    case 1:
                        trace << "host-return " << pick(3) - 1 << "\n";
                        break;
                    case 2:
                        trace << "null-event\n";
                        break;
                    case 3:
                        trace << "light " << pick(400) << "\n";
                        break;
                    default:
                        trace << "prox " << pick(2) * 5 << "\n";
                        break;
                }
                break;
            case 6:
            case 7:
            case 8:
            case 9:
            case 10: {
                // A burst of accelerometer samples, the later ones unstamped.
                const auto& pose = kPoses[pick(8)];
                const int burst = 1 + pick(6);
                for (int s = 0; s < burst; ++s) {
                    trace << "acc " << pose[0] + real(-0.3, 0.3) << " " << pose[1] + real(-0.3, 0.3)
                          << " " << pose[2] + real(-0.3, 0.3) << "\n";
                }
                break;
            }
            default: {
                // A stroke: fingers down at an edge or mid-screen, moves, fingers up.
                const int fingers = 1 + pick(3);
                int x = pick(2) == 0 ? 20 : 300 + pick(600);
                int y = pick(2) == 0 ? 2300 : 600 + pick(1000);
                std::string ids;
                for (int f = 0; f < fingers; ++f) {
                    ids += (f == 0 ? "" : ",") + std::to_string(f);
                    trace << "touch down " << f << " " << x + 200 * f << " " << y << " " << ids
                          << "\n";
                }
                const int dx = pick(80) - 20;
                const int dy = pick(80) - 60;
                const int moves = 2 + pick(5);
                for (int m = 1; m <= moves; ++m) {
                    for (int f = 0; f < fingers; ++f) {
                        trace << "touch move " << f << " " << x + 200 * f + dx * m << " "
                              << y + dy * m * (f + 1) << " " << ids << "\n";
                    }
                }
                if (pick(6) == 0) {
                    trace << "touch-noitem move 0 " << ids << "\n";
                }
                for (int f = fingers - 1; f >= 0; --f) {
                    trace << "touch up " << f << " " << x + 200 * f + dx * moves << " "
                          << y + dy * moves << " " << ids << "\n";
                    ids = ids.substr(0, ids.size() > 2 ? ids.size() - 2 : 0);
                    if (ids.empty()) {
                        ids = "-";
                    }
                }
                break;
            }
        }
    }
    return trace.str();
}

TEST_F(ReplayerTest, GeneratedTracesPrintTheSameWithoutWaitingAfterEachRecord)
{
    for (uint32_t seed = 1; seed <= QUIL_GENERATED_TRACES; ++seed) {
        const std::string text = GenerateTrace(seed);
        std::vector<TraceRecord> records;
        std::string error;
        ASSERT_TRUE(TraceParser::ParseText("generated", text, records, error)) << error << text;
        const Form form = seed % 5 == 0 ? Form::DEBUG_LOG : seed % 2 == 0 ? Form::JSON : Form::TEXT;
        ExpectSameBothWays(records, form, "seed " + std::to_string(seed) + ":\n" + text);
        if (HasFatalFailure()) {
            return;
        }
    }
}

// The touch path in bursts: gestures chained with fingers added and lifted anywhere.
TEST_F(ReplayerTest, GeneratedGestureChainsPrintTheSameWithoutWaitingAfterEachRecord)
{
    for (uint32_t seed = 1; seed <= QUIL_GENERATED_TRACES / 3; ++seed) {
        const std::string text = GestureTraceGenerator(seed).Generate();
        std::vector<TraceRecord> records;
        std::string error;
        ASSERT_TRUE(TraceParser::ParseText("generated", text, records, error)) << error << text;
        const Form form = seed % 3 == 0 ? Form::DEBUG_LOG : seed % 3 == 1 ? Form::JSON : Form::TEXT;
        ExpectSameBothWays(records, form, "seed " + std::to_string(seed) + ":\n" + text);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(ReplayerTest, ASourceThatFailsEndsTheRunWithItsError)
{
    // A trace file that changed between the check and the replay, for instance.
    class FailingSource : public RecordSource {
    public:
        bool Next(TraceRecord& /*record*/, std::string& error) override
        {
            error = "x.trace: cannot be read";
            return false;
        }
    } source;
    char* buffer = nullptr;
    size_t size = 0;
    std::FILE* out = open_memstream(&buffer, &size);
    std::string error;
    {
        OutputWriter writer(out, false);
        EXPECT_FALSE(Replayer(plugin_, writer, ReplaySettings{}).Run(source, error));
    }
    std::fclose(out);
    std::free(buffer);
    EXPECT_EQ(error, "x.trace: cannot be read");
}

}  // namespace
}  // namespace Tarvo::Replay::Test
