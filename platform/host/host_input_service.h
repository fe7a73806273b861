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

#include "delivery_gate.h"
#include "input_manager.h"
#include "monitor_registry.h"
#include "service_seam.h"

namespace Tarvo::Host {

class HostInputService : public Platform::InputService {
public:
    static HostInputService& Instance();

    int32_t AddMonitor(MMI::PointerMonitor monitor) override;
    void RemoveMonitor(int32_t monitorId) override;

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
    void BeginDeliveryLocked();
    // Calls them, then drops the copies and the event before the delivery counts as over.
    // `queued`: it came through the queue and was counted for WaitIdle.
    void Deliver(std::shared_ptr<MMI::PointerEvent>& event, bool queued, bool yieldAfter);

    std::mutex mutex_;
    std::condition_variable wake_;
    Platform::MonitorRegistry monitors_;
    std::deque<std::shared_ptr<MMI::PointerEvent>> queue_;
    std::vector<MMI::PointerMonitor> calling_;  // the delivery in flight's, reused
    std::atomic<bool> inline_{false};
    Platform::DeliveryGate gate_;
    std::unique_ptr<std::thread> thread_;
};

}  // namespace Tarvo::Host
