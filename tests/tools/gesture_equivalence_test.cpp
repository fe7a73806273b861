// The gesture machine reuses one object per state so that a touch does not allocate.
// Its output must be byte for byte what a machine making a new object per transition
// gives: generated traces that chain gestures of every kind, with fingers added and
// lifted in every state, stray fingers and device motions in between, are played
// through the plug-in as built and through one built with new state objects.
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "gesture_trace_generator.h"
#include "plugin_loader.h"
#include "replay_capture.h"
#include "trace_parser.h"

namespace Tarvo::Replay::Test {
namespace {

TEST(GestureEquivalenceTest, ReusedStateObjectsPrintWhatNewOnesPrint)
{
    PluginLoader reused;
    PluginLoader fresh;
    std::string error;
    ASSERT_TRUE(reused.Load(QUIL_PLUGIN_PATH, error)) << error;
    ASSERT_TRUE(fresh.Load(QUIL_FRESH_STATES_PLUGIN_PATH, error)) << error;

    // What the traces reached, so that a generator that stops reaching a transition or
    // a gesture's end is noticed rather than trusted: the gesture manager logs the
    // state after every event.
    std::set<std::pair<int, int>> transitions;
    std::set<std::string> reports;

    for (uint32_t seed = 1; seed <= QUIL_EQUIVALENCE_TRACES; ++seed) {
        const std::string text = GestureTraceGenerator(seed).Generate();
        std::vector<TraceRecord> records;
        ASSERT_TRUE(TraceParser::ParseText("generated", text, records, error)) << error << text;
        // With the debug log: every transition and measurement, not only the reports.
        const std::string expected = CaptureReplay(fresh, records, ReplayForm::DEBUG_LOG, false);
        const std::string got = CaptureReplay(reused, records, ReplayForm::DEBUG_LOG, false);
        ASSERT_EQ(got, expected) << "seed " << seed << ":\n" << text;

        std::istringstream lines(expected);
        int state = 0;  // STATE_IDLE
        for (std::string line; std::getline(lines, line);) {
            const size_t next = line.find("/AlgoGestureManager: in GetPointerInfo, next state:");
            if (next != std::string::npos) {
                const int to = std::atoi(line.c_str() + line.rfind(':') + 1);
                if (to != state) {
                    transitions.insert({state, to});
                    state = to;
                }
            } else if (line.rfind("report type:", 0) == 0) {
                // "report type:T result:R ..." -> "T:R"
                reports.insert(line.substr(12, line.find(" status:") - 12));
            }
        }
    }

    // Every gesture started and finished; every transition the machine can make was made.
    for (const char* gesture : {"9", "10", "11", "12", "13"}) {
        EXPECT_EQ(reports.count(std::string(gesture) + " result:1"), 1U)
            << "no start of " << gesture;
        EXPECT_EQ(reports.count(std::string(gesture) + " result:2"), 1U) << "no end of " << gesture;
    }
    // 49 transitions in the state table, and a lone finger 0 coming down again while
    // finger 0 moves.
    EXPECT_GE(transitions.size(), 50U) << testing::PrintToString(transitions);
}

}  // namespace
}  // namespace Tarvo::Replay::Test
