#include "pointer_input_connection.h"

#include "input_manager.h"
#include "motion_log.h"
#include "thread_reaper.h"
#include "thread_support.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "PointerInputConnection";
constexpr int32_t kIllegalMonitorId = -2;
}  // namespace

PointerInputConnection::PointerInputConnection() : channel_(std::make_shared<Channel>())
{
    if (SemInit(&channel_->sem, 0, 0) != 0) {
        // Without a semaphore no worker is ever started.
        MLOGE("sem init failed");
        return;
    }
    channel_->semReady = true;
    channel_->running = true;
}

PointerInputConnection::~PointerInputConnection()
{
    // A monitor left installed would call into a destroyed connection.
    if (monitored_) {
        MMI::InputManager::GetInstance()->RemoveMonitor(monitorId_);
    }
    {
        std::lock_guard<std::mutex> lock(channel_->lifeMutex);
        channel_->running = false;
    }
    if (channel_->semReady) {
        SemPost(&channel_->sem);
    }
    // The worker exists only once input was subscribed.
    if (thread_ != nullptr && thread_->joinable()) {
        if (std::this_thread::get_id() == thread_->get_id()) {
            // It holds the channel and ends after this report, still in our code: it is
            // joined later, before the library can be unloaded.
            ThreadReaper::Adopt(std::move(*thread_));
        } else {
            thread_->join();
        }
    }
    thread_.reset();
}

PointerInputConnection::Channel::~Channel()
{
    if (semReady) {
        SemDestroy(&sem);
    }
}

void PointerInputConnection::StartWorkerIfNeeded()
{
    bool start = false;
    {
        std::lock_guard<std::mutex> lock(channel_->lifeMutex);
        if (!channel_->semReady) {
            return;
        }
        // Subscribing again after an unsubscription revives the worker: a parked one
        // simply keeps looping, one that already ended is replaced below.
        channel_->running = true;
        start = channel_->workerDone;
        channel_->workerDone = false;
    }
    if (!start) {
        return;
    }
    if (thread_ != nullptr && thread_->joinable()) {
        thread_->join();  // already past its loop
    }
    thread_ = std::make_shared<std::thread>([channel = channel_] { AlgorithmLoop(channel); });
}

int PointerInputConnection::SubscribePointerInput()
{
    MLOGD("enter");
    StartWorkerIfNeeded();
    if (monitored_) {
        // One monitor per connection: a second would deliver every event twice.
        MMI::InputManager::GetInstance()->RemoveMonitor(monitorId_);
    }
    // A plain pointer: the monitor is removed (and a delivery in flight waited out)
    // before the channel can go, and a small trivially copyable capture keeps the
    // service's copies of the monitor off the heap.
    Channel* channel = channel_.get();
    monitorId_ = MMI::InputManager::GetInstance()->AddMonitor(
        [channel](std::shared_ptr<MMI::PointerEvent> pointerEvent) {
            QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "operator()", "enter");
            if (pointerEvent == nullptr) {
                return;
            }
            PointerEvent event;
            event.pointerId = pointerEvent->GetPointerId();
            event.pointerAction = pointerEvent->GetPointerAction();
            event.pointerIds = pointerEvent->GetPointerIds();
            MMI::PointerEvent::PointerItem item;
            if (!pointerEvent->GetPointerItem(event.pointerId, item)) {
                QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, "operator()", "failed to get pointer item");
                return;
            }
            event.x = item.GetDisplayX();
            event.y = item.GetDisplayY();
            if (PlatformLogIsLoggable(kMotionLogDomain, kLogTag, LOG_LEVEL_DEBUG)) {
                QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "operator()", "%{public}s",
                         event.Dump().c_str());
            }
            channel->Push(std::move(event));
        });
    monitored_ = true;
    // Only -2 is the service's "illegal" answer; other ids, negative ones included,
    // count as installed.
    if (monitorId_ == kIllegalMonitorId) {
        MLOGE("monitorId is illegal");
        return -1;
    }
    return 0;
}

int PointerInputConnection::UnsubscribePointerInput()
{
    MMI::InputManager::GetInstance()->RemoveMonitor(monitorId_);
    monitored_ = false;
    std::lock_guard<std::mutex> lock(channel_->lifeMutex);
    channel_->running = false;
    return 0;
}

int PointerInputConnection::SubscribePointerEvent(std::function<void(PointerEvent)> callback)
{
    std::shared_ptr<const Subscriber> subscriber;
    if (callback) {
        subscriber = std::make_shared<const Subscriber>(std::move(callback));
    }
    std::atomic_store(&channel_->callback, std::move(subscriber));
    return 0;
}

int PointerInputConnection::UnsubscribePointerEvent()
{
    std::atomic_store(&channel_->callback, std::shared_ptr<const Subscriber>());
    return 0;
}

void PointerInputConnection::PushData(PointerEvent event)
{
    channel_->Push(std::move(event));
}

void PointerInputConnection::NotifyPointerEvent()
{
    channel_->Notify();
}

void PointerInputConnection::Channel::Push(PointerEvent event)
{
    QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "PushData", "enter");
    {
        std::lock_guard<std::mutex> lock(mutex);
        pointerEvent = std::move(event);
        events.push_back(pointerEvent);
    }
    // Posted after unlocking: the woken worker takes the same lock first thing.
    SemPost(&sem);
}

void PointerInputConnection::Channel::Notify()
{
    QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "NotifyPointerEvent", "enter");
    // Our own reference: the subscriber may be dropped while it runs.
    const std::shared_ptr<const Subscriber> subscriber = std::atomic_load(&callback);
    if (subscriber == nullptr) {
        // The record stays queued and is handled at a later wake-up, one behind.
        QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, "NotifyPointerEvent", "callback is nullptr");
        return;
    }
    if (taken.empty()) {
        // Taken here as well: the service's thread appends while the worker pops. Both
        // rings keep their storage, so a steady stream allocates nothing.
        std::lock_guard<std::mutex> lock(mutex);
        if (events.empty()) {
            return;
        }
        std::swap(events, taken);
    }
    PointerEvent event = std::move(taken.front());
    taken.pop_front();
    (*subscriber)(std::move(event));
}

bool PointerInputConnection::Channel::KeepRunning()
{
    // While running, nothing is decided here: seeing a stop one round late only costs
    // one more wait. Ending must be one step with marking the worker done.
    if (running.load()) {
        return true;
    }
    std::lock_guard<std::mutex> lock(lifeMutex);
    if (running) {
        return true;
    }
    workerDone = true;
    return false;
}

void PointerInputConnection::AlgorithmLoop(const std::shared_ptr<Channel>& channel)
{
    if (!SetThreadName(std::string("os_mot_poi_con"))) {
        MLOGE("SetThreadName std::string(\"os_mot_poi_con\") failed");
    }
    MLOGD("enter");
    // The flag is tested after each wake-up, the first one included: an unsubscribe that
    // races the thread's start then parks the worker until destruction, as it does
    // otherwise, instead of letting it end before it ever waited.
    do {
        SemWait(&channel->sem);
        channel->Notify();
    } while (channel->KeepRunning());
}

}  // namespace Tarvo::Quil
