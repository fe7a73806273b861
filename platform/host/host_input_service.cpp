#include "host_input_service.h"

#include <vector>

#include "wake_batch.h"
#include "worker_tracker.h"

namespace Tarvo::Host {

HostInputService& HostInputService::Instance()
{
    // Never destroyed, like the service it stands in for.
    static HostInputService* instance = new HostInputService;
    return *instance;
}

int32_t HostInputService::AddMonitor(MMI::PointerMonitor monitor)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return monitors_.Add(std::move(monitor));
}

void HostInputService::RemoveMonitor(int32_t monitorId)
{
    std::unique_lock<std::mutex> lock(mutex_);
    // A delivery in flight may still be inside the monitor: wait it out.
    if (monitors_.Remove(monitorId)) {
        gate_.WaitOut(lock);
    }
}

void HostInputService::SetMonitorId(int32_t monitorId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    monitors_.FixId(monitorId);
}

void HostInputService::Inject(std::shared_ptr<MMI::PointerEvent> event)
{
    if (inline_.load(std::memory_order_relaxed)) {
        DeliverHere(std::move(event));
        return;
    }
    WorkerTracker::Instance().DeliveryQueued();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        queue_.push_back(std::move(event));
        if (thread_ == nullptr) {
            thread_ = std::make_unique<std::thread>([this] { DeliveryLoop(); });
            thread_->detach();  // lives as long as the (never destroyed) service
        }
    }
    wake_.notify_one();
}

void HostInputService::SetInlineDelivery(bool on)
{
    inline_.store(on, std::memory_order_relaxed);
}

void HostInputService::BeginDeliveryLocked()
{
    monitors_.CopyInto(calling_);
    gate_.Begin();
}

void HostInputService::Deliver(std::shared_ptr<MMI::PointerEvent>& event, bool queued,
                               bool yieldAfter)
{
    std::vector<MMI::PointerMonitor>& monitors = calling_;
    WorkerTracker::Instance().BeforeDelivery();
    for (const auto& monitor : monitors) {
        monitor(event);
    }
    if (yieldAfter) {
        // The library's worker has just been woken, often onto this very core: let it
        // run before this thread's bookkeeping, as a service that hands off and sleeps
        // would. Within a burst the worker is busy anyway.
        std::this_thread::yield();
    }
    // The copies go before the delivery counts as over: their code may belong to a
    // module that is unloaded as soon as RemoveMonitor returns.
    monitors.clear();
    event.reset();
    bool more = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        gate_.End();
        more = !queue_.empty();
    }
    if (!queued && more) {
        wake_.notify_one();  // the service's thread waited for this inline delivery
    }
    if (queued) {  // an inline delivery was not counted for WaitIdle
        WorkerTracker::Instance().DeliveryDone();
    }
}

void HostInputService::DeliverHere(std::shared_ptr<MMI::PointerEvent> event)
{
    {
        std::unique_lock<std::mutex> lock(mutex_);
        gate_.WaitIdle(lock, [this] { return queue_.empty(); });
        BeginDeliveryLocked();
    }
    // The caller goes on to its own work, so no yield: the worker takes the other core
    // or this one once the caller waits.
    const WakeBatch::Delivery delivery;
    Deliver(event, false, false);
}

void HostInputService::DeliveryLoop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return !queue_.empty() && !gate_.Busy(); });
        std::shared_ptr<MMI::PointerEvent> event = std::move(queue_.front());
        queue_.pop_front();
        BeginDeliveryLocked();
        const bool drained = queue_.empty();
        lock.unlock();
        Deliver(event, true, drained);
        lock.lock();
    }
}

int HostInputService::InstalledMonitorCount()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(monitors_.Count());
}

void HostInputService::Reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    monitors_.Clear();
}

}  // namespace Tarvo::Host
