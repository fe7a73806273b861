#include "bus_loop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Tarvo::Tools::Bus {

BusLoop::BusLoop(sdbus::IConnection& connection)
    : connection_(connection), stopFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

BusLoop::~BusLoop()
{
    if (stopFd_ >= 0) {
        close(stopFd_);
    }
}

void BusLoop::Watch(int fd, std::function<void()> onReadable)
{
    watches_.emplace_back(fd, std::move(onReadable));
}

void BusLoop::Stop()
{
    const uint64_t one = 1;
    // Only fails when the counter is full, and it is then readable anyway.
    [[maybe_unused]] const ssize_t written = write(stopFd_, &one, sizeof(one));
}

bool BusLoop::Run(std::string& error)
{
    if (stopFd_ < 0) {
        error = std::string("cannot make an eventfd: ") + std::strerror(errno);
        return false;
    }
    std::vector<pollfd> fds(2 + watches_.size());
    fds[1] = {stopFd_, POLLIN, 0};
    for (size_t i = 0; i < watches_.size(); ++i) {
        fds[2 + i] = {watches_[i].first, POLLIN, 0};
    }
    try {
        for (;;) {
            // Everything the connection has already read (a call made inside a handler
            // reads ahead) is handled before waiting on its descriptor.
            while (connection_.processPendingRequest()) {
            }
            const sdbus::IConnection::PollData data = connection_.getEventLoopPollData();
            fds[0] = {data.fd, data.events, 0};
            if (poll(fds.data(), fds.size(), data.getPollTimeout()) < 0) {
                if (errno == EINTR) {
                    continue;
                }
                error = std::string("poll: ") + std::strerror(errno);
                return false;
            }
            if (fds[1].revents != 0) {
                return true;
            }
            for (size_t i = 0; i < watches_.size(); ++i) {
                if (fds[2 + i].revents != 0) {
                    watches_[i].second();
                }
            }
            if ((fds[0].revents & (POLLHUP | POLLERR)) != 0) {
                // What is still buffered is handled; then the connection reports its end.
                while (connection_.processPendingRequest()) {
                }
                error = "the connection was closed";
                return false;
            }
        }
    } catch (const sdbus::Error& failure) {
        error = failure.getMessage();
        return false;
    }
}

}  // namespace Tarvo::Tools::Bus
