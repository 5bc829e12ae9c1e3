#include "Common/IniFile.h"

#include "BaseTest.h"

namespace {

constexpr const char* kAbsent = "(absent)";

std::string Value(const CIniFile& file, const char* section, const char* key) {
    char buf[256] = {'x'};
    const int size = file.GetValueStr(section, key, buf, sizeof(buf));
    return size == 0 ? kAbsent : std::string(buf, static_cast<size_t>(size - 1));
}

TEST(IniFile, LinesAndTheirValues) {
    const struct {
        const char *content, *section, *key, *value;
    } kCases[] = {
        {"[s]\r\n  Port =  8000  \r\n", "s", "port", "8000  "},
        {"[Lobby\nkey=1\n", "LOBBY", "Key", "1"},
        {"[s]\r\nk=  \r\n", "s", "k", ""},
        {"[s]\na=1\n[t]\n[s]\nk=2\n", "s", "k", kAbsent},
        {"[s]\nk=1\nk=2\n", "s", "k", "1"},
        {"[s]\nk\nk=2\n", "s", "k", "2"},
        {"[s]\nk=last", "s", "k", "last"},
        {"[s]\r\nk=last\r", "s", "k", "last"},
        {"[s]\n; x = 1\n", "s", "; x", "1"},
        {"[s]\nk=a=b # no comment\n", "s", "k", "a=b # no comment"},
        {"[s]\n\tk\t = v\n", "s", "k", "v"},
        {"[s]\nk y =v\n", "s", "k y", "v"},
        {"[s]\n=v\nk=1\n", "s", "=v", kAbsent},
        {"[a]b]\nk=1\n", "a]b", "k", "1"},
        {"[s] k=9\nk=1\n", "s", "k", "1"},
        {"k=0\n[s]\nk=1\n", "s", "k", "1"},
        {"k=0\n", "", "k", kAbsent},
        {"[]\nk=0\n", "", "k", "0"},
        {"[s]\nk=a\rb\n", "s", "k", "a\r"},
        {"[s]\na\r=\nk=1\n", "s", "a\r", ""},
        {"[ss]\nk=1\n", "s", "k", kAbsent},
        {"[s]\nkk=1\n", "s", "k", kAbsent},
        {"  \n\n  [s]\n\n  \nk=1\n   ", "s", "k", "1"},
    };
    for (const auto& row : kCases) {
        TempFile file(row.content);
        const CIniFile ini(file.Path());
        EXPECT_EQ(Value(ini, row.section, row.key), row.value) << row.content;
    }
}

TEST(IniFile, SizesAndSmallBuffers) {
    TempFile file(
        "[s]\nk=8000  \nempty=\nword=12abc\nno=abc\nbig=99999999999\nneg= -7\n"
        "ten=010\nhex=0x1F\n");
    const CIniFile ini(file.Path());
    EXPECT_EQ(ini.GetLineCount(), 9);
    EXPECT_EQ(ini.GetValueStr("s", "k", nullptr, 0), 7);
    char buf[8] = "unharm";
    EXPECT_EQ(ini.GetValueStr("s", "k", buf, 6), 7);
    EXPECT_STREQ(buf, "unharm");
    EXPECT_EQ(ini.GetValueStr("s", "k", buf, 7), 7);
    EXPECT_STREQ(buf, "8000  ");
    EXPECT_EQ(ini.GetValueStr("s", "missing", buf, 7), 0);
    EXPECT_STREQ(buf, "");
    buf[0] = 'x';
    EXPECT_EQ(ini.GetValueStr(nullptr, "k", buf, 0) + ini.GetValueStr("s", nullptr, buf, 0), 0);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(ini.GetValueStr(nullptr, "k", buf, 1) + ini.GetValueStr("s", nullptr, buf, 1), 0);
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(ini.GetKeyNames(nullptr, buf, 7), 0);

    const std::pair<const char*, int> kInts[] = {{"k", 8000}, {"empty", 0}, {"word", 12},
                                                 {"no", 0},   {"neg", -7},  {"none", 5},
                                                 {"ten", 10}, {"hex", 0}};
    for (const auto& [key, value] : kInts)
        EXPECT_EQ(ini.GetValueInt("s", key, 5), value) << key;
}

TEST(IniFile, FailedLoadsKeepOrEmptyTheContent) {
    TempFile file("[s]\nk=1\n"), empty("");
    CIniFile ini(file.Path());
    for (const char* path : {static_cast<const char*>(nullptr), "/nonexistent/file", "/"})
        EXPECT_EQ(ini.InitFile(path), 0);
    EXPECT_EQ(Value(ini, "s", "k"), "1");
    EXPECT_EQ(ini.InitFile(empty.Path()), 0);
    EXPECT_EQ(Value(ini, "s", "k"), kAbsent);
    EXPECT_EQ(ini.GetLineCount(), 0);
}

TEST(IniFile, WritingBack) {
    using Edit = int (*)(CIniFile&);
    const Edit set = [](CIniFile& ini) { return ini.SetValueStr("S", "key", "newer", true, 3); };
    const Edit join = [](CIniFile& ini) { return ini.SetValueStr("S", "key", "newer", false, 3); };
    const Edit measure = [](CIniFile& ini) { return ini.SetValueStr("s", "key", "n", true, -2); };
    const Edit number = [](CIniFile& ini) { return ini.SetValueInt("s", "key", -42); };
    const Edit clear = [](CIniFile& ini) { return ini.SetValueStr("s", "key", nullptr, true); };
    const Edit drop = [](CIniFile& ini) { return ini.DeleteKey("S", "KEY"); };
    const Edit dropAll = [](CIniFile& ini) { return ini.DeleteSection("S"); };
    const Edit nothing = [](CIniFile& ini) {
        return ini.SetValueStr(nullptr, "k", "2", true) + ini.SetValueStr("s", nullptr, "2", true) +
               ini.DeleteSection(nullptr) + ini.DeleteKey(nullptr, "k") +
               ini.DeleteKey("s", nullptr);
    };
    const struct {
        Edit edit;
        const char *before, *after;  // null: nothing is changed, and 0 returned
    } kCases[] = {
        {set, "[s]\r\nKey = old \r\nb=1\r\n", "[s]\r\nKey = new\r\nb=1\r\n"},
        {join, "[s]\nkey=old\n", "[s]\nkeynew\n"},
        {set, "[s]\nkey\n", "[s]\nkey = new\n"},
        {set, "[s]\na=1\n  [t]\nb=1\n", "[s]\na=1\nkey = new\r\n  [t]\nb=1\n"},
        {set, "[s]\na=1", "[s]\na=1\r\nkey = new"},
        {set, "[t]\na=1\n", "[t]\na=1\n[S]\r\nkey = new"},
        {set, "  [s]\n key=old\n", "[s]\n key = new\n"},
        {measure, "[s]\nkey=old\n", "[s]\nkey = n\n"},
        {number, "[s]\nkey=1\n", "[s]\nkey = -42\n"},
        {clear, "[s]\nkey=1\n", "[s]\nkey = \n"},
        {drop, "[s]\nkey=1\ny=2\n[b]\nz=3\n", "[s]\ny=2\n[b]\nz=3\n"},
        {drop, "[s]\ny=2\n[b]\nkey=3\n", "[s]\ny=2\n[b]\nkey=3\n"},  // 1: a section follows
        {drop, "[b]\nkey=3\n[s]\ny=2\n", nullptr},
        {drop, "[b]\nkey=3\n", nullptr},
        {dropAll, "[a]\nx=1\n[s]\ny=2\n[b]\nz=3\n", "[a]\nx=1\n[b]\nz=3\n"},
        {dropAll, "[b]\nz=3\n", nullptr},
        {nothing, "[s]\nk=1\n", nullptr},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.before);
        TempFile file(row.before);
        CIniFile ini(file.Path());
        EXPECT_EQ(row.edit(ini), row.after != nullptr ? 1 : 0);
        EXPECT_EQ(ReadFile(file.Path()), row.after != nullptr ? row.after : row.before);
    }
    CIniFile unnamed;
    EXPECT_EQ(set(unnamed) + unnamed.DeleteSection("s") + unnamed.DeleteKey("s", "k"), 0);
}

TEST(IniFile, NameLists) {
    TempFile file("[ab]\nx=1\n\ncomment\n[c]\n[ab]\n");
    const CIniFile ini(file.Path());
    char buf[16];
    ASSERT_EQ(ini.GetSectionNames(buf, sizeof(buf)), 9);
    EXPECT_EQ(std::string(buf, 9), std::string("ab\0c\0ab\0\0", 9));
    ASSERT_EQ(ini.GetKeyNames("AB", buf, sizeof(buf)), 11);
    EXPECT_EQ(std::string(buf, 11), std::string("x\0comment\0\0", 11));
    EXPECT_EQ(ini.GetKeyNames("c", buf, sizeof(buf)), 0);

    std::fill_n(buf, 16, '#');
    EXPECT_EQ(ini.GetSectionNames(buf, 5), 9);
    EXPECT_EQ(std::string(buf, 6), std::string("ab\0\0##", 6)) << "nothing behind a misfit";
    EXPECT_EQ(ini.GetSectionNames(nullptr, 0), 9);
}

}  // namespace
