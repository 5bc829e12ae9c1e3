#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Common/Thread.h"
#include "cJson/JsonPack.h"

namespace {

using View = std::unique_ptr<CJsonPack>;

// What the call prints on standard output.
template <class Call>
std::string Printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

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
    CJsonPack pack(R"({"i":7,"d":2.75,"s":"text","big":1e20,"o":{"n":1}})");
    int i = -1;
    double d = -1;
    char text[16] = {};
    EXPECT_EQ(pack.GetValueInt("i", i), 1);
    EXPECT_EQ(i, 7);
    EXPECT_EQ(pack.GetValueInt("d", i), 1);
    EXPECT_EQ(i, 2);
    EXPECT_EQ(pack.GetValueInt("s", i), 1);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(pack.GetValueInt("big", i), 1);
    EXPECT_EQ(i, 2147483647);
    EXPECT_EQ(pack.GetValueDouble("d", d), 1);
    EXPECT_EQ(d, 2.75);
    EXPECT_EQ(pack.GetValueStr("s", text, sizeof(text)), 1);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(pack.GetValueStr("i", text, sizeof(text)), 0);
}

TEST(Json, MissingKeyLeavesTheOutputAndSaysSo) {
    CJsonPack pack(R"({"a":1})");
    int value = 42;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(pack.GetValueInt("b", value), 0); }),
              "{b} not in {{\n\t\"a\":\t1\n}}");
    EXPECT_EQ(value, 42);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(Member(pack, "b"), nullptr); }), "");
}

TEST(Json, LongStringIsCutWithoutTerminator) {
    const std::string forty(40, 'x');
    CJsonPack pack(("{\"s\":\"" + forty + "\"}").c_str());
    char buf[16];
    std::fill_n(buf, 16, '#');
    EXPECT_EQ(Printed([&] { EXPECT_EQ(pack.GetValueStr("s", buf, 16), 1); }),
              "ilen[40] >= iLength[16]");
    EXPECT_EQ(std::string(buf, 16), std::string(15, 'x') + "#");
    EXPECT_EQ(Printed([&] { pack.GetValueStr("s", buf, 0); }), "ilen[40] >= iLength[0]");
}

TEST(Json, NoRootIsToleratedEverywhere) {
    CJsonPack pack("{broken");
    CJsonPack child;
    std::vector<CJsonPack*> elements;
    CJsonPack* object = nullptr;
    int i;
    double d;
    char c[2];
    const std::string nil = "root is nil", rootNil = "m_pRoot is nil";
    EXPECT_EQ(Printed([&] { EXPECT_EQ(pack.GetValueInt("a", i), 0); }), nil);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(pack.GetValueDouble("a", d), 0); }), nil);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(pack.GetValueStr("a", c, 2), 0); }), nil);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(pack.GetJsonObj("a", object), 0); }), nil);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(pack.GetJsonArray(elements), 0); }), nil);
    EXPECT_EQ(Printed([&] { pack.AddString("a", "b"); }), rootNil + "!");
    EXPECT_EQ(Printed([&] { pack.AddNumber("a", 1); }), rootNil);
    EXPECT_EQ(Printed([&] { pack.AddBool("a", true); }), rootNil);
    EXPECT_EQ(Printed([&] { pack.AddJsonItem("a", child); }), rootNil);
    EXPECT_EQ(Printed([&] { child.AddJsonItem("a", nullptr); }), rootNil);
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
    }
    EXPECT_STREQ(document.ToUnfmtString(), R"({"s":"x\"y","n":1.5,"b":false,"o":{"k":2}})");
    EXPECT_EQ(std::string(document.ToString()).substr(0, 4), "{\n\t\"");
}

TEST(Json, ViewsMayGoBeforeOrAfterTheDocument) {
    auto document = std::make_unique<CJsonPack>(R"({"list":[{"v":1},{"v":2}],"empty":[]})");
    std::vector<View> kept;
    {
        const View list = Member(*document, "list");
        std::vector<View> elements = Elements(*list);
        ASSERT_EQ(elements.size(), 2u);
        int value = 0;
        EXPECT_EQ(elements[1]->GetValueInt("v", value), 1);
        EXPECT_EQ(value, 2);
        EXPECT_TRUE(Elements(*Member(*document, "empty")).empty());
        kept = std::move(elements);
    }
    EXPECT_STREQ(document->ToUnfmtString(), R"({"list":[{"v":1},{"v":2}],"empty":[]})");
    document.reset();
}

TEST(Json, CopiesShareWithoutReleasingTwice) {
    CJsonPack source(R"({"a":[1,{"s":"deep"}],"b":"x"})");
    CJsonPack empty;
    {
        CJsonPack copy(source);
        CJsonPack copyOfCopy(copy);
        EXPECT_STREQ(copyOfCopy.ToUnfmtString(), R"({"a":[1,{"s":"deep"}],"b":"x"})");
        const View member = Member(source, "a");
        CJsonPack copyOfMember(*member);  // its siblings must survive it
        EXPECT_STREQ(copyOfMember.ToUnfmtString(), R"([1,{"s":"deep"}])");
        CJsonPack copyOfEmpty(empty);
        copyOfEmpty.AddNumber("own", 1);
    }
    EXPECT_STREQ(source.ToUnfmtString(), R"({"a":[1,{"s":"deep"}],"b":"x"})");
    EXPECT_STREQ(empty.ToUnfmtString(), "{}");
}

TEST(Json, TextNeedsNoTerminator) {
    const std::string text = R"({"a":1})";
    const auto exact = std::make_unique<char[]>(text.size());
    std::copy(text.begin(), text.end(), exact.get());
    int value = 0;
    EXPECT_EQ(CJsonPack(exact.get(), text.size()).GetValueInt("a", value), 1);
    Printed([&] { EXPECT_EQ(CJsonPack(exact.get(), 6).GetValueInt("a", value), 0); });
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
    CEvent done;
    done.Init(false, false);
    testing::internal::CaptureStdout();
    const bool started = CreateThread(
        nullptr, 0,
        [](void* argument) -> void* {
            const std::string nested = [] {
                std::string text;
                for (int i = 0; i < JSON_MAX_DEPTH; ++i)
                    text += "{\"k\":";
                return text + "1.2345678901234567e-300" + std::string(JSON_MAX_DEPTH, '}');
            }();
            int value = 0;
            CJsonPack(nested.data(), nested.size()).GetValueInt("missing", value);
            CJsonPack(std::string(4000, '[').c_str()).GetValueInt("k", value);
            static_cast<CEvent*>(argument)->Set();
            return nullptr;
        },
        &done);
    ASSERT_TRUE(started);
    done.Wait();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.rfind("{missing} not in {{", 0), 0u);
    EXPECT_EQ(printed.substr(printed.size() - 11), "root is nil");
}

}  // namespace
