// Runs the command of `quil-watch on` for one motion and waits for it: the motion's
// fields go to it in the environment (QUIL_TYPE, QUIL_RESULT, QUIL_STATUS, QUIL_ACTION,
// QUIL_DIRECTION, QUIL_ROTATE_ACTION, QUIL_MOVE).
#pragma once

#include <string>
#include <vector>

#include "motion_data.h"

namespace Tarvo::Watch {

class CommandRunner {
public:
    explicit CommandRunner(std::vector<std::string> command) : command_(std::move(command)) {}

    // The command's exit status; -1 with `error` set when it could not be run, 128 + N
    // when signal N ended it.
    int Run(const Quil::MotionData& data, std::string& error) const;

    // The environment the command gets: this process's, with the motion's variables set.
    static std::vector<std::string> Environment(const Quil::MotionData& data);

private:
    std::vector<std::string> command_;
};

}  // namespace Tarvo::Watch
