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
    destroy(algo);
    destroy(nullptr);
}

TEST(PluginBoundaryTest, CoreNeedsOnlyThePlatformInterfaces)
{
    // Linked with no platform implementation, the core leaves undefined exactly what a
    // device's platform libraries must provide (besides the C and C++ runtime): all of
    // it is what the host platform defines, and nothing else of ours is missing.
    const auto undefined = DynamicSymbols(QUIL_UNLINKED_PATH, "--undefined-only");
    const auto platform = DynamicSymbols(QUIL_HOST_PLATFORM_PATH, "--defined-only");
    for (const char* expected :
         {"GetAllSensors", "SubscribeSensor", "SetBatch", "ActivateSensor", "DeactivateSensor",
          "UnsubscribeSensor", "PlatformLogPrint", "PlatformLogIsLoggable"}) {
        EXPECT_EQ(undefined.count(expected), 1U) << expected;
        EXPECT_EQ(platform.count(expected), 1U) << expected;
    }
    int seamCxx = 0;
    for (const auto& name : undefined) {
        if (name.find("Tarvo") != std::string::npos || name.find("3MMI") != std::string::npos) {
            EXPECT_EQ(platform.count(name), 1U) << "not provided by the platform: " << name;
            ++seamCxx;
        }
    }
    EXPECT_GE(seamCxx, 6);  // thread support and the input manager
}

}  // namespace
}  // namespace Tarvo::Quil::Test
