// The smallest host of the Quil Motion plug-in: loads it with dlopen, enables flip,
// plays the example flip on the host platform's simulated accelerometer and prints the
// reports it receives.
//
// Usage: quil-host-example [PLUGIN]   (default: the plug-in found at build time, else
// the installed one by its SONAME)
#include <dlfcn.h>

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <quil_motion/host_platform.h>
#include <quil_motion/i_motion_algo.h>
#include <quil_motion/motion_type.h>
#include <quil_motion/motion_version.h>

namespace {

using Tarvo::Host::HostPlatform;
using Tarvo::Quil::IMotionAlgo;
using Tarvo::Quil::MotionData;

// Reports arrive on the plug-in's worker thread: keep them for the main thread.
class CollectingCallback : public IMotionAlgo::Callback {
public:
    int OnMotionChanged(const MotionData& data) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        reports_.push_back(data);
        return 0;
    }

    std::vector<MotionData> Take()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::move(reports_);
    }

private:
    std::mutex mutex_;
    std::vector<MotionData> reports_;
};

#ifdef QUIL_PLUGIN
const char* const kDefaultPlugin = QUIL_PLUGIN;
#else
const char* const kDefaultPlugin = QUIL_MOTION_PLUGIN_SONAME;
#endif

constexpr int kAccelerometer = 1;

}  // namespace

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : kDefaultPlugin;
    // Never unloaded: the plug-in's sensor worker lives until the process exits.
    void* plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (plugin == nullptr) {
        std::fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
        return 1;
    }
    auto create = reinterpret_cast<IMotionAlgo* (*)()>(dlsym(plugin, "Create"));
    auto destroy = reinterpret_cast<void (*)(IMotionAlgo*)>(dlsym(plugin, "Destroy"));
    if (create == nullptr || destroy == nullptr) {
        std::fprintf(stderr, "%s is not a Quil Motion plug-in\n", path);
        return 1;
    }
    IMotionAlgo* algo = create();
    if (algo == nullptr) {
        return 1;
    }

    auto callback = std::make_shared<CollectingCallback>();
    algo->RegisterCallback(callback);
    std::printf("enable %d -> %d\n", Tarvo::Quil::MOTION_TYPE_FLIP,
                algo->Enable(Tarvo::Quil::MOTION_TYPE_FLIP));

    // Lying face up, tilted over the long edge, laid back, then turned onto its face.
    const std::vector<std::vector<float>> samples = {
        {0.1f, 0.2f, 9.8f}, {6.9f, 0.2f, 6.9f}, {0.1f, 0.2f, 9.8f}, {0.1f, 0.2f, -9.8f}};
    for (const auto& sample : samples) {
        HostPlatform::InjectSample(kAccelerometer, sample);
        // Every sample handled and every report delivered before the next one.
        if (!HostPlatform::WaitIdle()) {
            std::fprintf(stderr, "the plug-in did not settle\n");
            return 1;
        }
        for (const MotionData& report : callback->Take()) {
            std::printf("report %s\n", report.Dump().c_str());
        }
    }

    algo->Disable(Tarvo::Quil::MOTION_TYPE_FLIP);
    destroy(algo);
    return 0;
}
