// Runs a program as a child process with its output captured, for tests of the tools.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace Tarvo::Test {

struct ChildResult {
    int exitCode = -1;  // -1 when killed by a signal or timed out
    int signal = 0;     // the signal that ended it (SIGKILL when it timed out)
    std::string out;
    std::string err;
};

class ChildProcess {
public:
    ChildProcess()
    {
        char dir[] = "/tmp/quil-child-XXXXXX";
        dir_ = mkdtemp(dir) != nullptr ? dir : "/tmp";
    }
    ~ChildProcess()
    {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        std::remove((dir_ + "/out").c_str());
        std::remove((dir_ + "/err").c_str());
        rmdir(dir_.c_str());
    }

    bool Start(const std::vector<std::string>& args)
    {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, (dir_ + "/out").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, 2, (dir_ + "/err").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<char*> argv;
        for (const std::string& arg : args) {
            argv.push_back(const_cast<char*>(arg.c_str()));
        }
        argv.push_back(nullptr);
        const int rc = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        return rc == 0;
    }

    void Signal(int signal) { kill(pid_, signal); }

    // The output so far, while the child runs.
    std::string Out() const { return Read(dir_ + "/out"); }
    std::string Err() const { return Read(dir_ + "/err"); }
    pid_t Pid() const { return pid_; }

    ChildResult Wait(int timeoutMs = 20000)
    {
        ChildResult result;
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        int status = 0;
        while (waitpid(pid_, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > deadline) {
                kill(pid_, SIGKILL);
                waitpid(pid_, &status, 0);
                status = -1;
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        pid_ = -1;
        if (status == -1) {
            result.signal = SIGKILL;
        } else if (WIFEXITED(status)) {
            result.exitCode = WEXITSTATUS(status);
        } else if (WIFSIGNALED(status)) {
            result.signal = WTERMSIG(status);
        }
        result.out = Read(dir_ + "/out");
        result.err = Read(dir_ + "/err");
        return result;
    }

    static ChildResult Run(const std::vector<std::string>& args, int timeoutMs = 20000)
    {
        ChildProcess child;
        if (!child.Start(args)) {
            return {};
        }
        return child.Wait(timeoutMs);
    }

private:
    static std::string Read(const std::string& path)
    {
        std::ifstream in(path);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    pid_t pid_ = -1;
    std::string dir_;
};

// The lines of `text` that start with `prefix`.
inline std::vector<std::string> LinesStartingWith(const std::string& text,
                                                  const std::string& prefix)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(prefix, 0) == 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

}  // namespace Tarvo::Test
