// The real parts of a service test: a dbus-daemon of the test's own (the session
// configuration, a private address, every user let in), quil-motiond on it, and clients
// that are real programs: quil-watch and a Python client (bus_client.py).
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "wait_until.h"

namespace Tarvo::Test {

inline bool WaitFor(const std::function<bool()>& done, int timeoutMs = 10000)
{
    return WaitUntil(done, std::chrono::milliseconds(timeoutMs));
}

inline std::string ReadFile(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

inline size_t Count(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

class ServiceFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        char dir[] = "/tmp/quil-motiond-test-XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        dir_ = dir;
        // Other users may reach the bus's socket (the gesture access test runs a client as
        // another user when it can).
        chmod(dir_.c_str(), 0755);
        StartBus(BusConfig("bus.conf",
                           "  <include>/usr/share/dbus-1/session.conf</include>\n"
                           "  <policy context=\"default\"><allow user=\"*\"/></policy>\n"));
    }

    void TearDown() override
    {
        // Every service stops cleanly, so a sanitizer's report at exit fails the test.
        if (service_ != nullptr && !serviceEnded_) {
            service_->Signal(SIGTERM);
            const ChildResult end = service_->Wait();
            EXPECT_EQ(end.exitCode, 0) << end.err;
        }
        service_.reset();
        if (bus_ != nullptr) {
            bus_->Signal(SIGTERM);
            bus_->Wait();
        }
        std::system(("rm -rf " + dir_).c_str());
    }

    // A dbus-daemon on `config`, in place of the one running.
    void StartBus(const std::string& config)
    {
        if (bus_ != nullptr) {
            bus_->Signal(SIGTERM);
            bus_->Wait();
        }
        bus_ = std::make_unique<ChildProcess>();
        ASSERT_TRUE(
            bus_->Start({"/usr/bin/dbus-daemon", "--config-file=" + config,
                         "--address=unix:path=" + dir_ + "/bus", "--nofork", "--print-address=1"}));
        ASSERT_TRUE(WaitFor([this] { return !bus_->Out().empty(); })) << bus_->Err();
        setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + dir_ + "/bus").c_str(), 1);
    }

    std::string Path(const std::string& name) const { return dir_ + "/" + name; }

    std::string WriteFile(const std::string& name, const std::string& text) const
    {
        std::ofstream(Path(name)) << text;
        return Path(name);
    }
    // A bus configuration holding `body`, written to `name`.
    std::string BusConfig(const std::string& name, const std::string& body) const
    {
        return WriteFile(name,
                         "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration "
                         "1.0//EN\" \"http://www.freedesktop.org/standards/dbus/1.0/"
                         "busconfig.dtd\">\n<busconfig>\n" +
                             body + "</busconfig>\n");
    }

    // quil-motiond --session with `args`; returns once it serves.
    void StartService(const std::vector<std::string>& args)
    {
        std::vector<std::string> argv = {QUIL_MOTIOND_PATH, "--session"};
        argv.insert(argv.end(), args.begin(), args.end());
        service_ = std::make_unique<ChildProcess>();
        ASSERT_TRUE(service_->Start(argv));
        ASSERT_TRUE(WaitFor([this] { return ServiceLog().find("serving ") != std::string::npos; }))
            << ServiceLog();
    }
    std::string ServiceLog() const { return service_->Err(); }
    bool WaitForLog(const std::string& text, size_t count = 1, int timeoutMs = 10000) const
    {
        return WaitFor([&] { return Count(ServiceLog(), text) >= count; }, timeoutMs);
    }

    // The Python client running `steps`, to its end.
    static ChildResult Client(const std::vector<std::string>& steps, int timeoutMs = 30000)
    {
        return ChildProcess::Run(ClientArgs(steps), timeoutMs);
    }
    // The Python client running `steps` as nobody, to its end, when the test may do that.
    static std::optional<ChildResult> ClientAsNobody(const std::vector<std::string>& steps)
    {
        if (getuid() != 0 || access("/usr/bin/setpriv", X_OK) != 0) {
            return std::nullopt;
        }
        std::vector<std::string> args = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534",
                                         "--clear-groups"};
        const std::vector<std::string> client = ClientArgs(steps);
        args.insert(args.end(), client.begin(), client.end());
        return ChildProcess::Run(args);
    }
    // The Python client running `steps`, started and left running.
    static std::unique_ptr<ChildProcess> StartClient(const std::vector<std::string>& steps)
    {
        auto client = std::make_unique<ChildProcess>();
        EXPECT_TRUE(client->Start(ClientArgs(steps)));
        return client;
    }
    static std::vector<std::string> ClientArgs(const std::vector<std::string>& steps)
    {
        std::vector<std::string> argv = {"/usr/bin/python3", QUIL_BUS_CLIENT};
        argv.insert(argv.end(), steps.begin(), steps.end());
        return argv;
    }
    static bool WaitForOut(const ChildProcess& child, const std::string& text, size_t count = 1,
                           int timeoutMs = 10000)
    {
        return WaitFor([&] { return Count(child.Out(), text) >= count; }, timeoutMs);
    }

    std::string dir_;
    std::unique_ptr<ChildProcess> bus_;
    std::unique_ptr<ChildProcess> service_;
    bool serviceEnded_ = false;  // the test waited for the service's end itself
};

}  // namespace Tarvo::Test
