#include "report_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace Tarvo::Motiond {

ReportQueue::ReportQueue(size_t capacity)
    : capacity_(capacity), fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    reports_.reserve(capacity_);
}

ReportQueue::~ReportQueue()
{
    if (fd_ >= 0) {
        close(fd_);
    }
}

int ReportQueue::OnMotionChanged(const Quil::MotionData& data)
{
    bool wasEmpty = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (reports_.size() >= capacity_) {
            refused_.fetch_add(1);
            return -1;
        }
        wasEmpty = reports_.empty();
        reports_.push_back(data);
    }
    // Only the first report of a batch wakes the bus thread, which takes them all.
    if (wasEmpty) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(fd_, &one, sizeof(one));
    }
    return 0;
}

void ReportQueue::TakeAll(std::vector<Quil::MotionData>& out)
{
    uint64_t count = 0;
    // Read before taking: a report queued after this read wakes the thread again.
    [[maybe_unused]] const ssize_t read = ::read(fd_, &count, sizeof(count));
    out.clear();
    std::lock_guard<std::mutex> lock(mutex_);
    out.swap(reports_);
    reports_.reserve(capacity_);
}

}  // namespace Tarvo::Motiond
