// The real touchscreen recordings under tests/data/recordings/touchscreens, for tests
// run once per recording.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace Tarvo::Test {

inline auto TouchRecordings()
{
    return ::testing::Values(
        "EP0430M09.1-finger-drag-up-down.events", "EP0430M09.2-finger-scroll-down.events",
        "EP0430M09.2-fingers-touch-release.events", "EP0430M09.4-finger-drag-down.events",
        "Wacom-ISDv4-E6-Finger.double-center-scroll.events",
        "Wacom-ISDv4-E6-Finger.double-top-swipe.events",
        "Wacom-ISDv4-E6-Finger.single-top-swipe.events", "dell_canvas_touch.evemu");
}

// The recording's file name as a test name: letters and digits, the rest '_'.
inline std::string RecordingName(const ::testing::TestParamInfo<std::string>& info)
{
    std::string name = info.param;
    for (char& c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return name;
}

}  // namespace Tarvo::Test
