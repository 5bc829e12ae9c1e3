#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "Game/Reconnect.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Fails the first `failures` attempts of every kind, then succeeds.
class Keeper : public Reconnect {
  public:
    explicit Keeper(size_t failures) : m_failures(failures) {}
    ~Keeper() override { Stop(); }

    bool OnConnected(void* param, int type) override {
        std::unique_lock lock(m_lock);
        m_attempts.push_back({param, type, Clock::now()});
        m_changed.notify_all();
        return m_attempts.size() > m_failures;
    }
    bool WaitForAttempts(size_t count) {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, 20s, [&] { return m_attempts.size() >= count; });
    }
    struct Attempt {
        void* param;
        int type;
        Clock::time_point when;
    };
    std::vector<Attempt> Attempts() {
        std::unique_lock lock(m_lock);
        return m_attempts;
    }
    std::vector<int> Types() {
        std::vector<int> types;
        for (const Attempt& attempt : Attempts())
            types.push_back(attempt.type);
        return types;
    }

  private:
    const size_t m_failures;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Attempt> m_attempts;
};

TEST(Reconnect, PassesEveryRequestOnUnmergedAndInOrder) {
    Keeper keeper(0);
    ASSERT_TRUE(keeper.Start());
    int param = 0;
    for (int type : {4, 4, 9})
        EXPECT_TRUE(keeper.SetParameter(&param, type));
    ASSERT_TRUE(keeper.WaitForAttempts(3));
    EXPECT_THAT(keeper.Types(), testing::ElementsAre(4, 4, 9));
    EXPECT_EQ(&param, keeper.Attempts()[0].param);
}

TEST(Reconnect, RetriesFailedRequestsInTurnOnceASecond) {
    Keeper keeper(2);
    ASSERT_TRUE(keeper.Start());
    keeper.SetParameter(nullptr, 1);
    ASSERT_TRUE(keeper.WaitForAttempts(1));
    keeper.SetParameter(nullptr, 2);
    ASSERT_TRUE(keeper.WaitForAttempts(4));
    const auto attempts = keeper.Attempts();
    EXPECT_THAT(keeper.Types(),
                testing::AnyOf(testing::ElementsAre(1, 1, 2, 1), testing::ElementsAre(1, 2, 1, 2)));
    EXPECT_GE(attempts[1].when - attempts[0].when, 990ms);
    EXPECT_GE(attempts[2].when - attempts[1].when, 990ms);
}

TEST(Reconnect, StopsWhileARequestKeepsFailingAndStartsAgain) {
    Keeper keeper(3);
    ASSERT_TRUE(keeper.Start());
    ASSERT_TRUE(keeper.Start());
    keeper.SetParameter(nullptr, 77);
    ASSERT_TRUE(keeper.WaitForAttempts(2));
    const auto before = Clock::now();
    EXPECT_TRUE(keeper.Stop());
    EXPECT_LT(Clock::now() - before, 900ms);
    EXPECT_TRUE(keeper.Stop());
    EXPECT_EQ(2u, keeper.Attempts().size());

    ASSERT_TRUE(keeper.Start());
    keeper.SetParameter(nullptr, 5);
    ASSERT_TRUE(keeper.WaitForAttempts(4));
    EXPECT_THAT(keeper.Types(), testing::ElementsAre(77, 77, 5, 5));
}

TEST(Reconnect, FreesRequestsThatNobodyTook) {
    Keeper keeper(0);
    EXPECT_FALSE(keeper.SetParameter(nullptr, 1));
    ASSERT_TRUE(keeper.Start());
    keeper.Stop();
    EXPECT_TRUE(keeper.SetParameter(nullptr, 2));
    EXPECT_TRUE(keeper.Attempts().empty());
}

}  // namespace
