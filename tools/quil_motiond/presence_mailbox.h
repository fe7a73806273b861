// Hands what the Linux layer finds present (told on one of its threads, at any time) to
// the bus thread: the latest value wins, and an eventfd wakes the thread.
#pragma once

#include <mutex>
#include <optional>

#include "linux_platform.h"

namespace Tarvo::Motiond {

class PresenceMailbox {
public:
    PresenceMailbox();
    ~PresenceMailbox();
    PresenceMailbox(const PresenceMailbox&) = delete;
    PresenceMailbox& operator=(const PresenceMailbox&) = delete;

    // Any thread.
    void Post(const Linux::DevicePresence& presence);
    // Readable while a value waits; -1 when no eventfd could be made.
    int Fd() const { return fd_; }
    // The bus thread: the latest value posted since the last call, if any.
    std::optional<Linux::DevicePresence> Take();

private:
    const int fd_;
    std::mutex mutex_;
    std::optional<Linux::DevicePresence> latest_;
};

}  // namespace Tarvo::Motiond
