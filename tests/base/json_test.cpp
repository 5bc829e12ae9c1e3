#include "BaseTest.h"
#include "cJson/JsonPack.h"

namespace {

using View = std::unique_ptr<CJsonPack>;

View Member(CJsonPack& pack, const char* key) {
    CJsonPack* object = nullptr;
    return View(pack.GetJsonObj(key, object) ? object : nullptr);
}

std::vector<View> Elements(CJsonPack& pack) {
    std::vector<CJsonPack*> raw;
    const int result = pack.GetJsonArray(raw);
    EXPECT_EQ(result, raw.empty() ? 0 : 1);
    return std::vector<View>(raw.begin(), raw.end());
}

TEST(Json, ReadsValues) {
    const std::string_view all = R"({"i":7,"d":2.75,"s":"text","big":1e20,"t":true,"n":null})";
    const std::vector<char> exact(all.begin(), all.end());  // without a terminator
    CJsonPack pack(exact.data(), exact.size());
    for (const auto& [key, expected] :
         {std::pair("i", 7), {"d", 2}, {"s", 0}, {"big", 2147483647}, {"t", 1}, {"n", 0}}) {
        int value = -1;
        EXPECT_EQ(pack.GetValueInt(key, value), 1);
        EXPECT_EQ(value, expected) << key;
    }
    double d = -1;
    EXPECT_EQ(pack.GetValueDouble("d", d), 1);
    EXPECT_EQ(d, 2.75);
    char text[16] = {};
    EXPECT_EQ(pack.GetValueStr("s", text, sizeof(text)), 1);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(pack.GetValueStr("i", text, sizeof(text)), 0);
}

TEST(Json, MissingKeysAndLongStringsAreTold) {
    CJsonPack pack(R"({"s":"0123456789"})");
    int value = 42;
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(pack.GetValueInt("b", value), 0); }),
              "{b} not in {{\n\t\"s\":\t\"0123456789\"\n}}");
    EXPECT_EQ(value, 42);
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(Member(pack, "b"), nullptr); }), "");
    // Cut without a terminator.
    std::string buf(10, '#');
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(pack.GetValueStr("s", buf.data(), 8), 1); }),
              "ilen[10] >= iLength[8]");
    EXPECT_EQ(buf, "0123456###");
    EXPECT_EQ(LogOf([&] { pack.GetValueStr("s", buf.data(), 0); }), "ilen[10] >= iLength[0]");
}

TEST(Json, NoRootIsToleratedEverywhere) {
    CJsonPack pack(R"({"a":1})", 6), child;  // the length counts, no terminator
    std::vector<CJsonPack*> elements;
    CJsonPack* object = nullptr;
    int i;
    double d;
    char c[2];
    const std::string printed = LogOf([&] {
        EXPECT_EQ(pack.GetValueInt("a", i) + pack.GetValueDouble("a", d), 0);
        EXPECT_EQ(pack.GetValueStr("a", c, 2) + pack.GetJsonObj("a", object), 0);
        EXPECT_EQ(pack.GetJsonArray(elements), 0);
        pack.AddString("a", "b");
        pack.AddNumber("a", 1);
        pack.AddBool("a", true);
        pack.AddJsonItem("a", child);
        child.AddJsonItem("a", nullptr);
    });
    EXPECT_EQ(printed,
              "root is nilroot is nilroot is nilroot is nilroot is nil"
              "m_pRoot is nil!m_pRoot is nilm_pRoot is nilm_pRoot is nilm_pRoot is nil");
    EXPECT_EQ(pack.ToString(), nullptr);
}

TEST(Json, BuildsAndPrints) {
    CJsonPack document;
    document.AddString("s", "x\"y");
    document.AddNumber("n", 1.5);
    document.AddBool("b", false);
    {
        CJsonPack child;
        child.AddNumber("k", 2);
        document.AddJsonItem("o", child);
        document.AddJsonItem("again", child);  // refused: it belongs to the document already
        document.AddJsonItem("self", document);
        CJsonPack known(&document), lost(&document);  // a parent named is not yet a parent
        known.AddNumber("k", 3);
        lost.AddNumber("k", 4);
        for (int i = 0; i < 2; ++i)
            document.AddJsonItem("p", &known);
    }
    EXPECT_STREQ(document.ToUnfmtString(),
                 R"({"s":"x\"y","n":1.5,"b":false,"o":{"k":2},"p":{"k":3}})");
    EXPECT_EQ(std::string(document.ToString()).substr(0, 4), "{\n\t\"");
}

TEST(Json, ViewsMayGoBeforeOrAfterTheDocument) {
    const char* text = R"({"list":[{"v":1},{"v":2}],"empty":[]})";
    auto document = std::make_unique<CJsonPack>(text);
    std::vector<View> kept = Elements(*Member(*document, "list"));
    ASSERT_EQ(kept.size(), 2u);
    int value = 0;
    EXPECT_EQ(kept[1]->GetValueInt("v", value), 1);
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(Elements(*Member(*document, "empty")).empty());
    EXPECT_TRUE(Elements(*document).empty());  // an object
    EXPECT_STREQ(document->ToUnfmtString(), text);
    document.reset();
}

TEST(Json, CopiesShareWithoutReleasingTwice) {
    const char* text = R"({"a":[1,{"s":"deep"}],"b":"x"})";
    CJsonPack source(text), empty;
    {
        CJsonPack copy(source), copyOfCopy(copy);
        EXPECT_STREQ(copyOfCopy.ToUnfmtString(), text);
        const View member = Member(source, "a");
        CJsonPack copyOfMember(*member);  // its siblings must survive it
        EXPECT_STREQ(copyOfMember.ToUnfmtString(), R"([1,{"s":"deep"}])");
        CJsonPack copyOfEmpty(empty);
        copyOfEmpty.AddNumber("own", 1);
    }
    EXPECT_STREQ(source.ToUnfmtString(), text);
    EXPECT_STREQ(empty.ToUnfmtString(), "{}");
}

TEST(Json, DepthCountsBracketsOutsideStringsOnly) {
    auto allowed = [](const std::string& text) {
        return JsonDepthAllowed(text.data(), text.size());
    };
    const std::string deepest(JSON_MAX_DEPTH, '[');
    EXPECT_TRUE(allowed(deepest));
    EXPECT_FALSE(allowed(deepest + "{"));
    EXPECT_TRUE(allowed(deepest + "]["));
    EXPECT_TRUE(allowed(deepest + "\"[[\\\"[[\\\\\""));
    EXPECT_FALSE(allowed(deepest + "\"\\\\\"["));
    EXPECT_TRUE(allowed("\"\\"));
}

// On a real framework thread: 4,000 open brackets once overflowed its 16 KiB.
TEST(Json, NestingFitsAThreadStack) {
    std::string nested;
    for (int i = 0; i < JSON_MAX_DEPTH; ++i)
        nested += "{\"k\":";
    nested += "1.2345678901234567e-300" + std::string(JSON_MAX_DEPTH, '}');
    const std::string printed = LogOf([&] {
        OnThreads(1, [&] {
            int value = 0;
            CJsonPack(nested.data(), nested.size()).GetValueInt("missing", value);
            CJsonPack(std::string(4000, '[').c_str()).GetValueInt("k", value);
        });
    });
    EXPECT_TRUE(printed.starts_with("{missing} not in {{") && printed.ends_with("root is nil"));
}

}  // namespace
