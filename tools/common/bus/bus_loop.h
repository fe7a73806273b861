// The event loop of a program on D-Bus. One thread waits on the connection and on
// descriptors of the program's own (a queue's eventfd, a stop request) with no timeout
// but those the connection asks for, so an idle program sleeps until something happens.
// Every handler, the connection's method and signal handlers included, runs on the
// thread that called Run.
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Tarvo::Tools::Bus {

class BusLoop {
public:
    explicit BusLoop(sdbus::IConnection& connection);
    ~BusLoop();
    BusLoop(const BusLoop&) = delete;
    BusLoop& operator=(const BusLoop&) = delete;

    // Calls `onReadable` whenever `fd` (not owned) is readable; it must read what is
    // there, or it is called again at once. Before Run.
    void Watch(int fd, std::function<void()> onReadable);

    // Runs until Stop() (true) or until the connection fails (false, with what happened
    // in `error`). An sdbus::Error thrown by a handler counts as a failed connection.
    bool Run(std::string& error);

    // From any thread or handler; Run returns once the current handler has.
    void Stop();

private:
    sdbus::IConnection& connection_;
    int stopFd_;
    std::vector<std::pair<int, std::function<void()>>> watches_;
};

}  // namespace Tarvo::Tools::Bus
