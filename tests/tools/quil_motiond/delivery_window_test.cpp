#include "delivery_window.h"

#include <gtest/gtest.h>

namespace Tarvo::Motiond {
namespace {

// Offers `count` motions; returns how many were to be sent and how many pings asked for.
std::pair<uint64_t, uint64_t> Offer(DeliveryWindow& window, uint64_t count)
{
    std::pair<uint64_t, uint64_t> made{0, 0};
    for (uint64_t i = 0; i < count; ++i) {
        const DeliveryWindow::Decision decision = window.Offer();
        made.first += decision.send ? 1 : 0;
        made.second += decision.ping ? 1 : 0;
    }
    return made;
}

TEST(DeliveryWindowTest, AReadingClientGetsEverythingAndAPingNowAndThen)
{
    DeliveryWindow window;
    for (int round = 0; round < 100; ++round) {
        const auto [sent, pings] = Offer(window, DeliveryWindow::kPingEvery);
        ASSERT_EQ(sent, DeliveryWindow::kPingEvery);
        ASSERT_EQ(pings, 1u);
        window.Answered(true);
    }
    EXPECT_EQ(window.TakeDropped(), 0u);
    EXPECT_FALSE(window.Behind());
}

TEST(DeliveryWindowTest, AClientThatDoesNotReadGetsABoundedNumberThenResumesWhenItAnswers)
{
    DeliveryWindow window;
    const auto [sent, pings] = Offer(window, 10000);
    EXPECT_EQ(sent, DeliveryWindow::kMaxUnread);
    EXPECT_EQ(pings, 1u);  // one question at a time
    EXPECT_TRUE(window.Behind());
    EXPECT_EQ(window.TakeDropped(), 10000 - DeliveryWindow::kMaxUnread);
    EXPECT_EQ(window.TakeDropped(), 0u);

    // The answer covers what was sent before the ping only.
    window.Answered(true);
    EXPECT_FALSE(window.Behind());
    const auto [resent, repings] = Offer(window, 10000);
    EXPECT_EQ(resent, DeliveryWindow::kPingEvery);
    EXPECT_EQ(repings, 1u);
}

TEST(DeliveryWindowTest, AFailedPingIsAskedAgainAndProvesNothing)
{
    DeliveryWindow window;
    Offer(window, DeliveryWindow::kMaxUnread + 5);
    window.Answered(false);
    EXPECT_TRUE(window.Behind());
    const DeliveryWindow::Decision next = window.Offer();
    EXPECT_FALSE(next.send);
    EXPECT_TRUE(next.ping);
    window.Answered(true);
    EXPECT_FALSE(window.Behind());
}

}  // namespace
}  // namespace Tarvo::Motiond
