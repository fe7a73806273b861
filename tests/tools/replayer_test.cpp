// The replayer waits for the library's workers only where output order depends on it.
// Its output must be byte for byte what waiting after every record gives: checked on
// every bundled trace and on generated gesture chains with host calls and samples mixed
// in, as text, as JSON and with the debug log.
#include "replayer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

#include "gesture_trace_generator.h"
#include "replay_capture.h"
#include "trace_parser.h"

namespace Tarvo::Replay::Test {
namespace {

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

// Generated gesture chains, with host calls and device motions mixed in.
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
