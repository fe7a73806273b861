#include "trace_parser.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "text_file.h"

namespace Tarvo::Tools::Test {
namespace {

// A number is whatever strtof reads whole, read to the same bits; a check that skips
// converting plain decimals accepts and rejects exactly what a full read does.
TEST(TraceParserTest, NumbersReadAsStrtofReadsThemAndCheckedAsRead)
{
    std::vector<std::string> tokens = {"12.5",
                                       "-0.001",
                                       "7",
                                       "-",
                                       "-.5",
                                       ".5",
                                       "5.",
                                       "1e3",
                                       "1e",
                                       "1_0",
                                       "+1",
                                       "+3.5",
                                       "0x1p-3",
                                       "inf",
                                       "-inf",
                                       "nan",
                                       "1.2.3",
                                       "--1",
                                       "1-",
                                       "\u0661",
                                       "1e-40",
                                       "3.4028236e38",
                                       "99999999999999999999999999999999999999999999",
                                       "0.0000000000000000000000000000000000000000000001"};
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        char token[64];
        const int digits = 1 + static_cast<int>(random() % 9);
        std::snprintf(token, sizeof(token), "%s%.*fe%d", random() % 3 == 0 ? "-" : "", digits,
                      static_cast<double>(random()) / 1e6, static_cast<int>(random() % 90) - 45);
        tokens.push_back(token);
    }
    for (const std::string& token : tokens) {
        std::string outcome[2];  // checked, read
        float read = 0.0F;
        for (const bool checkOnly : {true, false}) {
            Tarvo::Test::TextFile file("light " + token + "\n");
            TraceParser parser("t.trace", file.File());
            if (checkOnly) {
                parser.CheckOnly();
            }
            TraceRecord record;
            std::string error;
            outcome[checkOnly ? 0 : 1] = parser.Next(record, error) ? "ok" : error;
            read = record.floats.empty() ? 0.0F : record.floats[0];
        }
        EXPECT_EQ(outcome[0], outcome[1]) << token;
        char* end = nullptr;
        const float expected = std::strtof(token.c_str(), &end);
        if (end != token.c_str() && *end == '\0') {
            ASSERT_EQ(outcome[1], "ok") << token;
            EXPECT_EQ(std::memcmp(&expected, &read, sizeof(float)), 0) << token;
        } else {
            EXPECT_EQ(outcome[1], "t.trace:1: '" + token + "' is not a number");
        }
    }
}

TEST(TraceParserTest, ReadingRecordByRecordGivesWhatParsingTheWholeTextGives)
{
    // Read in blocks: lines straddle them, one of them almost as long as a line may be.
    std::string text = "# two files' worth\n@0 enable 3\n\n";
    for (int i = 0; i < 5000; ++i) {
        text += "acc 0.5 " + std::to_string(i) + " 9.8\n";
    }
    text += "# " + std::string(65000, 'x') +
            "\n@1000000000000 acc 1 2 3\r\nsensor 7 1\n"
            "touch down 0 1 2 0,1\nidle";
    std::vector<TraceRecord> whole;
    std::string error;
    ASSERT_TRUE(TraceParser::ParseText("t.trace", text, whole, error)) << error;

    std::FILE* file = std::tmpfile();
    std::fputs(text.c_str(), file);
    std::rewind(file);
    TraceParser parser("t.trace", file);
    TraceRecord record;
    size_t count = 0;
    while (parser.Next(record, error)) {
        ASSERT_LT(count, whole.size());
        EXPECT_EQ(record.kind, whole[count].kind);
        EXPECT_EQ(record.line, whole[count].line);
        EXPECT_EQ(record.stamp, whole[count].stamp);
        EXPECT_EQ(record.floats, whole[count].floats);  // reused record, nothing left over
        EXPECT_EQ(record.ids, whole[count].ids);
        ++count;
    }
    EXPECT_EQ(error, "");
    EXPECT_EQ(count, whole.size());
    std::fclose(file);

    // A line past the bound (read record by record, the line reader's own test).
    const std::string endless = "idle\n" + std::string(70000, '7') + "\nidle\n";
    EXPECT_FALSE(TraceParser::ParseText("long.trace", endless, whole, error));
    EXPECT_EQ(error, "long.trace:2: line too long (more than 65536 bytes)");
}

}  // namespace
}  // namespace Tarvo::Tools::Test
