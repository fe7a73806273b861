#include "plugin_loader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>

#include "motion_version.h"

namespace Tarvo::Tools {

std::string PluginLoader::DefaultPath()
{
    char self[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
    std::string dir = length > 0 ? std::string(self, static_cast<size_t>(length)) : ".";
    const size_t slash = dir.rfind('/');
    dir = slash == std::string::npos ? "." : dir.substr(0, slash);
    const std::string beside = dir + "/libquil_motion.so";
    if (access(beside.c_str(), F_OK) == 0) {
        return beside;
    }
    // Installed: the plug-in is in the library directory, which the program's run path
    // and the loader's default directories cover.
    return QUIL_MOTION_PLUGIN_SONAME;
}

bool PluginLoader::Load(const std::string& path, std::string& error)
{
    const std::string file = path.empty() ? DefaultPath() : path;
    handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
        const char* reason = dlerror();
        error = "cannot load the plug-in " + file + ": " + (reason != nullptr ? reason : "?");
        return false;
    }
    create_ = reinterpret_cast<Quil::IMotionAlgo* (*)()>(dlsym(handle_, "Create"));
    destroy_ = reinterpret_cast<void (*)(Quil::IMotionAlgo*)>(dlsym(handle_, "Destroy"));
    if (create_ == nullptr || destroy_ == nullptr) {
        error = file + " has no Create/Destroy entry points";
        return false;
    }
    return true;
}

}  // namespace Tarvo::Tools
