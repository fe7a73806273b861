// Writes what the host observes: one line per host call and per report, as text or as
// JSON Lines. Reports arrive on the library's worker threads, so writing is serialised.
#pragma once

#include <cstdio>
#include <mutex>
#include <optional>
#include <string>

#include "motion_data.h"

namespace Tarvo::Tools {

class OutputWriter {
public:
    OutputWriter(std::FILE* out, bool json) : out_(out), json_(json) {}

    // "enable 3 -> 0"; `arg` absent for idle/register/unregister.
    void HostCall(const std::string& call, std::optional<int32_t> arg, int result,
                  std::optional<double> stamp);
    // "supported 3 -> true"
    void HostQuery(const std::string& call, std::optional<int32_t> arg, bool result,
                   std::optional<double> stamp);
    // "report <dump>"; `stamp` is that of the record that caused it.
    void Report(const Quil::MotionData& data, std::optional<double> stamp);
    void Flush();

    // The JSON text of `value`: shortest round-trip form, always with a fraction or an
    // exponent (0.0, 1.5, 1e+300), null when not finite.
    static std::string JsonDouble(double value);

private:
    void CallLine(const std::string& call, std::optional<int32_t> arg, const std::string& text,
                  bool isBool, bool boolValue, int intValue, std::optional<double> stamp);
    void Write(const std::string& line);

    std::mutex mutex_;
    std::FILE* out_;
    bool json_;
};

}  // namespace Tarvo::Tools
