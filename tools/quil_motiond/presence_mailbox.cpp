#include "presence_mailbox.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace Tarvo::Motiond {

PresenceMailbox::PresenceMailbox() : fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

PresenceMailbox::~PresenceMailbox()
{
    if (fd_ >= 0) {
        close(fd_);
    }
}

void PresenceMailbox::Post(const Linux::DevicePresence& presence)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        latest_ = presence;
    }
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(fd_, &one, sizeof(one));
}

std::optional<Linux::DevicePresence> PresenceMailbox::Take()
{
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t read = ::read(fd_, &count, sizeof(count));
    std::lock_guard<std::mutex> lock(mutex_);
    std::optional<Linux::DevicePresence> taken;
    taken.swap(latest_);
    return taken;
}

}  // namespace Tarvo::Motiond
