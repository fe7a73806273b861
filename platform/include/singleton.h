// Process-wide single instance, constructed by a static initialiser when the module
// that uses it is loaded and destroyed at process exit (or unload).
#pragma once

namespace Tarvo {

template <typename T>
class Singleton {
public:
    static T& GetInstance() { return instance_; }

    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

private:
    Singleton() = default;
    static T instance_;
};

template <typename T>
T Singleton<T>::instance_;

}  // namespace Tarvo
