// A client of quil-motiond: claims motion types, receives the Motion signals sent to it
// (only from the connection that owns the service's name: anyone on the bus can send a
// signal named Motion), claims again when the service comes back after a restart, and
// releases its claims at the end.
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "motion_data.h"

namespace Tarvo::Watch {

class MotionWatcher {
public:
    using Handler = std::function<void(const Quil::MotionData&)>;

    // `handler` runs on the bus loop's thread for each motion.
    MotionWatcher(sdbus::IConnection& bus, Handler handler);
    ~MotionWatcher();
    MotionWatcher(const MotionWatcher&) = delete;
    MotionWatcher& operator=(const MotionWatcher&) = delete;

    // The service's AvailableTypes; asking starts the service when the bus activates it.
    // False with `error` set ("NAME: message").
    bool AvailableTypes(std::vector<int32_t>& types, std::string& error);
    // Claims each type; a refusal is a line in `problems` ("claim 9: NAME: message").
    // True when at least one claim was made.
    bool Claim(const std::vector<int32_t>& types, std::vector<std::string>& problems);
    // Releases every claim made, as far as the service is there to take it.
    void ReleaseAll();

private:
    void OnMotion(sdbus::Message& message);
    void OnOwnerChanged(sdbus::Message& message);
    std::string Owner();

    sdbus::IConnection& bus_;
    Handler handler_;
    std::unique_ptr<sdbus::IProxy> service_;
    std::unique_ptr<sdbus::IProxy> daemon_;
    sdbus::Slot motionMatch_;
    sdbus::Slot ownerMatch_;
    std::string owner_;             // the unique name of the service's connection
    std::vector<int32_t> claimed_;  // each type once, as claimed
};

}  // namespace Tarvo::Watch
