// The plug-in's callback in the service: takes each report on the library's worker
// thread and hands it to the bus thread through a bounded queue and an eventfd. A worker
// never waits for the bus or for a client: when the queue is full the report is refused
// (a device motion is then offered again on its next recognition).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "i_motion_algo.h"

namespace Tarvo::Motiond {

class ReportQueue : public Quil::IMotionAlgo::Callback {
public:
    static constexpr size_t kCapacity = 4096;

    explicit ReportQueue(size_t capacity = kCapacity);
    ~ReportQueue() override;
    ReportQueue(const ReportQueue&) = delete;
    ReportQueue& operator=(const ReportQueue&) = delete;

    // On a worker thread: 0 when queued, -1 when the queue is full.
    int OnMotionChanged(const Quil::MotionData& data) override;

    // Readable while reports wait; -1 when no eventfd could be made.
    int Fd() const { return fd_; }
    // On the bus thread: every waiting report, oldest first, into `out` (emptied first).
    void TakeAll(std::vector<Quil::MotionData>& out);
    // Reports refused because the queue was full, since the last call.
    uint64_t TakeRefused() { return refused_.exchange(0); }

private:
    const size_t capacity_;
    const int fd_;
    std::mutex mutex_;
    std::vector<Quil::MotionData> reports_;
    std::atomic<uint64_t> refused_{0};
};

}  // namespace Tarvo::Motiond
