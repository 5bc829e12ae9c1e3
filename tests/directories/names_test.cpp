// Forbidden fragments and disabled accounts, without a lobby.

#include "BaseTest.h"
#include "Common/IniFile.h"
#include "DisabledUsers.h"
#include "ForbiddenNames.h"

namespace {

constexpr double kSlower = SLOWER * SLOWER;

double CpuSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

ForbiddenNames NamesOf(const std::string& list) {
    const TempFile file("[config]\nSensitiveName=" + list + "\n");
    ForbiddenNames names;
    names.Load(CIniFile(file.Path()));
    return names;
}

// Few letters, so that fragments overlap, contain each other and come twice.
std::string RandomText(std::mt19937& random, size_t least, size_t most) {
    std::string text(least + random() % (most - least + 1), 'a');
    for (char& c : text)
        c = "ab\xE7"[random() % 3];
    return text;
}

TEST(ForbiddenNames, FirstOfTheListIsFoundAsBySearchingForEach) {
    std::mt19937 random(1);
    for (int round = 0; round < 100; ++round) {
        std::string list;
        for (size_t i = random() % 12; i > 0; --i)
            list += RandomText(random, 0, 6) + ",";
        const ForbiddenNames names = NamesOf(list);
        for (int i = 0; i < 30; ++i) {
            const std::string name = RandomText(random, 0, 20);
            const std::string* expected = nullptr;
            for (const std::string& each : names.Fragments()) {
                if (expected == nullptr && name.find(each) != std::string::npos) expected = &each;
            }
            ASSERT_EQ(names.FindIn(name), expected) << list << " in " << name;
        }
    }
}

// With 90,000 fragments that share long beginnings a request of a player kept the worker busy for
// most of a millisecond, and 16,000 disabled accounts kept it for 1.5 s every half hour.
TEST(ForbiddenNames, LongListsCostLittleAtStartAndNextToNothingAtRequests) {
    std::string list, users = "[disconnectcount]\nusernum=50000\n[disconnect]\n";
    for (int i = 0; i < 90'000; ++i)
        list += std::string(3, "ab"[i % 2]) + std::to_string(1'000'000 + i) + ",";
    list += std::string(20'000, 'a');
    for (int i = 0; i < 50'000; ++i)
        users += "user" + std::to_string(i) + "=" + std::to_string(7 * i + 1) + "\n";
    const TempFile userFile(users);
    const double begun = CpuSeconds();
    const ForbiddenNames names = NamesOf(list);
    DisabledUsers disabled;
    const std::string printed = LogOf([&] { disabled.Load(CIniFile(userFile.Path())); });
    EXPECT_LT(CpuSeconds() - begun, 0.5 * kSlower);
    EXPECT_EQ(names.Fragments().size(), 90'001u);
    EXPECT_EQ(disabled.List().size(), 50'000u);
    EXPECT_TRUE(printed.ends_with("userid = [349987]userid = [349994]")) << printed.size();
    const std::string worst[] = {std::string(127, 'a'), std::string(126, 'a') + "b",
                                 "aaa109000aaa109000aaa109000aaa109000aaa109000"};
    const double asked = CpuSeconds();
    for (int i = 0; i < 1000; ++i) {
        for (const std::string& name : worst)
            ASSERT_EQ(names.FindIn(name), nullptr);
        ASSERT_EQ(disabled.Contains(7 * i + 1), true);
        ASSERT_EQ(disabled.Contains(7 * i + 2), false);
    }
    EXPECT_LT((CpuSeconds() - asked) / 3000, 20e-6 * kSlower);
}

TEST(DisabledUsers, AreReadAsSingleLookUpsWouldAndAppendedByEachLoad) {
    const TempFile file(
        "[disconnect]\nUSER1=5x\nuser1=6\nuser00=7\nuser3=8\nuser 0=9\nuser2\nuser2=-4\n"
        "[DisconnectCount]\nusernum=3\n[disconnect]\nuser0=10\n");
    DisabledUsers disabled;
    const CIniFile content(file.Path());
    for (const size_t size : {3u, 6u}) {
        LogOf([&] { EXPECT_EQ(disabled.Load(content), 3); });
        EXPECT_EQ(disabled.List().size(), size);
    }
    EXPECT_EQ(disabled.List(), (std::vector<int32_t>{0, 5, -4, 0, 5, -4}));
    for (const int32_t each : {6, 7, 8, 9, 10})
        EXPECT_FALSE(disabled.Contains(each)) << each;
    EXPECT_TRUE(disabled.Contains(0) && disabled.Contains(5) && disabled.Contains(-4));
}

}  // namespace
