// The evemu and getevent readers: what they deliver and what they refuse.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "evemu_reader.h"
#include "getevent_reader.h"
#include "text_file.h"

namespace Tarvo::Import::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Read {
    bool ok = false;
    std::string error;
    std::vector<std::tuple<std::string, int, int, int, int>> axes;  // device, code, min, max, res
    std::vector<std::tuple<std::string, int, int, int, int64_t, int>> events;

    template <typename Reader>
    static Read With(const std::string& text)
    {
        Read r;
        Tarvo::Test::TextFile file(text);
        Tools::LineReader lines("rec", file.File());
        r.ok = Reader::Read(
            lines,
            [&r](const std::string& d, const RawAxis& a) {
                r.axes.emplace_back(d, a.code, a.min, a.max, a.resolution);
            },
            [&r](const std::string& d, const RawEvent& e) {
                r.events.emplace_back(d, e.type, e.code, e.value, e.timeUs, e.line);
            },
            r.error);
        return r;
    }
};

TEST(EvemuReaderTest, ReadsDescriptionAndEvents)
{
    const Read r = Read::With<EvemuReader>(
        "# EVEMU 1.3\n"
        "N: Panel\nI: 0018 0000 0000 0000\nP: 02 00\nB: 03 03 00 00 00 00 80 60 02\n"
        "A: 35 0 1279 0 0\nA: 36 -5 767 0 0 12\n"
        "E: 0.000001 0003 0039 0013\t# EV_ABS / ABS_MT_TRACKING_ID 13\n"
        "E: 1.5 0003 0039 -001\r\n"
        "E: 12.000020 0000 0000 0000\n");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_THAT(r.axes, ElementsAre(std::make_tuple("", 0x35, 0, 1279, 0),
                                    std::make_tuple("", 0x36, -5, 767, 12)));
    EXPECT_THAT(r.events, ElementsAre(std::make_tuple("", 3, 0x39, 13, 1, 8),
                                      std::make_tuple("", 3, 0x39, -1, 1500000, 9),
                                      std::make_tuple("", 0, 0, 0, 12000020, 10)));
}

TEST(EvemuReaderTest, AxesFromTheCommentBlockOfAnEventsFile)
{
    const Read r = Read::With<EvemuReader>(
        "#   Event type 1 (EV_KEY)\n#     Event code 330 (BTN_TOUCH)\n"
        "#   Event type 3 (EV_ABS)\n#     Event code 53 (ABS_MT_POSITION_X)\n"
        "#       Value      274\n#       Min          0\n#       Max       1279\n");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_THAT(r.axes, ElementsAre(std::make_tuple("", 53, 0, 1279, 0)));
}

TEST(EvemuReaderTest, RefusesLinesItCannotRead)
{
    EXPECT_EQ(Read::With<EvemuReader>("N: x\nhello\n").error, "rec:2: not an evemu line: 'hello'");
    EXPECT_EQ(Read::With<EvemuReader>("E: 0.1 0003 0035\n").error,
              "rec:1: event line needs TIME TYPE CODE VALUE, got 3 fields");
    EXPECT_EQ(Read::With<EvemuReader>("E: x.1 0003 0035 1\n").error, "rec:1: bad time 'x.1'");
    EXPECT_EQ(Read::With<EvemuReader>("E: 0.1 0003 zz 1\n").error,
              "rec:1: bad event type or code '0003 zz'");
    EXPECT_EQ(Read::With<EvemuReader>("E: 0.1 0003 0035 99999999999\n").error,
              "rec:1: bad event value '99999999999'");
    EXPECT_EQ(Read::With<EvemuReader>("A: 35 0\n").error,
              "rec:1: axis line needs CODE MIN MAX: 'A: 35 0'");
}

TEST(GeteventReaderTest, ReadsNamedAndNumericDumps)
{
    const Read r = Read::With<GeteventReader>(
        "[    1411.748191] EV_ABS       ABS_MT_POSITION_X    00000273            \n"
        "[    1411.748214] EV_ABS       ABS_MT_TRACKING_ID   ffffffff\n"
        "[    1411.748215] EV_KEY       BTN_TOUCH            DOWN\n"
        "[    1411.748216] EV_ABS       ABS_NOT_A_CODE       00000001\n"
        "[    1411.748223] /dev/input/event2: 0000 0002 00000000\n");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_THAT(r.events,
                ElementsAre(std::make_tuple("", 3, 0x35, 0x273, 1411748191, 1),
                            std::make_tuple("", 3, 0x39, -1, 1411748214, 2),
                            std::make_tuple("", 1, 0x14a, 1, 1411748215, 3),
                            std::make_tuple("/dev/input/event2", 0, 2, 0, 1411748223, 5)));
}

TEST(GeteventReaderTest, ReadsAxisRangesOfTheDescriptionBlocks)
{
    const Read r = Read::With<GeteventReader>(
        "add device 1: /dev/input/event3\n"
        "  name:     \"keys\"\n"
        "  events:\n"
        "    KEY (0001): KEY_VOLUMEDOWN        KEY_VOLUMEUP\n"
        "add device 2: /dev/input/event2\n"
        "  name:     \"touch\"\n"
        "  events:\n"
        "    ABS (0003): ABS_MT_SLOT           : value 0, min 0, max 9, fuzz 0, flat 0, "
        "resolution 0\n"
        "                ABS_MT_POSITION_X     : value 0, min 0, max 1079, fuzz 0, flat 0, "
        "resolution 11\n"
        "                0036  : value 0, min 0, max 2399, fuzz 0, flat 0, resolution 0\n"
        "  input props:\n"
        "    INPUT_PROP_DIRECT\n"
        "could not get driver version for /dev/input/mouse0, Not a typewriter\n");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_THAT(r.axes, ElementsAre(std::make_tuple("/dev/input/event2", 0x2f, 0, 9, 0),
                                    std::make_tuple("/dev/input/event2", 0x35, 0, 1079, 11),
                                    std::make_tuple("/dev/input/event2", 0x36, 0, 2399, 0)));
    EXPECT_THAT(r.events, IsEmpty());
}

TEST(GeteventReaderTest, RefusesLinesItCannotRead)
{
    EXPECT_EQ(Read::With<GeteventReader>("/dev/input/event2: 0003 0035 00000001\n").error,
              "rec:1: event without a time stamp (record with getevent -t or -lt)");
    EXPECT_EQ(Read::With<GeteventReader>("[ 1.0] EV_ABS ABS_MT_POSITION_X\n").error,
              "rec:1: event needs TYPE CODE VALUE, got 2 fields");
    EXPECT_EQ(Read::With<GeteventReader>("[ 1.0] EV_ABS ABS_MT_POSITION_X 12x\n").error,
              "rec:1: bad value '12x'");
    EXPECT_EQ(Read::With<GeteventReader>("[ soon] EV_SYN SYN_REPORT 0\n").error,
              "rec:1: bad time stamp '[ soon]'");
    EXPECT_EQ(Read::With<GeteventReader>("[ 1.0 EV_SYN\n").error, "rec:1: time stamp without ']'");
    EXPECT_EQ(Read::With<GeteventReader>("\nhello\n").error, "rec:2: not a getevent line: 'hello'");
}

}  // namespace
}  // namespace Tarvo::Import::Test
