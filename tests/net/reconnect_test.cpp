#include "Game/Reconnect.h"

#include <gmock/gmock.h>

#include "NetFixture.h"

namespace {

using testing::ElementsAre;

// Fails the first `failures` attempts of every kind, then succeeds.
class Keeper : public Reconnect {
  public:
    explicit Keeper(size_t failures) : m_failures(failures) {}
    ~Keeper() override { Stop(); }

    bool OnConnected(void* param, int type) override {
        const std::lock_guard guard(m_lock);
        EXPECT_EQ(param, this);
        m_types.push_back(type);
        m_pauses.push_back(m_watch.Lap());
        return m_types.size() > m_failures;
    }
    bool Want(int type) { return SetParameter(this, type); }
    double Pause(size_t before) {
        const std::lock_guard guard(m_lock);
        return m_pauses.at(before);
    }
    // The types tried so far, and at least so many.
    std::vector<int> Tried(size_t count) {
        std::vector<int> types;
        Eventually([&] {
            const std::lock_guard guard(m_lock);
            types = m_types;
            return types.size() >= count;
        });
        return types;
    }

  private:
    const size_t m_failures;
    std::mutex m_lock;
    std::vector<int> m_types;
    std::vector<double> m_pauses;  // before each
    Stopwatch m_watch;
};

TEST(Reconnect, RetriesInTurnOnceASecondAndMergesNothing) {
    Keeper keeper(2);
    for (int type : {1, 4, 4})
        EXPECT_FALSE(keeper.Want(type)) << "not started; kept all the same";
    ASSERT_TRUE(keeper.Start());
    EXPECT_TRUE(keeper.Want(9));
    EXPECT_THAT(keeper.Tried(6), testing::AnyOf(ElementsAre(1, 4, 4, 9, 1, 4),    // 9 before
                                                ElementsAre(1, 4, 4, 1, 9, 4)));  // or behind 1
    EXPECT_GE(keeper.Pause(1), 0.99);
    EXPECT_GE(keeper.Pause(2), 0.99);
    keeper.Stop();
    EXPECT_TRUE(keeper.Want(2)) << "and is freed with the keeper";
}

TEST(Reconnect, StopsWhileARequestKeepsFailingAndStartsAgain) {
    Keeper keeper(3);
    ASSERT_TRUE(keeper.Start() && keeper.Start());
    keeper.Want(77);
    ASSERT_THAT(keeper.Tried(2), ElementsAre(77, 77));
    Stopwatch watch;
    EXPECT_TRUE(keeper.Stop());
    EXPECT_LT(watch.Lap(), 0.9);
    EXPECT_TRUE(keeper.Stop());
    ASSERT_TRUE(keeper.Start());
    keeper.Want(5);
    EXPECT_THAT(keeper.Tried(4), ElementsAre(77, 77, 5, 5));
}

}  // namespace
