#include "report_queue.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <thread>

namespace Tarvo::Motiond {
namespace {

bool Readable(int fd)
{
    pollfd entry{fd, POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

Quil::MotionData Report(int32_t type, int32_t result)
{
    Quil::MotionData data;
    data.type = type;
    data.result = result;
    return data;
}

TEST(ReportQueueTest, ReportsWakeTheBusThreadAndArriveInOrder)
{
    ReportQueue queue(8);
    ASSERT_GE(queue.Fd(), 0);
    EXPECT_FALSE(Readable(queue.Fd()));
    EXPECT_EQ(queue.OnMotionChanged(Report(3, 1)), 0);
    EXPECT_EQ(queue.OnMotionChanged(Report(3, 0)), 0);
    EXPECT_TRUE(Readable(queue.Fd()));
    std::vector<Quil::MotionData> taken;
    queue.TakeAll(taken);
    ASSERT_EQ(taken.size(), 2u);
    EXPECT_EQ(taken[0].result, 1);
    EXPECT_EQ(taken[1].result, 0);
    EXPECT_FALSE(Readable(queue.Fd()));
    queue.TakeAll(taken);
    EXPECT_TRUE(taken.empty());
}

TEST(ReportQueueTest, AFullQueueRefusesInsteadOfWaiting)
{
    ReportQueue queue(2);
    EXPECT_EQ(queue.OnMotionChanged(Report(3, 1)), 0);
    EXPECT_EQ(queue.OnMotionChanged(Report(3, 0)), 0);
    EXPECT_EQ(queue.OnMotionChanged(Report(3, 1)), -1);
    EXPECT_EQ(queue.TakeRefused(), 1u);
    EXPECT_EQ(queue.TakeRefused(), 0u);
    std::vector<Quil::MotionData> taken;
    queue.TakeAll(taken);
    EXPECT_EQ(queue.OnMotionChanged(Report(4, 1)), 0);
}

// Two workers report while the bus thread takes: nothing lost, and every report finds
// the descriptor readable until it has been taken.
TEST(ReportQueueTest, NothingIsLostBetweenWorkersAndTheBusThread)
{
    ReportQueue queue(ReportQueue::kCapacity);
    constexpr int kEach = 20000;
    std::atomic<int> refused{0};
    auto worker = [&](int32_t type) {
        for (int i = 0; i < kEach; ++i) {
            while (queue.OnMotionChanged(Report(type, i)) != 0) {
                refused.fetch_add(1);
                std::this_thread::yield();
            }
        }
    };
    std::thread a(worker, 3);
    std::thread b(worker, 9);
    int taken = 0;
    int next[16] = {};
    std::vector<Quil::MotionData> batch;
    while (taken < 2 * kEach) {
        pollfd entry{queue.Fd(), POLLIN, 0};
        ASSERT_EQ(poll(&entry, 1, 5000), 1) << "a report was queued without a wake-up";
        queue.TakeAll(batch);
        for (const Quil::MotionData& data : batch) {
            ASSERT_EQ(data.result, next[data.type]++);
        }
        taken += static_cast<int>(batch.size());
    }
    a.join();
    b.join();
    EXPECT_EQ(taken, 2 * kEach);
}

}  // namespace
}  // namespace Tarvo::Motiond
