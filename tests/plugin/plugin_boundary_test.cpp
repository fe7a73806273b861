// The plug-in as a host meets it: loaded with dlopen, entered through Create/Destroy.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

#include "host_platform.h"
#include "i_motion_algo.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;

// Names of the dynamic symbols `nm` lists for `path` with `flags`.
std::set<std::string> DynamicSymbols(const std::string& path, const std::string& flags)
{
    std::set<std::string> names;
    const std::string command = "nm -D " + flags + " --format=just-symbols '" + path + "'";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return names;
    }
    char line[512];
    while (std::fgets(line, sizeof(line), pipe) != nullptr) {
        std::string name(line);
        name.erase(name.find_last_not_of("\r\n") + 1);
        names.insert(name.substr(0, name.find('@')));
    }
    pclose(pipe);
    return names;
}

class Counting : public IMotionAlgo::Callback {
public:
    int OnMotionChanged(const MotionData& /*data*/) override { return 0; }
};

TEST(PluginBoundaryTest, ExportsOnlyItsEntryPoints)
{
    EXPECT_EQ(DynamicSymbols(QUIL_PLUGIN_PATH, "--defined-only"),
              (std::set<std::string>{"Create", "Destroy"}));
}

TEST(PluginBoundaryTest, HandleFindsEntryPointsAndJson)
{
    void* handle = dlopen(QUIL_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    using CreateFn = IMotionAlgo* (*)();
    using DestroyFn = void (*)(IMotionAlgo*);
    auto create = reinterpret_cast<CreateFn>(dlsym(handle, "Create"));
    auto destroy = reinterpret_cast<DestroyFn>(dlsym(handle, "Destroy"));
    ASSERT_NE(create, nullptr);
    ASSERT_NE(destroy, nullptr);
    EXPECT_NE(dlsym(handle, "cJSON_Parse"), nullptr);
    EXPECT_NE(dlsym(handle, "cJSON_Delete"), nullptr);
    EXPECT_EQ(dlsym(handle, "_ZN5Tarvo4Quil17MotionAlgoManager6EnableEi"), nullptr);

    Host::HostPlatform::Reset();
    IMotionAlgo* algo = create();
    ASSERT_NE(algo, nullptr);
    EXPECT_EQ(algo->RegisterCallback(std::make_shared<Counting>()), 0);
    EXPECT_TRUE(algo->IsSupportType(13));
    EXPECT_EQ(algo->Enable(3), 0);
    EXPECT_FALSE(algo->CheckActiveAlgo());
    EXPECT_EQ(algo->Disable(3), 0);
    destroy(algo);
    destroy(nullptr);
    Host::HostPlatform::WaitIdle();
}

TEST(PluginBoundaryTest, CoreNeedsOnlyThePlatformInterfaces)
{
    // Built without any platform implementation: what it leaves undefined is exactly
    // what a device's platform libraries must provide (besides the C/C++ runtime).
    std::set<std::string> platform;
    for (const auto& name : DynamicSymbols(QUIL_UNLINKED_PATH, "--undefined-only")) {
        const bool runtime = name.rfind("_Z", 0) == 0 && name.find("Tarvo") == std::string::npos &&
                             name.find("MMI") == std::string::npos;
        const bool libc = name.find("pthread") != std::string::npos ||
                          name.rfind("__", 0) == 0 || name.rfind("_Unwind", 0) == 0 ||
                          name == "memcpy" || name == "memmove" || name == "memset" ||
                          name == "strlen" || name == "memcmp" || name == "sqrt" ||
                          name == "sqrtf" || name == "atan2" || name == "atan2f" ||
                          name.empty();
        if (!runtime && !libc) {
            platform.insert(name);
        }
    }
    for (const char* expected :
         {"GetAllSensors", "SubscribeSensor", "SetBatch", "ActivateSensor", "DeactivateSensor",
          "UnsubscribeSensor", "PlatformLogPrint", "PlatformLogIsLoggable"}) {
        EXPECT_EQ(platform.count(expected), 1U) << expected;
    }
    for (const auto& name : platform) {
        const bool seamCxx = name.find("3MMI") != std::string::npos ||
                             (name.rfind("_ZN5Tarvo", 0) == 0 && name.rfind("_ZN5Tarvo4Quil", 0) != 0);
        const bool known = seamCxx || name.find("Sensor") != std::string::npos ||
                           name.rfind("PlatformLog", 0) == 0 || name == "SetBatch";
        EXPECT_TRUE(known) << "unexpected platform dependency: " << name;
    }
}

}  // namespace
}  // namespace Tarvo::Quil::Test
