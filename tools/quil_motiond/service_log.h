// The service's own lines, "quil-motiond: ..." on standard error (the journal, under
// systemd). The level is checked before anything is formatted.
#pragma once

namespace Tarvo::Motiond {

class ServiceLog {
public:
    // As the platform log counts them: 3 debug, 4 info, 5 warn, 6 error, 8 off.
    enum Level { DEBUG = 3, INFO = 4, WARN = 5, ERROR = 6 };

    static void SetLevel(int level);
    static bool Enabled(int level);
    static void Print(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
};

}  // namespace Tarvo::Motiond
