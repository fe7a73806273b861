#include "pointer_input_connection.h"

#include "input_manager.h"
#include "motion_log.h"
#include "thread_support.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "PointerInputConnection";
constexpr int32_t kIllegalMonitorId = -2;
}  // namespace

PointerInputConnection::PointerInputConnection()
{
    if (SemInit(&sem_, 0, 0) != 0) {
        // Without a semaphore no worker is ever started.
        MLOGE("sem init failed");
        return;
    }
    running_ = true;
}

PointerInputConnection::~PointerInputConnection()
{
    // A monitor left installed would call into a destroyed connection.
    if (monitored_) {
        MMI::InputManager::GetInstance()->RemoveMonitor(monitorId_);
    }
    running_ = false;
    SemPost(&sem_);
    // The worker exists only once input was subscribed.
    if (thread_ != nullptr && thread_->joinable()) {
        thread_->join();
    }
    thread_.reset();
    SemDestroy(&sem_);
}

int PointerInputConnection::SubscribePointerInput()
{
    MLOGD("enter");
    if (running_) {
        // Replacing a running std::thread would terminate the process; keep the worker
        // that is already there (the manager subscribes only once anyway).
        if (thread_ == nullptr) {
            thread_ = std::make_shared<std::thread>([this] { AlgorithmLoop(); });
        }
    }
    monitorId_ = MMI::InputManager::GetInstance()->AddMonitor(
        [this](std::shared_ptr<MMI::PointerEvent> pointerEvent) {
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
            PushData(event);
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
    running_ = false;
    return 0;
}

int PointerInputConnection::SubscribePointerEvent(std::function<void(PointerEvent)> callback)
{
    callback_ = std::move(callback);
    return 0;
}

int PointerInputConnection::UnsubscribePointerEvent()
{
    callback_ = nullptr;
    return 0;
}

void PointerInputConnection::PushData(PointerEvent event)
{
    MLOGD("enter");
    {
        std::lock_guard<std::mutex> lock(mutex_);
        pointerEvent_ = std::move(event);
        events_.push_back(pointerEvent_);
    }
    // Posted after unlocking: the woken worker takes the same lock first thing.
    SemPost(&sem_);
}

void PointerInputConnection::NotifyPointerEvent()
{
    MLOGD("enter");
    if (!callback_) {
        // The record stays queued and is handled at a later wake-up, one behind.
        MLOGE("callback is nullptr");
        return;
    }
    PointerEvent event;
    {
        // Taken here as well: the service's thread appends while the worker pops.
        std::lock_guard<std::mutex> lock(mutex_);
        if (events_.empty()) {
            return;
        }
        event = events_.front();
        events_.pop_front();
    }
    callback_(std::move(event));
}

void PointerInputConnection::AlgorithmLoop()
{
    if (!SetThreadName(std::string("os_mot_poi_con"))) {
        MLOGE("SetThreadName std::string(\"os_mot_poi_con\") failed");
    }
    MLOGD("enter");
    // The flag is tested after each wake-up, the first one included: an unsubscribe that
    // races the thread's start then parks the worker until destruction, as it does
    // otherwise, instead of letting it end before it ever waited.
    do {
        SemWait(&sem_);
        NotifyPointerEvent();
    } while (running_);
}

}  // namespace Tarvo::Quil
