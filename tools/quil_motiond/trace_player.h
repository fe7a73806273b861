// The development mode with no devices: plays the samples and touches of a trace
// (quil-replay's format) through the Linux layer's scripted devices, in real time, from
// the first claim on. The trace's host calls (enable, disable, ...) and platform faults
// are left out: making calls is the clients' business. A `device-sensors` record
// changes which sensors are present, as plugging a device in or out does.
//
// A regular file is read through once first, so that a bad line is reported before
// anything is served; a FIFO or standard input ("-") is played as it is written, and a
// bad line there ends the replay.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "linux_platform.h"
#include "trace_record.h"

namespace Tarvo::Motiond {

class TracePlayer {
public:
    explicit TracePlayer(std::string path);
    ~TracePlayer();
    TracePlayer(const TracePlayer&) = delete;
    TracePlayer& operator=(const TracePlayer&) = delete;

    // Opens (and, for a file, checks) the trace. False with "FILE:LINE: problem" or
    // "FILE: problem" in `error`.
    bool Open(std::string& error);
    // What is present before anything is played: the sensors of a `device-sensors`
    // record that comes before the first sample or touch, else an accelerometer, a light
    // and a proximity sensor; and a touchscreen.
    const Linux::DevicePresence& StartPresence() const { return presence_; }

    // Starts the player's thread, which waits for Begin(). `presenceChanged` is called
    // on it after each `device-sensors` record has been applied.
    void Start(std::function<void(const Linux::DevicePresence&)> presenceChanged);
    // Starts playing (the first claim); later calls do nothing.
    void Begin();
    // Ends the thread, waiting or reading as it may be; returns when it has ended.
    void Stop();

private:
    void Run();
    // Waits until `stampMs` after the start; false when stopped first.
    bool WaitUntil(double stampMs);
    void Play(const Tools::TraceRecord& record);

    std::string path_;
    std::FILE* file_ = nullptr;
    bool streamed_ = false;
    int stopFd_ = -1;
    Linux::DevicePresence presence_;
    std::function<void(const Linux::DevicePresence&)> presenceChanged_;

    std::mutex mutex_;
    std::condition_variable wake_;
    bool begun_ = false;
    bool stopping_ = false;
    std::chrono::steady_clock::time_point start_;
    std::thread thread_;

    uint64_t samples_ = 0;
    uint64_t touches_ = 0;
    uint64_t leftOut_ = 0;
};

}  // namespace Tarvo::Motiond
