#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostradb/util/collection.hpp"
#include "ostradb/util/string_list.hpp"
#include "support/render.hpp"

namespace ostradb {
namespace {

TEST(StringList, CommaTextRoundTripsAnyItems) {
    const std::vector<std::vector<std::string>> lists = {
        {},
        {""},
        {"a", "", "b"},
        {"plain", "with blank", "with,comma", "with\"quote\"", "\"", ","},
        {"Скв 12", "N105-2", "tab\there", "line\r\nbreak"},
        {" lead", "trail ", "  "},
    };
    for (const auto& items : lists) {
        TStringList l{items};
        TStringList back;
        back.SetCommaText(l.CommaText());
        EXPECT_EQ(back.Lines(), items) << l.CommaText();
    }
}

TEST(StringList, CommaTextQuotesOnlyWhatNeedsIt) {
    TStringList l{"a", "b c", "d\"e", ""};
    EXPECT_EQ(l.CommaText(), "a,\"b c\",\"d\"\"e\",\"\"");
    TStringList r;
    r.SetCommaText(" x , \"y z\" ,w");
    EXPECT_EQ(r.Lines(), (std::vector<std::string>{"x", "y z", "w"}));
    r.SetCommaText("");
    EXPECT_TRUE(r.Empty());
}

TEST(StringList, TextUsesCrLfAndReadsAnyLineBreak) {
    TStringList l{"a", "б"};
    EXPECT_EQ(l.Text(), "a\r\nб\r\n");
    l.SetText("one\r\ntwo\nthree\rfour\r\n\r\nsix");
    EXPECT_EQ(l.Lines(), (std::vector<std::string>{"one", "two", "three", "four", "", "six"}));
    l.SetText("x\n");
    EXPECT_EQ(l.Count(), 1);
}

TEST(StringList, NamesAndValuesIgnoreCaseAndTakeTheFirstMatch) {
    TStringList l{"Поле=Первое", "noequals", "поле=второе", "k=v=w"};
    EXPECT_EQ(test::Row(l.Values("ПОЛЕ"), l.IndexOfName("пОлЕ"), l.Names(1), l.ValueFromIndex(3),
                        l.Values("missing")),
              "Первое|0||v=w||");
    l.SetValue("k", "z");
    l.SetValue("поле", "");  // deletes the first match
    l.SetValue("new", "1");
    EXPECT_EQ(test::Joined(l), "noequals|поле=второе|k=z|new=1|");
    EXPECT_EQ(test::Row(l.IndexOf("NOEQUALS"), l.IndexOf("Ё")), "0|-1|");
}

TEST(StringList, IndexesOutsideTheListRaise) {
    TStringList l{"a"};
    EXPECT_THROW(l[1], EListError);
    EXPECT_THROW(l.Delete(-1), EListError);
    EXPECT_THROW(l.Insert(2, "x"), EListError);
    EXPECT_EQ(l.Count(), 1);
}

struct Node {
    std::string name;
    std::unique_ptr<int> owned = std::make_unique<int>(0);
    void Assign(const Node& o) {
        name = o.name;
        *owned = *o.owned;
    }
};

TEST(Collection, AssignCopiesDeeplyAndIndexesAreChecked) {
    Collection<Node> a;
    a.Add().name = "x";
    *a.Add().owned = 5;
    Collection<Node> b;
    b.Add();
    b.Assign(a);
    ASSERT_EQ(b.Count(), 2);
    *b[1].owned = 6;
    b[0].name = "changed";
    EXPECT_EQ(test::Row(*a[1].owned, a[0].name, a.IndexOf(&b[0]), b.IndexOf(&b[1])), "5|x|-1|1|");
    EXPECT_THROW(a[2], EListError);
    EXPECT_THROW(a.Delete(-1), EListError);
    auto taken = b.Extract(0);
    EXPECT_EQ(taken->name, "changed");
    EXPECT_EQ(b.Count(), 1);
}

}  // namespace
}  // namespace ostradb
