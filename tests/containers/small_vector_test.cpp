#include "small_vector.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tarvo::Quil::Test {
namespace {

// Counts the live objects, so that every element made is unmade exactly once.
struct Counted {
    static int live;
    static int made;
    std::string text;  // owns memory: a lost or doubled destruction shows under ASan

    Counted() : Counted(std::string()) {}
    explicit Counted(std::string t) : text(std::move(t))
    {
        ++live;
        ++made;
    }
    Counted(const Counted& other) : text(other.text)
    {
        ++live;
        ++made;
    }
    Counted(Counted&& other) noexcept : text(std::move(other.text))
    {
        ++live;
        ++made;
    }
    Counted& operator=(const Counted&) = default;
    Counted& operator=(Counted&&) = default;
    ~Counted() { --live; }
    bool operator==(const Counted& other) const { return text == other.text; }
};
int Counted::live = 0;
int Counted::made = 0;

using List = SmallVector<Counted, 3>;

std::vector<std::string> Texts(const List& list)
{
    std::vector<std::string> texts;
    for (const Counted& item : list) {
        texts.push_back(item.text);
    }
    return texts;
}

TEST(SmallVectorTest, AnEmptyListMakesNoElements)
{
    Counted::made = 0;
    {
        List list;
        SmallVector<Counted, 1000> big;
        EXPECT_TRUE(list.empty());
        EXPECT_TRUE(big.empty());
    }
    EXPECT_EQ(Counted::made, 0);
}

// Over the inline room and back: the order holds, copies are equal and independent,
// and every element is destroyed exactly once.
TEST(SmallVectorTest, KeepsOrderAcrossSpillingAndShrinkingBack)
{
    Counted::live = 0;
    {
        List list;
        for (const char* text : {"a", "b", "c", "d", "e"}) {
            list.push_back(Counted(text));
        }
        EXPECT_EQ(Texts(list), (std::vector<std::string>{"a", "b", "c", "d", "e"}));

        List copy = list;
        EXPECT_TRUE(copy == list);
        copy[0].text = "z";
        EXPECT_EQ(list[0].text, "a");

        list.resize(2);  // back inline
        EXPECT_EQ(Texts(list), (std::vector<std::string>{"a", "b"}));
        list.resize(4);
        EXPECT_EQ(Texts(list), (std::vector<std::string>{"a", "b", "", ""}));
        list.resize(1);
        list = copy;
        EXPECT_EQ(Texts(list), (std::vector<std::string>{"z", "b", "c", "d", "e"}));
        list.clear();
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(Counted::live, 5);  // copy's
    }
    EXPECT_EQ(Counted::live, 0);
}

TEST(SmallVectorTest, PushingItsOwnElementAsTheFirstToSpill)
{
    List list{Counted("a"), Counted("b"), Counted("c")};
    list.push_back(list[1]);
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"a", "b", "c", "b"}));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
