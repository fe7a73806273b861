// The input service on Linux: pointer monitors, and a platform thread that reads the
// touchscreen the device watcher found while any monitor is installed, decodes its
// fingers, scales them to the display and hands each event to every monitor. With a
// scripted touchscreen nothing is read: the host plays the touches.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "delivery_gate.h"
#include "evdev_touchscreen.h"
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

    // The touchscreen to use now: the one named in the settings if it can be read, or
    // the first among `nodes` (the event nodes in `dir`). Empty, with `whyNone` saying
    // why, when there is none.
    std::string Search(const std::vector<EvdevTouchscreen::Node>& nodes, const std::string& dir,
                       std::string& whyNone);
    // The touchscreen to read from now on ("" for none, and why). A change is picked up
    // at once: fingers still down on the old one are lifted.
    void UseTouchscreen(const std::string& path, const std::string& whyNone);
    // No node is opened from now on; only played touches arrive.
    void UseScriptedTouchscreen();
    // Hands a played touch to the monitors on this thread; false when the touchscreen is
    // not scripted or this thread is delivering already.
    bool Play(const TouchRecord& touch);

private:
    LinuxInputService() = default;
    void StartLocked();
    void WakeLocked();
    void ReadLoop(int wakeFd);
    // The node the reader should have open now; empty for none.
    std::string WantedLocked() const;
    void Deliver(const std::vector<TouchRecord>& touches);
    void ReportOnce(int level, const std::string& message);
    static std::string NoTouchscreenMessage(const std::string& dir,
                                            const std::vector<std::string>& problems);

    std::mutex mutex_;
    Platform::MonitorRegistry monitors_;
    std::set<std::string> reported_;
    Platform::DeliveryGate gate_;
    std::vector<MMI::PointerMonitor> calling_;  // the delivery in flight's, reused
    bool scripted_ = false;
    std::string touchscreen_;
    std::string whyNone_;
    // A node that could not be opened or stopped working: not tried again until it
    // comes back or a monitor is added anew.
    std::string broken_;
    std::string gone_;  // the node whose going away was reported, until it is back
    // Started with the first monitor; waits without a timeout when there is nothing to
    // read, and lasts as long as the process.
    std::unique_ptr<std::thread> reader_;
    int wakeFd_ = -1;
};

}  // namespace Tarvo::Linux
