// Loads the plug-in the way a real host does: dlopen, then its two entry points.
#pragma once

#include <string>

#include "i_motion_algo.h"

namespace Tarvo::Tools {

class PluginLoader {
public:
    PluginLoader() = default;
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    // `path` empty: libquil_motion.so beside the running program, else the installed one.
    bool Load(const std::string& path, std::string& error);
    Quil::IMotionAlgo* Create() const { return create_(); }
    void Destroy(Quil::IMotionAlgo* algo) const { destroy_(algo); }

    static std::string DefaultPath();

private:
    // Kept loaded until exit: the library's sensor worker lives as long as the process.
    void* handle_ = nullptr;
    Quil::IMotionAlgo* (*create_)() = nullptr;
    void (*destroy_)(Quil::IMotionAlgo*) = nullptr;
};

}  // namespace Tarvo::Tools
