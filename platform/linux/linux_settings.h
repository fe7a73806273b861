// The layer's settings and observers, as the host program left them.
#pragma once

#include <mutex>
#include <string>

#include "linux_platform.h"

namespace Tarvo::Linux {

class LinuxSettings {
public:
    static LinuxSettings& Instance();

    std::string SysfsRoot();
    void SetSysfsRoot(const std::string& root);
    std::string TouchDevice();
    void SetTouchDevice(const std::string& path);
    DisplaySize Display();
    void SetDisplay(DisplaySize size);

    void SetSampleObserver(std::function<void(const SampleRecord&)> observer);
    void SetTouchObserver(std::function<void(const TouchRecord&)> observer);
    // Observers run under their own lock, so one can be replaced while others deliver.
    void ObserveSample(const SampleRecord& record);
    void ObserveTouch(const TouchRecord& record);

private:
    LinuxSettings() = default;

    std::mutex mutex_;
    std::string sysfsRoot_ = "/sys";
    std::string touchDevice_;
    DisplaySize display_;
    std::mutex observerMutex_;
    std::function<void(const SampleRecord&)> sampleObserver_;
    std::function<void(const TouchRecord&)> touchObserver_;
};

}  // namespace Tarvo::Linux
