// Writes motion traces in the text form quil-replay plays: comments, host calls,
// samples and touches, each optionally stamped with milliseconds from the start.
// Shared by every program that produces traces, so the format lives in one place.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace Tarvo::Tools {

class TraceWriter {
public:
    // Pointer action codes of `touch` records.
    static constexpr int32_t kDown = 2;
    static constexpr int32_t kMove = 3;
    static constexpr int32_t kUp = 4;

    explicit TraceWriter(std::FILE* out) : out_(out) {}

    // "# text"; each line of a multi-line text becomes its own comment line.
    void Comment(const std::string& text);
    void Enable(int32_t type);
    void Disable(int32_t type);
    // Samples and touches. Stamps are clamped so they never decrease, because the
    // replay rejects a trace whose time runs backwards.
    void Acc(double ms, float x, float y, float z);
    void Light(double ms, float intensity);
    void Prox(double ms, float distance);
    void Touch(double ms, int32_t action, int32_t id, int32_t x, int32_t y,
               const std::vector<int32_t>& ids);

    // False once any write has failed.
    bool Ok() const { return ok_; }

    // Copies a finished trace from `from` (rewound first) to `to`; false when a write fails.
    static bool Copy(std::FILE* from, std::FILE* to);

    // "12", "12.5", "0.001": milliseconds with at most three decimals, no trailing zeros.
    static std::string FormatStamp(double ms);
    // The shortest text that reads back as exactly `value` through strtof.
    static std::string FormatFloat(float value);

private:
    void Line(const std::string& text);
    std::string Stamp(double ms);

    std::FILE* out_;
    double lastMs_ = 0.0;
    bool ok_ = true;
};

}  // namespace Tarvo::Tools
