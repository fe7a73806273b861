// The whole plug-in as a hostile but legal host drives it: a byte-coded program of host
// calls on up to two objects, samples with any float values, touches of any shape,
// platform faults and heals, and calls made from inside the host callback (which reads
// its own instructions from the end of the input). After each input every object is
// destroyed and the platform must be back where it started: workers idle, no sensor
// active, no monitor installed, no report delivered after Destroy returned.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "fuzz_values.h"
#include "host_platform.h"
#include "i_motion_algo.h"
#include "motion_type.h"

namespace {
using Tarvo::Host::HostPlatform;
using Tarvo::Host::SensorCall;
using Tarvo::Quil::IMotionAlgo;
using Tarvo::Quil::MotionData;

constexpr int kSlots = 2;
constexpr int kIdleSliceMs = 1000;
constexpr int kStallMs = 120000;
// A call from inside the callback that has not returned after this long is stuck, not slow.
constexpr auto kCallTimeout = std::chrono::minutes(2);
constexpr auto kSlowCallback = std::chrono::microseconds(200);
constexpr int kWaitSpinUs = 50;
constexpr int32_t kAcc = 1;
constexpr int32_t kLight = 5;
constexpr int32_t kProx = 12;
constexpr int32_t kLibrarySensors[] = {kAcc, kLight, kProx};

[[noreturn]] void Fail(const char* what)
{
    std::fprintf(stderr, "fuzz_plugin: %s\n", what);
    std::fflush(stderr);
    std::abort();
}

// Reads the input front to back (the host's program) or back to front (the callback's).
// Past the end every read yields zero.
class Tape {
public:
    void Load(const uint8_t* data, size_t size, bool backwards)
    {
        data_ = data;
        size_ = size;
        at_ = 0;
        backwards_ = backwards;
    }
    bool Done() const { return at_ >= size_; }
    uint8_t Byte()
    {
        if (Done()) {
            return 0;
        }
        const size_t index = backwards_ ? size_ - 1 - at_ : at_;
        ++at_;
        return data_[index];
    }
    uint32_t Word()
    {
        uint32_t word = 0;
        for (int i = 0; i < 4; ++i) {
            word = (word << 8) | Byte();
        }
        return word;
    }

private:
    const uint8_t* data_ = nullptr;
    size_t size_ = 0;
    size_t at_ = 0;
    bool backwards_ = false;
};

// Mostly types the library supports, some it must refuse.
int32_t MotionType(uint8_t byte)
{
    using Tarvo::Quil::kSupportTypes;
    constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
    constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
    static const int32_t kRefused[] = {-1, 1, 5, 8, 14, 99, kLowest, kHighest};
    const size_t pick = byte % (kSupportTypes.size() + std::size(kRefused));
    return pick < kSupportTypes.size() ? kSupportTypes[pick]
                                       : kRefused[pick - kSupportTypes.size()];
}

// Mostly values a real sensor gives (`scale` per step), else the values that break
// arithmetic, else any bit pattern.
float SampleValue(Tape& tape, float scale)
{
    const uint8_t selector = tape.Byte();
    if (selector < 200) {
        return (static_cast<float>(selector) - 100.0F) * scale;
    }
    switch (selector % 8) {
        case 0:
            return std::numeric_limits<float>::quiet_NaN();
        case 1:
            return std::numeric_limits<float>::infinity();
        case 2:
            return -std::numeric_limits<float>::infinity();
        case 3:
            return std::numeric_limits<float>::max();
        case 4:
            return -std::numeric_limits<float>::max();
        case 5:
            return std::numeric_limits<float>::denorm_min();
        default: {
            const uint32_t bits = tape.Word();
            float value = 0.0F;
            std::memcpy(&value, &bits, sizeof(value));
            return value;
        }
    }
}

int32_t Coordinate(Tape& tape)
{
    const uint8_t selector = tape.Byte();
    return Tarvo::Fuzz::Coordinate(selector, tape.Byte());
}

std::vector<int32_t> PointerIds(Tape& tape)
{
    std::vector<int32_t> ids(tape.Byte() % 7);
    for (int32_t& id : ids) {
        const uint8_t byte = tape.Byte();
        id = byte < 250 ? byte % 6 : static_cast<int32_t>(byte) * -1000;
    }
    return ids;
}

// What the fuzzing host knows of its objects. The callback may call into an object only
// while the host has not begun to destroy it, and the host waits for such calls to end
// before it calls Destroy: a host that let the two overlap would be at fault itself.
struct HostState {
    std::mutex mutex;
    std::condition_variable callsEnded;
    IMotionAlgo* algo[kSlots] = {};
    bool open[kSlots] = {};
    int callsInFlight[kSlots] = {};
    uint64_t generation[kSlots] = {};
    uint64_t destroyedGeneration[kSlots] = {};
    Tape callbackTape;  // guarded by mutex: both workers may call back at once
};

HostState& State()
{
    static HostState* state = new HostState;  // never destroyed: workers outlive main
    return *state;
}

// One instruction from the tape per report: a call back into the object, a slow
// return, or nothing.
class FuzzCallback : public IMotionAlgo::Callback {
public:
    FuzzCallback(int slot, uint64_t generation) : slot_(slot), generation_(generation) {}

    int OnMotionChanged(const MotionData& data) override
    {
        // Read the whole record, so a report built from freed memory shows up.
        volatile double sink = data.type + data.result + data.status + data.action +
                               data.direction + data.rotateAction + data.move;
        (void)sink;
        HostState& state = State();
        uint8_t op = 0;
        uint8_t operand = 0;
        IMotionAlgo* algo = nullptr;
        {
            std::lock_guard<std::mutex> lock(state.mutex);
            if (generation_ <= state.destroyedGeneration[slot_]) {
                Fail("a report reached the host after Destroy returned");
            }
            op = state.callbackTape.Byte();
            operand = state.callbackTape.Byte();
            if (state.open[slot_] && state.generation[slot_] == generation_) {
                algo = state.algo[slot_];
                ++state.callsInFlight[slot_];
            }
        }
        const int result = (op & 0x80) != 0 ? -1 : 0;  // a host may refuse a report
        if (algo != nullptr) {
            CallBack(*algo, op % 10, operand);
            std::lock_guard<std::mutex> lock(state.mutex);
            --state.callsInFlight[slot_];
            state.callsEnded.notify_all();
        }
        return result;
    }

private:
    void CallBack(IMotionAlgo& algo, uint8_t op, uint8_t operand)
    {
        switch (op) {
            case 1:
                algo.Enable(MotionType(operand));
                break;
            case 2:
                algo.Disable(MotionType(operand));
                break;
            case 3:
                algo.DisableCount(MotionType(operand));
                break;
            case 4:
                algo.IsSupportType(MotionType(operand));
                break;
            case 5:
                algo.CheckActiveAlgo();
                break;
            case 6:
                algo.RegisterCallback(std::make_shared<FuzzCallback>(slot_, generation_));
                break;
            case 7:
                algo.UnregisterCallback();
                break;
            case 8:
                std::this_thread::sleep_for(kSlowCallback);
                break;
            default:
                break;
        }
    }

    const int slot_;
    const uint64_t generation_;
};

class FuzzHost {
public:
    explicit FuzzHost(Tape& tape) : tape_(tape) {}

    void Run()
    {
        while (!tape_.Done()) {
            Step(tape_.Byte());
        }
        for (int slot = 0; slot < kSlots; ++slot) {
            DestroySlot(slot);
        }
        WaitIdle();
    }

private:
    void Step(uint8_t opcode)
    {
        const int slot = (opcode >> 7) & 1;
        switch (opcode % 24) {
            case 0:
                CreateSlot(slot);
                break;
            case 1:
                DestroySlot(slot);
                break;
            case 2:
                if (IMotionAlgo* algo = Algo(slot)) {
                    algo->RegisterCallback(
                        std::make_shared<FuzzCallback>(slot, State().generation[slot]));
                }
                break;
            case 3:
                if (IMotionAlgo* algo = Algo(slot)) {
                    algo->UnregisterCallback();
                }
                break;
            case 4:
            case 5:  // twice as often: the pipelines only run once enabled
                if (IMotionAlgo* algo = Algo(slot)) {
                    algo->Enable(MotionType(tape_.Byte()));
                }
                break;
            case 6:
                if (IMotionAlgo* algo = Algo(slot)) {
                    algo->Disable(MotionType(tape_.Byte()));
                }
                break;
            case 7:
                if (IMotionAlgo* algo = Algo(slot)) {
                    algo->DisableCount(MotionType(tape_.Byte()));
                    algo->IsSupportType(MotionType(tape_.Byte()));
                    algo->CheckActiveAlgo();
                }
                break;
            case 8:
            case 9: {
                const float x = SampleValue(tape_, 0.1F);
                const float y = SampleValue(tape_, 0.1F);
                const float z = SampleValue(tape_, 0.1F);
                HostPlatform::InjectSample(kAcc, {x, y, z}, ++stampNs_);
                break;
            }
            case 10:
                HostPlatform::InjectSample(kProx, {SampleValue(tape_, 0.1F)}, ++stampNs_);
                break;
            case 11:
                HostPlatform::InjectSample(kLight, {SampleValue(tape_, 10.0F)}, ++stampNs_);
                break;
            case 12: {
                const int32_t sensor = static_cast<int8_t>(tape_.Byte());
                std::vector<float> values(tape_.Byte() % 9);
                for (float& value : values) {
                    value = SampleValue(tape_, 0.1F);
                }
                HostPlatform::InjectSample(sensor, values, ++stampNs_);
                break;
            }
            case 13:
                HostPlatform::InjectNullEvent();
                break;
            case 14:
            case 15: {
                const uint8_t action = tape_.Byte();
                const int32_t id = tape_.Byte() % 6;
                const int32_t x = Coordinate(tape_);
                const int32_t y = Coordinate(tape_);
                HostPlatform::InjectTouch(TouchAction(action), id, x, y, PointerIds(tape_));
                break;
            }
            case 16: {
                const uint8_t action = tape_.Byte();
                const int32_t id = tape_.Byte() % 6;
                HostPlatform::InjectTouchNoItem(TouchAction(action), id, PointerIds(tape_));
                break;
            }
            case 17:
                Fault(true);
                break;
            case 18:
                Fault(false);
                break;
            case 19:
                HostPlatform::SetMonitorId(static_cast<int8_t>(tape_.Byte()));
                break;
            case 20: {
                std::vector<int32_t> sensors;
                const uint8_t mask = tape_.Byte();
                for (int i = 0; i < 4; ++i) {
                    if ((mask >> i) & 1) {
                        sensors.push_back(i == 3 ? 42 : kLibrarySensors[i]);
                    }
                }
                HostPlatform::SetDeviceSensors(sensors);
                break;
            }
            case 21:
                HostPlatform::SetThreadNamingFails((tape_.Byte() & 1) != 0);
                break;
            case 22:
                // Log lines go nowhere, but every one is formatted.
                HostPlatform::SetLogSink([](const Tarvo::Host::LogLine&) {});
                HostPlatform::SetLogLevel(3 + tape_.Byte() % 6);
                break;
            default:
                WaitIdle();
                break;
        }
    }

    static int32_t TouchAction(uint8_t byte)
    {
        // Mostly down, move and up; sometimes anything.
        return byte < 240 ? 2 + byte % 3 : static_cast<int8_t>(byte);
    }

    void Fault(bool fail)
    {
        const uint8_t call = tape_.Byte();
        const uint8_t sensor = tape_.Byte();
        const auto which = static_cast<SensorCall>(call % 6);
        std::optional<int32_t> id;
        if (sensor % 4 != 3) {
            id = kLibrarySensors[sensor % 4];
        }
        if (fail) {
            HostPlatform::Fail(which, id);
            // Once deactivation has failed the platform may keep a sensor active that
            // no object can account for any more.
            if (which == SensorCall::DEACTIVATE_SENSOR) {
                deactivationFailed_ = true;
            }
        } else {
            HostPlatform::Heal(which, id);
        }
    }

    IMotionAlgo* Algo(int slot)
    {
        std::lock_guard<std::mutex> lock(State().mutex);
        return State().algo[slot];
    }

    void CreateSlot(int slot)
    {
        HostState& state = State();
        std::lock_guard<std::mutex> lock(state.mutex);
        if (state.algo[slot] != nullptr) {
            return;
        }
        // A second live object may be refused; then the slot stays empty.
        state.algo[slot] = Create();
        if (state.algo[slot] != nullptr) {
            ++state.generation[slot];
            state.open[slot] = true;
        }
    }

    void DestroySlot(int slot)
    {
        HostState& state = State();
        IMotionAlgo* algo = nullptr;
        uint64_t generation = 0;
        {
            std::unique_lock<std::mutex> lock(state.mutex);
            if (state.algo[slot] == nullptr) {
                return;
            }
            state.open[slot] = false;
            if (!state.callsEnded.wait_for(lock, kCallTimeout,
                                           [&] { return state.callsInFlight[slot] == 0; })) {
                Fail("a call made from inside the host callback did not return");
            }
            algo = state.algo[slot];
            generation = state.generation[slot];
        }
        Destroy(algo);
        bool anyLeft = false;
        {
            std::lock_guard<std::mutex> lock(state.mutex);
            state.algo[slot] = nullptr;
            state.destroyedGeneration[slot] = generation;
            for (IMotionAlgo* other : state.algo) {
                anyLeft = anyLeft || other != nullptr;
            }
        }
        if (!anyLeft) {
            CheckPlatformReleased();
        }
    }

    void CheckPlatformReleased()
    {
        WaitIdle();
        if (HostPlatform::InstalledMonitorCount() != 0) {
            Fail("an input monitor is still installed after the last Destroy");
        }
        if (deactivationFailed_) {
            return;
        }
        for (int32_t sensor : kLibrarySensors) {
            if (HostPlatform::ActiveSubscriberCount(sensor) != 0) {
                Fail("a sensor is still active after the last Destroy");
            }
        }
    }

    // A loaded machine may take any time to get through the work of an input; only
    // workers that stop moving altogether are a failure.
    static void WaitIdle()
    {
        int64_t last = HostPlatform::OutstandingWork();
        int still = 0;
        while (!HostPlatform::WaitIdle(kIdleSliceMs)) {
            const int64_t now = HostPlatform::OutstandingWork();
            if (now != last) {
                last = now;
                still = 0;
            } else if (++still * kIdleSliceMs >= kStallMs) {
                Fail("the library's workers handled nothing for two minutes");
            }
        }
    }

    Tape& tape_;
    int64_t stampNs_ = 0;
    bool deactivationFailed_ = false;
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    HostPlatform::Reset();
    // Samples and touches are delivered on this thread for inputs of even length, on the
    // services' own threads for the others: both ways reach the library, and the first
    // saves two thread switches an event. Waits spin a little before they sleep.
    HostPlatform::SetInlineDelivery(size % 2 == 0);
    HostPlatform::SetWaitSpin(kWaitSpinUs);
    HostState& state = State();
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.callbackTape.Load(data, size, true);
    }
    Tape program;
    program.Load(data, size, false);
    FuzzHost(program).Run();
    {
        // Every object is gone, so nothing may read the input once we return.
        std::lock_guard<std::mutex> lock(state.mutex);
        state.callbackTape.Load(nullptr, 0, true);
    }
    return 0;
}
