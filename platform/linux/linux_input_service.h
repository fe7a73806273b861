// The input service on Linux: pointer monitors, and a platform thread that reads the
// touchscreen while any monitor is installed, decodes its fingers, scales them to the
// display and hands each event to every monitor.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "input_manager.h"
#include "linux_platform.h"

namespace Tarvo::Linux {

class LinuxInputService {
public:
    static LinuxInputService& Instance();

    // Installs the monitor even without a usable touchscreen (that is reported once),
    // as a service that merely has nothing to deliver.
    int32_t AddMonitor(MMI::PointerMonitor monitor);
    // After it returns, the monitor is not running and will not be called again.
    void RemoveMonitor(int32_t monitorId);

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
    std::condition_variable delivered_;
    std::map<int32_t, MMI::PointerMonitor> monitors_;
    int32_t nextId_ = 1;
    std::set<std::string> reported_;
    bool delivering_ = false;
    std::thread::id readerId_;
    std::unique_ptr<std::thread> reader_;
    int wakeFd_ = -1;
};

}  // namespace Tarvo::Linux
