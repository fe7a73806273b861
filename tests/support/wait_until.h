// Polling for what another thread or process does, every 10 ms until it holds or the
// time is up.
#pragma once

#include <chrono>
#include <thread>

namespace Tarvo::Test {

template <typename Ready>
bool WaitUntil(Ready ready, std::chrono::milliseconds timeout = std::chrono::seconds(5))
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!ready()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace Tarvo::Test
