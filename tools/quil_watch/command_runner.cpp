#include "command_runner.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>

#include "output_writer.h"

extern char** environ;

namespace Tarvo::Watch {

std::vector<std::string> CommandRunner::Environment(const Quil::MotionData& data)
{
    const std::pair<const char*, std::string> motion[] = {
        {"QUIL_TYPE", std::to_string(data.type)},
        {"QUIL_RESULT", std::to_string(data.result)},
        {"QUIL_STATUS", std::to_string(data.status)},
        {"QUIL_ACTION", std::to_string(data.action)},
        {"QUIL_DIRECTION", std::to_string(data.direction)},
        {"QUIL_ROTATE_ACTION", std::to_string(data.rotateAction)},
        {"QUIL_MOVE", Tools::OutputWriter::JsonDouble(data.move)},
    };
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        // Ours replace any of the same name the process was started with.
        if (std::strncmp(*entry, "QUIL_", 5) != 0) {
            environment.emplace_back(*entry);
        }
    }
    for (const auto& [name, value] : motion) {
        environment.push_back(std::string(name) + "=" + value);
    }
    return environment;
}

int CommandRunner::Run(const Quil::MotionData& data, std::string& error) const
{
    std::vector<std::string> environment = Environment(data);
    std::vector<char*> argv;
    for (const std::string& arg : command_) {
        argv.push_back(const_cast<char*>(arg.c_str()));
    }
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (std::string& entry : environment) {
        envp.push_back(entry.data());
    }
    envp.push_back(nullptr);
    // The command starts with the signals this program keeps for itself unblocked.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, argv[0], nullptr, &attributes, argv.data(), envp.data());
    posix_spawnattr_destroy(&attributes);
    if (spawned != 0) {
        error = "cannot run " + command_[0] + ": " + std::strerror(spawned);
        return -1;
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            error = std::string("waiting for ") + command_[0] + ": " + std::strerror(errno);
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace Tarvo::Watch
