// A host that ends the process while every motion is enabled and samples pour in.
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

#include "host_platform.h"
#include "i_motion_algo.h"

namespace {
class Ignore : public Tarvo::Quil::IMotionAlgo::Callback {
public:
    int OnMotionChanged(const Tarvo::Quil::MotionData&) override { return 0; }
};
}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s PLUGIN\n", argv[0]);
        return 2;
    }
    void* handle = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::fprintf(stderr, "dlopen: %s\n", dlerror());
        return 2;
    }
    auto create = reinterpret_cast<Tarvo::Quil::IMotionAlgo* (*)()>(dlsym(handle, "Create"));
    Tarvo::Quil::IMotionAlgo* algo = create != nullptr ? create() : nullptr;
    if (algo == nullptr) {
        return 2;
    }
    algo->RegisterCallback(std::make_shared<Ignore>());
    for (int type : {0, 2, 3, 4, 6, 7}) {
        algo->Enable(type);
    }
    for (int t = 0; t < 2; ++t) {
        // Detached on purpose: they are still injecting while the process exits.
        std::thread([t] {
            for (int i = 0;; ++i) {
                Tarvo::Host::HostPlatform::InjectSample(1, {(i + t) % 2 ? 9.6F : 0.2F, 0.4F, 1.3F});
                Tarvo::Host::HostPlatform::InjectSample(12, {i % 2 ? 0.0F : 5.0F});
                if (i % 32 == 0) {
                    std::this_thread::yield();
                }
            }
        }).detach();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::exit(0);
}
