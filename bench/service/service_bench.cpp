// quil-motiond under load, as a machine's clients meet it: a private dbus-daemon, the
// service playing samples written into a FIFO (its scripted devices), and clients that
// are real D-Bus connections.
//
//   1. Wake-ups of the idle service, no claims (must be 0); with one claim and no
//      samples; and with one claim on a sensor the layer polls (a sysfs tree of the
//      bench's own with an accelerometer).
//   2. Load: CLIENTS connections claiming, releasing and vanishing (1 in 100 actions
//      drops its connection without a word) for SECONDS, while flip samples flow at
//      100 Hz, in two halves. Descriptors and threads of the service before and after,
//      its memory after each half, and every type enabled as often as disabled (every
//      claim count back at zero).
//   3. Latency: a sample written to the FIFO to the claiming client's Motion signal, p50
//      and p99, in rounds that alternate with the library's own hand-off (the host
//      platform's delivery of a sample to the plug-in's callback, in this process).
//
//   quil_service_bench [--seconds N] [--clients N] [--reports N] [--idle SECONDS] [--check]
//
// --check makes the figures that have a target (idle wake-ups 0, no leaked descriptor
// or thread, claim counts at zero, every latency report received) the exit status.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "host_platform.h"
#include "i_motion_algo.h"
#include "motion_bus.h"
#include "motion_message.h"

namespace {

using Clock = std::chrono::steady_clock;
using Tarvo::Test::ChildProcess;
namespace Bus = Tarvo::Tools::Bus;

struct Settings {
    double seconds = 60;
    int clients = 200;
    size_t reports = 2000;
    double idle = 5;
    bool check = false;
};

int64_t NowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
        .count();
}

bool WaitFor(const std::function<bool()>& done, int timeoutMs)
{
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!done()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

size_t Count(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

// What the kernel says of a process: descriptors, threads, resident memory, and the
// context switches of all its threads (each one a wake-up: a thread that sleeps on
// makes none).
struct ProcessState {
    size_t fds = 0;
    int threads = 0;
    long rssKb = 0;
    uint64_t switches = 0;
};

// Under ThreadSanitizer its own background thread, which has no name, wakes up on its
// own: the service's threads are all named but the main one, so the unnamed others are
// left out of the wake-ups there.
#if defined(__SANITIZE_THREAD__)
constexpr bool kSkipUnnamedThreads = true;
#else
constexpr bool kSkipUnnamedThreads = false;
#endif

ProcessState Look(pid_t pid)
{
    const std::string proc = "/proc/" + std::to_string(pid);
    ProcessState state;
    std::error_code ec;
    for (auto it = std::filesystem::directory_iterator(proc + "/fd", ec);
         it != std::filesystem::directory_iterator(); ++it) {
        ++state.fds;
    }
    std::ifstream status(proc + "/status");
    for (std::string line; std::getline(status, line);) {
        std::sscanf(line.c_str(), "Threads: %d", &state.threads);
        std::sscanf(line.c_str(), "VmRSS: %ld", &state.rssKb);
    }
    std::string program;
    std::getline(std::ifstream(proc + "/comm"), program);
    for (auto it = std::filesystem::directory_iterator(proc + "/task", ec);
         it != std::filesystem::directory_iterator(); ++it) {
        std::string name;
        std::getline(std::ifstream(it->path() / "comm"), name);
        if (kSkipUnnamedThreads && name == program &&
            it->path().filename() != std::to_string(pid)) {
            continue;
        }
        std::ifstream task(it->path() / "status");
        for (std::string line; std::getline(task, line);) {
            unsigned long long value = 0;
            if (std::sscanf(line.c_str(), "voluntary_ctxt_switches: %llu", &value) == 1 ||
                std::sscanf(line.c_str(), "nonvoluntary_ctxt_switches: %llu", &value) == 1) {
                state.switches += value;
            }
        }
    }
    return state;
}

double WakeupsPerSecond(pid_t pid, double seconds)
{
    const uint64_t before = Look(pid).switches;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    return static_cast<double>(Look(pid).switches - before) / seconds;
}

// The dbus-daemon and the service, each a child of the bench.
class Rig {
public:
    explicit Rig(std::string dir) : dir_(std::move(dir)) {}

    bool StartBus()
    {
        if (!bus_.Start({"/usr/bin/dbus-daemon", "--session",
                         "--address=unix:path=" + dir_ + "/bus", "--nofork",
                         "--print-address=1"}) ||
            !WaitFor([this] { return !bus_.Out().empty(); }, 10000)) {
            return false;
        }
        address_ = "unix:path=" + dir_ + "/bus";
        setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
        return true;
    }
    bool StartService(const std::vector<std::string>& args)
    {
        service_ = std::make_unique<ChildProcess>();
        std::vector<std::string> argv = {QUIL_MOTIOND_PATH, "--session"};
        argv.insert(argv.end(), args.begin(), args.end());
        return service_->Start(argv) &&
               WaitFor([this] { return service_->Err().find("serving ") != std::string::npos; },
                       10000);
    }
    void StopService()
    {
        service_->Signal(SIGTERM);
        lastLog_ = service_->Wait().err;
        service_.reset();
    }
    pid_t ServicePid() const { return service_->Pid(); }
    std::string ServiceLog() const { return service_ != nullptr ? service_->Err() : lastLog_; }
    const std::string& Address() const { return address_; }
    void StopBus()
    {
        bus_.Signal(SIGTERM);
        bus_.Wait();
    }

private:
    std::string dir_;
    std::string address_;
    ChildProcess bus_;
    std::unique_ptr<ChildProcess> service_;
    std::string lastLog_;
};

// A client connection of the bench's own.
struct Client {
    std::unique_ptr<sdbus::IConnection> connection;
    std::unique_ptr<sdbus::IProxy> service;
    sdbus::Slot match;
    std::map<int32_t, int> held;
    std::function<void(sdbus::Message&)> onMotion;

    explicit Client(const std::string& address, std::function<void(sdbus::Message&)> motion = {})
        : connection(sdbus::createSessionBusConnectionWithAddress(address)),
          service(sdbus::createProxy(*connection, Bus::kBusName, Bus::kObjectPath)),
          onMotion(std::move(motion))
    {
        match = connection->addMatch(
            std::string("type='signal',interface='") + Bus::kInterface + "',member='Motion'",
            [this](sdbus::Message& message) {
                if (onMotion) {
                    onMotion(message);
                }
            });
    }
    bool Call(const char* method, int32_t type)
    {
        try {
            sdbus::MethodCall call = service->createMethodCall(Bus::kInterface, method);
            call << type;
            service->callMethod(call);
            return true;
        } catch (const sdbus::Error&) {
            return false;
        }
    }
    void Drain()
    {
        while (connection->processPendingRequest()) {
        }
    }
};

// Flip poses, written as the device's samples.
const char* const kPoses[] = {"acc 0.1 0.2 9.8\n", "acc 6.9 0.2 6.9\n", "acc 0.1 0.2 9.8\n",
                              "acc 0.1 0.2 -9.8\n"};

struct LoadFigures {
    uint64_t calls = 0;
    uint64_t refused = 0;
    uint64_t vanished = 0;
    std::atomic<uint64_t> motions{0};
};

// `clients` connections on four threads, each action one claim, release or nothing.
void Load(const std::string& address, int clients, double seconds, LoadFigures& figures)
{
    static const int32_t kTypes[] = {0, 2, 3, 4, 6, 7};
    const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
    std::mutex mutex;
    auto worker = [&](int count, unsigned seed) {
        std::mt19937 random(seed);
        auto onMotion = [&figures](sdbus::Message&) { figures.motions.fetch_add(1); };
        std::vector<std::unique_ptr<Client>> mine;
        for (int i = 0; i < count; ++i) {
            mine.push_back(std::make_unique<Client>(address, onMotion));
        }
        uint64_t calls = 0;
        uint64_t refused = 0;
        uint64_t vanished = 0;
        while (Clock::now() < deadline) {
            for (auto& client : mine) {
                const unsigned roll = random() % 100;
                if (roll == 0) {
                    // Gone without releasing: the service must notice on its own.
                    client = std::make_unique<Client>(address, onMotion);
                    ++vanished;
                } else if (roll < 50 || client->held.empty()) {
                    const int32_t type = kTypes[random() % 6];
                    ++calls;
                    if (client->Call(Bus::kClaim, type)) {
                        ++client->held[type];
                    } else {
                        ++refused;
                    }
                } else {
                    auto it = client->held.begin();
                    std::advance(it, random() % client->held.size());
                    ++calls;
                    refused += client->Call(Bus::kRelease, it->first) ? 0 : 1;
                    if (--it->second == 0) {
                        client->held.erase(it);
                    }
                }
                client->Drain();
            }
        }
        // Half release what they hold, half just go.
        for (size_t i = 0; i < mine.size(); ++i) {
            if (i % 2 == 0) {
                for (const auto& [type, count] : mine[i]->held) {
                    for (int n = 0; n < count; ++n) {
                        ++calls;
                        refused += mine[i]->Call(Bus::kRelease, type) ? 0 : 1;
                    }
                }
            }
        }
        mine.clear();
        std::lock_guard<std::mutex> lock(mutex);
        figures.calls += calls;
        figures.refused += refused;
        figures.vanished += vanished;
    };
    std::vector<std::thread> threads;
    const int perThread = (clients + 3) / 4;
    for (int t = 0; t < 4; ++t) {
        const int first = t * perThread;
        const int count = std::min(perThread, clients - first);
        if (count > 0) {
            threads.emplace_back(worker, count, 1234u + static_cast<unsigned>(t));
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Writes flip samples to the FIFO at 100 Hz until stopped.
class SampleWriter {
public:
    explicit SampleWriter(int fd) : fd_(fd) {}
    void Start()
    {
        thread_ = std::thread([this] {
            for (size_t i = 0; !stop_.load(); ++i) {
                const char* pose = kPoses[i % 4];
                [[maybe_unused]] const ssize_t written = write(fd_, pose, std::strlen(pose));
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        });
    }
    void Stop()
    {
        stop_ = true;
        thread_.join();
    }

private:
    int fd_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

int64_t Percentile(std::vector<int64_t> values, double fraction)
{
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(fraction * values.size()))];
}

// The library alone: the host platform delivers a sample on this thread (as the service's
// player does through the Linux layer), the plug-in's callback takes the report.
class LibraryLatency {
public:
    bool Load(std::string& error)
    {
        handle_ = dlopen(QUIL_HOST_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle_ == nullptr) {
            error = dlerror();
            return false;
        }
        auto create = reinterpret_cast<Tarvo::Quil::IMotionAlgo* (*)()>(dlsym(handle_, "Create"));
        destroy_ = reinterpret_cast<void (*)(Tarvo::Quil::IMotionAlgo*)>(dlsym(handle_, "Destroy"));
        Tarvo::Host::HostPlatform::Reset();
        Tarvo::Host::HostPlatform::SetInlineDelivery(true);
        algo_ = create();
        algo_->RegisterCallback(callback_);
        algo_->Enable(3);
        Tarvo::Host::HostPlatform::SetDeliveryHook(&LibraryLatency::MarkDelivery);
        return true;
    }
    ~LibraryLatency()
    {
        if (algo_ != nullptr) {
            Tarvo::Host::HostPlatform::SetDeliveryHook(nullptr);
            algo_->Disable(3);
            destroy_(algo_);
        }
    }
    // Until `count` more reports were timed.
    void Measure(size_t count, std::vector<int64_t>& latencies)
    {
        static const std::vector<float> kValues[] = {
            {0.1F, 0.2F, 9.8F}, {6.9F, 0.2F, 6.9F}, {0.1F, 0.2F, 9.8F}, {0.1F, 0.2F, -9.8F}};
        gLatencies = &latencies;
        const size_t target = latencies.size() + count;
        for (size_t i = 0; latencies.size() < target; ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            Tarvo::Host::HostPlatform::InjectSample(1, kValues[i % 4]);
            Tarvo::Host::HostPlatform::WaitIdle();
            gArmed = false;
        }
        latencies.resize(target);
    }

private:
    static void MarkDelivery()
    {
        gDeliveredAt.store(NowNs());
        gArmed.store(true);
    }
    class Callback : public Tarvo::Quil::IMotionAlgo::Callback {
    public:
        int OnMotionChanged(const Tarvo::Quil::MotionData&) override
        {
            const int64_t now = NowNs();
            if (gArmed.exchange(false)) {
                gLatencies->push_back(now - gDeliveredAt.load());
            }
            return 0;
        }
    };
    static inline std::atomic<int64_t> gDeliveredAt{0};
    static inline std::atomic<bool> gArmed{false};
    static inline std::vector<int64_t>* gLatencies = nullptr;

    void* handle_ = nullptr;
    void (*destroy_)(Tarvo::Quil::IMotionAlgo*) = nullptr;
    Tarvo::Quil::IMotionAlgo* algo_ = nullptr;
    std::shared_ptr<Callback> callback_ = std::make_shared<Callback>();
};

// The service: a sample written to the FIFO, to the client's signal.
class ServiceLatency {
public:
    ServiceLatency(const std::string& address, int fifo)
        : fifo_(fifo), client_(address, [this](sdbus::Message& message) {
              Tarvo::Quil::MotionData data;
              Tarvo::Tools::Bus::MotionMessage::Read(message, data);
              std::lock_guard<std::mutex> lock(mutex_);
              receivedAt_ = NowNs();
              result_ = data.result;
              received_.notify_all();
          })
    {
    }
    bool Claim() { return client_.Call(Bus::kClaim, 3); }
    void Start()
    {
        thread_ = std::thread([this] {
            while (!stop_.load()) {
                client_.Drain();
                const sdbus::IConnection::PollData data =
                    client_.connection->getEventLoopPollData();
                pollfd entry{data.fd, data.events, 0};
                const int timeout = data.getPollTimeout();
                poll(&entry, 1, timeout < 0 || timeout > 20 ? 20 : timeout);
            }
        });
    }
    void Stop()
    {
        stop_ = true;
        thread_.join();
    }
    // Until `count` more reports were timed; false when one was missed.
    bool Measure(size_t count, std::vector<int64_t>& latencies)
    {
        // In step with the recogniser first: after the report of the face-down pose the
        // next flip starts from its first pose.
        size_t i = 0;
        for (; i < 64 && Write(i) != 0; ++i) {
        }
        const size_t target = latencies.size() + count;
        for (i = 0; latencies.size() < target; ++i) {
            // Laid flat again (result 1) and turned onto its face (result 0) report; the
            // first two poses of each flip do not.
            const bool reports = i % 4 == 2 || i % 4 == 3;
            if (Write(i) == kNone) {
                if (reports) {
                    return false;
                }
                continue;
            }
            latencies.push_back(receivedAt_ - writtenAt_);
        }
        return true;
    }

private:
    static constexpr int kNone = -2;

    // Writes pose `i` and waits for the report it causes: its result, or kNone.
    int Write(size_t i)
    {
        const char* pose = kPoses[i % 4];
        // A pause, so that every thread on the path is asleep when the sample comes.
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        std::unique_lock<std::mutex> lock(mutex_);
        receivedAt_ = 0;
        writtenAt_ = NowNs();
        [[maybe_unused]] const ssize_t written = write(fifo_, pose, std::strlen(pose));
        const bool reports = i % 4 == 2 || i % 4 == 3;
        if (!received_.wait_for(lock, std::chrono::milliseconds(reports ? 2000 : 20),
                                [this] { return receivedAt_ != 0; })) {
            return kNone;
        }
        return result_;
    }

    int fifo_;
    std::mutex mutex_;
    std::condition_variable received_;
    int64_t writtenAt_ = 0;
    int64_t receivedAt_ = 0;
    int result_ = kNone;
    Client client_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

bool Parse(int argc, char** argv, Settings& settings)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--seconds" && hasValue) {
            settings.seconds = std::atof(argv[++i]);
        } else if (arg == "--clients" && hasValue) {
            settings.clients = std::atoi(argv[++i]);
        } else if (arg == "--reports" && hasValue) {
            settings.reports = static_cast<size_t>(std::atol(argv[++i]));
        } else if (arg == "--idle" && hasValue) {
            settings.idle = std::atof(argv[++i]);
        } else if (arg == "--check") {
            settings.check = true;
        } else {
            std::fprintf(stderr,
                         "usage: quil_service_bench [--seconds N] [--clients N] [--reports N] "
                         "[--idle SECONDS] [--check]\n");
            return false;
        }
    }
    return settings.seconds > 0 && settings.clients > 0 && settings.reports > 0 &&
           settings.idle > 0;
}

// Every type enabled in the log is disabled as often: all claim counts are back at zero.
bool ClaimsAtZero(const std::string& log)
{
    bool balanced = true;
    for (int type : {0, 2, 3, 4, 6, 7}) {
        const std::string suffix = " " + std::to_string(type) + " -> 0 (";
        const size_t enables = Count(log, "enable" + suffix);
        const size_t disables = Count(log, "disable" + suffix);
        if (enables != disables) {
            std::printf("  type %d enabled %zu times, disabled %zu times\n", type, enables,
                        disables);
            balanced = false;
        }
    }
    return balanced;
}

}  // namespace

int main(int argc, char** argv)
{
    Settings settings;
    if (!Parse(argc, argv, settings)) {
        return 2;
    }
    signal(SIGPIPE, SIG_IGN);
    char dirTemplate[] = "/tmp/quil-service-bench-XXXXXX";
    const std::string dir = mkdtemp(dirTemplate);
    bool ok = true;
    auto fail = [&ok](const char* what) {
        std::printf("FAILED: %s\n", what);
        ok = false;
    };

    Rig rig(dir);
    if (!rig.StartBus()) {
        std::printf("cannot start dbus-daemon\n");
        return 1;
    }
    const std::string fifo = dir + "/samples";
    mkfifo(fifo.c_str(), 0600);
    if (!rig.StartService({"--replay", fifo})) {
        std::printf("cannot start quil-motiond:\n%s\n", rig.ServiceLog().c_str());
        return 1;
    }
    const int writer = open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
    const pid_t pid = rig.ServicePid();

    // 1. Wake-ups, once the start has settled.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const double idleNone = WakeupsPerSecond(pid, settings.idle);
    std::printf("wake-ups per second, idle, no claims: %.2f\n", idleNone);
    if (idleNone != 0) {
        fail("the idle service woke up");
    }
    {
        Client one(rig.Address());
        one.Call(Bus::kClaim, 3);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        std::printf("wake-ups per second, one claim, no samples: %.2f\n",
                    WakeupsPerSecond(pid, settings.idle));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const ProcessState before = Look(pid);

    // 2. Load, in two halves, while samples flow.
    SampleWriter samples(writer);
    samples.Start();
    long rss[2] = {};
    LoadFigures figures;
    const auto loadStart = Clock::now();
    for (long& after : rss) {
        Load(rig.Address(), settings.clients, settings.seconds / 2, figures);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        after = Look(pid).rssKb;
    }
    const double loadSeconds = std::chrono::duration<double>(Clock::now() - loadStart).count();
    samples.Stop();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const ProcessState after = Look(pid);
    std::printf(
        "load: %d clients for %.1f s: %llu calls (%.0f/s), %llu refused, %llu clients "
        "vanished without a word, %llu motions received\n",
        settings.clients, loadSeconds, static_cast<unsigned long long>(figures.calls),
        static_cast<double>(figures.calls) / loadSeconds,
        static_cast<unsigned long long>(figures.refused),
        static_cast<unsigned long long>(figures.vanished),
        static_cast<unsigned long long>(figures.motions.load()));
    std::printf(
        "service before / after: descriptors %zu / %zu, threads %d / %d, "
        "memory %ld kB / %ld kB after the first half, %ld kB after the second\n",
        before.fds, after.fds, before.threads, after.threads, before.rssKb, rss[0], rss[1]);
    if (after.fds != before.fds) {
        fail("descriptors leaked");
    }
    if (after.threads != before.threads) {
        fail("threads leaked");
    }
    if (!ClaimsAtZero(rig.ServiceLog())) {
        fail("claim counts not back at zero");
    }

    // 3. Latency, alternating with the library's own hand-off.
    std::vector<int64_t> service;
    std::vector<int64_t> library;
    {
        ServiceLatency path(rig.Address(), writer);
        LibraryLatency floor;
        std::string error;
        if (!path.Claim() || !floor.Load(error)) {
            fail(("latency set-up: " + error).c_str());
        } else {
            path.Start();
            constexpr size_t kRounds = 10;
            const size_t each = std::max<size_t>(1, settings.reports / kRounds);
            bool missed = false;
            for (size_t round = 0; round < kRounds && !missed; ++round) {
                missed = !path.Measure(each, service);
                if (missed) {
                    fail("a report never reached the client");
                    std::printf("%s", rig.ServiceLog().c_str());
                }
                floor.Measure(each, library);
            }
            path.Stop();
        }
    }
    const auto us = [](int64_t ns) { return static_cast<double>(ns) / 1000.0; };
    std::printf("latency, sample to client's signal: p50 %.1f us, p99 %.1f us (%zu reports)\n",
                us(Percentile(service, 0.5)), us(Percentile(service, 0.99)), service.size());
    std::printf("latency, library hand-off (delivery to callback): p50 %.1f us, p99 %.1f us\n",
                us(Percentile(library, 0.5)), us(Percentile(library, 0.99)));
    if (!library.empty() && Percentile(library, 0.5) > 0) {
        std::printf("ratio service / library: p50 %.1f, p99 %.1f\n",
                    static_cast<double>(Percentile(service, 0.5)) /
                        static_cast<double>(Percentile(library, 0.5)),
                    static_cast<double>(Percentile(service, 0.99)) /
                        static_cast<double>(Percentile(library, 0.99)));
    }

    close(writer);
    rig.StopService();
    const std::string log = rig.ServiceLog();
    if (log.find("quil-motiond: stopped") == std::string::npos) {
        fail("the service did not stop cleanly");
        std::printf("%s", log.c_str());
    }

    // 4. A claim on a sensor the layer polls: a sysfs tree with an accelerometer.
    const std::string device = dir + "/sys/bus/iio/devices/iio:device0";
    std::filesystem::create_directories(device);
    for (const auto& [name, value] : {std::pair<const char*, const char*>{"name", "accel"},
                                      {"in_accel_x_raw", "0"},
                                      {"in_accel_y_raw", "0"},
                                      {"in_accel_z_raw", "980"},
                                      {"in_accel_scale", "0.01"}}) {
        std::ofstream(device + "/" + name) << value << "\n";
    }
    if (rig.StartService({"--sysfs-root", dir + "/sys", "--touch-device", dir + "/none"})) {
        Client one(rig.Address());
        one.Call(Bus::kClaim, 3);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        std::printf("wake-ups per second, one claim on a polled accelerometer: %.2f\n",
                    WakeupsPerSecond(rig.ServicePid(), settings.idle));
        one.Call(Bus::kRelease, 3);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const double released = WakeupsPerSecond(rig.ServicePid(), settings.idle);
        std::printf("wake-ups per second, the claim released again: %.2f\n", released);
        if (released != 0) {
            fail("the service kept waking after the last release");
        }
        rig.StopService();
    } else {
        fail("cannot start quil-motiond on a sysfs tree");
    }
    rig.StopBus();
    std::filesystem::remove_all(dir);
    std::printf("%s\n", ok ? "ok" : "FAILED");
    return settings.check && !ok ? 1 : 0;
}
