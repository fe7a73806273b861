#include "linux_settings.h"

namespace Tarvo::Linux {

LinuxSettings& LinuxSettings::Instance()
{
    // Never destroyed: platform threads may still read settings at process exit.
    static LinuxSettings* instance = new LinuxSettings;
    return *instance;
}

std::string LinuxSettings::SysfsRoot()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return sysfsRoot_;
}

void LinuxSettings::SetSysfsRoot(const std::string& root)
{
    std::lock_guard<std::mutex> lock(mutex_);
    sysfsRoot_ = root;
}

std::string LinuxSettings::TouchDevice()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return touchDevice_;
}

void LinuxSettings::SetTouchDevice(const std::string& path)
{
    std::lock_guard<std::mutex> lock(mutex_);
    touchDevice_ = path;
}

DisplaySize LinuxSettings::Display()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return display_;
}

void LinuxSettings::SetDisplay(DisplaySize size)
{
    std::lock_guard<std::mutex> lock(mutex_);
    display_ = size;
}

void LinuxSettings::SetSampleObserver(std::function<void(const SampleRecord&)> observer)
{
    std::lock_guard<std::mutex> lock(observerMutex_);
    sampleObserver_ = std::move(observer);
}

void LinuxSettings::SetTouchObserver(std::function<void(const TouchRecord&)> observer)
{
    std::lock_guard<std::mutex> lock(observerMutex_);
    touchObserver_ = std::move(observer);
}

void LinuxSettings::ObserveSample(const SampleRecord& record)
{
    std::lock_guard<std::mutex> lock(observerMutex_);
    if (sampleObserver_) {
        sampleObserver_(record);
    }
}

void LinuxSettings::ObserveTouch(const TouchRecord& record)
{
    std::lock_guard<std::mutex> lock(observerMutex_);
    if (touchObserver_) {
        touchObserver_(record);
    }
}

}  // namespace Tarvo::Linux
