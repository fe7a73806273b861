// The simulated input service: pointer monitors with their ids, and delivery of touch
// events on the service's own thread to every installed monitor.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "input_manager.h"

namespace Tarvo::Host {

class HostInputService {
public:
    static HostInputService& Instance();

    int32_t AddMonitor(MMI::PointerMonitor monitor);
    // After it returns, the monitor is not running and will not be called again.
    void RemoveMonitor(int32_t monitorId);

    void SetMonitorId(int32_t monitorId);
    void Inject(std::shared_ptr<MMI::PointerEvent> event);
    // On: each event is delivered on the injecting thread, after whatever is still
    // queued, one delivery at a time, as the service's own thread would.
    void SetInlineDelivery(bool on);
    int InstalledMonitorCount();
    void Reset();

private:
    HostInputService() = default;
    void DeliveryLoop();
    void DeliverHere(std::shared_ptr<MMI::PointerEvent> event);
    // Copies the monitors to call and marks a delivery in flight on this thread.
    std::vector<MMI::PointerMonitor>& BeginDeliveryLocked();
    // Calls them, then drops the copies and the event before the delivery counts as over.
    // `queued`: it came through the queue and was counted for WaitIdle.
    void Deliver(std::shared_ptr<MMI::PointerEvent>& event, bool queued, bool yieldAfter);

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable delivered_;
    std::map<int32_t, MMI::PointerMonitor> monitors_;
    int32_t nextId_ = 1;
    std::optional<int32_t> fixedId_;
    std::deque<std::shared_ptr<MMI::PointerEvent>> queue_;
    std::vector<MMI::PointerMonitor> calling_;  // the delivery thread's, reused
    std::atomic<bool> inline_{false};
    bool delivering_ = false;
    std::thread::id deliveringThread_;  // the one in flight, if any
    std::unique_ptr<std::thread> thread_;
};

}  // namespace Tarvo::Host
