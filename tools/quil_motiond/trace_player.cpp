#include "trace_player.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "sensor_service_client.h"
#include "service_log.h"
#include "trace_parser.h"

namespace Tarvo::Motiond {
namespace {

using Linux::LinuxPlatform;
using Tools::RecordKind;
using Tools::TraceRecord;

// A stream read through stdio whose reads also end when a stop is asked for: a replay
// waiting for the next line of a FIFO stops with the service.
struct StreamCookie {
    int fd;
    int stopFd;
    bool ownsFd;
};

ssize_t ReadStream(void* cookie, char* buffer, size_t size)
{
    auto* stream = static_cast<StreamCookie*>(cookie);
    pollfd fds[2] = {{stream->fd, POLLIN, 0}, {stream->stopFd, POLLIN, 0}};
    for (;;) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            return -1;
        }
        if (fds[1].revents != 0) {
            return 0;
        }
        const ssize_t count = read(stream->fd, buffer, size);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        return count;
    }
}

int CloseStream(void* cookie)
{
    auto* stream = static_cast<StreamCookie*>(cookie);
    const int result = stream->ownsFd ? close(stream->fd) : 0;
    delete stream;
    return result;
}

bool IsDeviceRecord(RecordKind kind)
{
    return kind == RecordKind::SAMPLE || kind == RecordKind::TOUCH ||
           kind == RecordKind::DEVICE_SENSORS;
}

}  // namespace

TracePlayer::TracePlayer(std::string path)
    : path_(std::move(path)), stopFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    presence_.sensors = {SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_AMBIENT_LIGHT,
                         SENSOR_TYPE_ID_PROXIMITY};
    presence_.touchscreen = "replay:" + path_;
}

TracePlayer::~TracePlayer()
{
    Stop();
    if (file_ != nullptr) {
        std::fclose(file_);
    }
    if (stopFd_ >= 0) {
        close(stopFd_);
    }
}

bool TracePlayer::Open(std::string& error)
{
    const bool standardInput = path_ == "-";
    struct stat info {};
    if (!standardInput && stat(path_.c_str(), &info) != 0) {
        error = path_ + ": " + std::strerror(errno);
        return false;
    }
    streamed_ = standardInput || !S_ISREG(info.st_mode);
    if (!streamed_) {
        file_ = std::fopen(path_.c_str(), "r");
        if (file_ == nullptr) {
            error = path_ + ": " + std::strerror(errno);
            return false;
        }
        // Read through once: every problem is told before anything is served.
        Tools::TraceParser parser(path_, file_);
        TraceRecord record;
        bool beforeDevices = true;
        while (parser.Next(record, error)) {
            if (beforeDevices && record.kind == RecordKind::DEVICE_SENSORS) {
                presence_.sensors = record.ids;
            }
            beforeDevices = beforeDevices && !IsDeviceRecord(record.kind);
        }
        if (!error.empty()) {
            return false;
        }
        std::rewind(file_);
        return true;
    }
    // A FIFO opened without waiting for its writer; reads then wait in poll.
    const int fd =
        standardInput ? STDIN_FILENO : open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        error = path_ + ": " + std::strerror(errno);
        return false;
    }
    auto* cookie = new StreamCookie{fd, stopFd_, !standardInput};
    file_ = fopencookie(cookie, "r", {ReadStream, nullptr, nullptr, CloseStream});
    if (file_ == nullptr) {
        CloseStream(cookie);
        error = path_ + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

void TracePlayer::Start(std::function<void(const Linux::DevicePresence&)> presenceChanged)
{
    presenceChanged_ = std::move(presenceChanged);
    thread_ = std::thread([this] { Run(); });
}

void TracePlayer::Begin()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (begun_) {
            return;
        }
        begun_ = true;
        start_ = std::chrono::steady_clock::now();
    }
    wake_.notify_all();
}

void TracePlayer::Stop()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(stopFd_, &one, sizeof(one));
    if (thread_.joinable()) {
        thread_.join();
    }
}

bool TracePlayer::WaitUntil(double stampMs)
{
    std::unique_lock<std::mutex> lock(mutex_);
    wake_.wait(lock, [this] { return begun_ || stopping_; });
    const auto due = start_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                  std::chrono::duration<double, std::milli>(stampMs));
    return !wake_.wait_until(lock, due, [this] { return stopping_; });
}

void TracePlayer::Run()
{
    pthread_setname_np(pthread_self(), "motiond-replay");
    Tools::TraceParser parser(path_, file_);
    if (streamed_) {
        parser.SetStreaming();
    }
    TraceRecord record;
    std::string error;
    double stamp = 0.0;
    if (!WaitUntil(0.0)) {
        return;
    }
    ServiceLog::Print(ServiceLog::INFO, "replay: playing %s", path_.c_str());
    while (parser.Next(record, error)) {
        stamp = record.stamp.value_or(stamp);
        if (!WaitUntil(stamp)) {
            return;
        }
        Play(record);
    }
    if (!error.empty()) {
        ServiceLog::Print(ServiceLog::ERROR, "replay: %s; the replay stops here", error.c_str());
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) {
            return;
        }
    }
    ServiceLog::Print(ServiceLog::INFO,
                      "replay: finished: %llu samples and %llu touches played; host calls and "
                      "faults, left to the clients: %llu",
                      static_cast<unsigned long long>(samples_),
                      static_cast<unsigned long long>(touches_),
                      static_cast<unsigned long long>(leftOut_));
}

void TracePlayer::Play(const TraceRecord& record)
{
    switch (record.kind) {
        case RecordKind::SAMPLE:
            LinuxPlatform::PlaySample(record.value, record.floats);
            ++samples_;
            break;
        case RecordKind::TOUCH: {
            Linux::TouchRecord touch;
            touch.action = record.action;
            touch.pointerId = record.pointerId;
            touch.x = record.x;
            touch.y = record.y;
            touch.pointerIds = record.ids;
            LinuxPlatform::PlayTouch(touch);
            ++touches_;
            break;
        }
        case RecordKind::DEVICE_SENSORS:
            presence_.sensors = record.ids;
            LinuxPlatform::UseScriptedDevices(presence_);
            if (presenceChanged_) {
                presenceChanged_(presence_);
            }
            break;
        default:
            ++leftOut_;
            break;
    }
}

}  // namespace Tarvo::Motiond
