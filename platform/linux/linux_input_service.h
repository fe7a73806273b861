// The input service on Linux: pointer monitors, and a platform thread that reads the
// touchscreen while any monitor is installed, decodes its fingers, scales them to the
// display and hands each event to every monitor.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "delivery_gate.h"
#include "input_manager.h"
#include "linux_platform.h"
#include "monitor_registry.h"
#include "service_seam.h"

namespace Tarvo::Linux {

class LinuxInputService : public Platform::InputService {
public:
    static LinuxInputService& Instance();

    // Installs the monitor even without a usable touchscreen (that is reported once),
    // as a service that merely has nothing to deliver.
    int32_t AddMonitor(MMI::PointerMonitor monitor) override;
    void RemoveMonitor(int32_t monitorId) override;

    // The touchscreen that would be opened now; empty when there is none.
    std::string FindTouchscreen();

private:
    LinuxInputService() = default;
    void StartReaderLocked();
    void StopReader(std::unique_lock<std::mutex>& lock);
    void ReadLoop(std::string path, int wakeFd);
    void Deliver(const std::vector<TouchRecord>& touches);
    void ReportOnce(int level, const std::string& message);
    static std::string NoTouchscreenMessage(const std::string& dir,
                                            const std::vector<std::string>& problems);

    std::mutex mutex_;
    Platform::MonitorRegistry monitors_;
    std::set<std::string> reported_;
    Platform::DeliveryGate gate_;
    std::vector<MMI::PointerMonitor> calling_;  // the delivery in flight's, reused
    std::unique_ptr<std::thread> reader_;
    int wakeFd_ = -1;
};

}  // namespace Tarvo::Linux
