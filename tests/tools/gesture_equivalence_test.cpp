// The gesture machine reuses one object per state so that a touch does not allocate.
// Its output must be byte for byte what a machine making a new object per transition
// gives: generated traces that chain gestures of every kind, with fingers added and
// lifted in every state, stray fingers and device motions in between, are played
// through the plug-in as built and through one built with new state objects.
#include <gtest/gtest.h>

#include <regex>
#include <set>
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
    const std::regex next("/AlgoGestureManager: in GetPointerInfo, next state:(\\d+)");
    const std::regex report("report type:(\\d+) result:(-?\\d+)");

    for (uint32_t seed = 1; seed <= QUIL_EQUIVALENCE_TRACES; ++seed) {
        const std::string text = GestureTraceGenerator(seed).Generate();
        std::vector<TraceRecord> records;
        ASSERT_TRUE(TraceParser::ParseText("generated", text, records, error)) << error << text;
        // With the debug log: every transition and measurement, not only the reports.
        const std::string expected = CaptureReplay(fresh, records, ReplayForm::DEBUG_LOG, false);
        const std::string got = CaptureReplay(reused, records, ReplayForm::DEBUG_LOG, false);
        ASSERT_EQ(got, expected) << "seed " << seed << ":\n" << text;

        int state = 0;  // STATE_IDLE
        for (std::sregex_iterator it(expected.begin(), expected.end(), next), end; it != end;
             ++it) {
            const int to = std::stoi((*it)[1].str());
            if (to != state) {
                transitions.insert({state, to});
                state = to;
            }
        }
        for (std::sregex_iterator it(expected.begin(), expected.end(), report), end; it != end;
             ++it) {
            reports.insert((*it)[1].str() + ":" + (*it)[2].str());
        }
    }

    // Every gesture started and finished; every transition the machine can make was made.
    for (const char* gesture : {"9", "10", "11", "12", "13"}) {
        EXPECT_EQ(reports.count(std::string(gesture) + ":1"), 1U) << "no start of " << gesture;
        EXPECT_EQ(reports.count(std::string(gesture) + ":2"), 1U) << "no end of " << gesture;
    }
    // 49 transitions in the state table, and a lone finger 0 coming down again while
    // finger 0 moves.
    EXPECT_GE(transitions.size(), 50U) << testing::PrintToString(transitions);
}

}  // namespace
}  // namespace Tarvo::Replay::Test
