#include "Game/Reconnect.h"

#include "NetFixture.h"

namespace {

using testing::ElementsAre;

// Fails the first `failures` attempts of every kind, then succeeds.
class Keeper : public Reconnect {
  public:
    Keeper(size_t failures, long retryMs) : Reconnect(retryMs), m_failures(failures) {}
    // With the pause of every keeper of the lobby.
    Keeper() : m_failures(1) {}
    ~Keeper() override { Stop(); }

    bool OnConnected(void* param, int type) override {
        const std::lock_guard guard(m_lock);
        EXPECT_EQ(param, this);
        m_types.push_back(type);
        pauses.push_back(m_watch.Lap());
        return m_types.size() > m_failures;
    }
    bool Want(int type) { return SetParameter(this, type); }
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

    std::vector<double> pauses;  // before each; to be read when it is stopped

  private:
    const size_t m_failures;
    std::mutex m_lock;
    std::vector<int> m_types;
    Stopwatch m_watch;
};

TEST(Reconnect, RetriesInTurnAfterAPauseAndMergesNothing) {
    Keeper patient, keeper(2, 100);
    for (int type : {1, 4, 4})
        EXPECT_FALSE(keeper.Want(type)) << "not started; kept all the same";
    ASSERT_TRUE(patient.Start() && patient.Want(7) && keeper.Start());
    EXPECT_TRUE(keeper.Want(9));
    EXPECT_THAT(keeper.Tried(6), ElementsAre(1, 4, 4, 9, 1, 4));
    EXPECT_TRUE(keeper.Stop() && keeper.Want(2)) << "and is freed with the keeper";
    EXPECT_GE(std::min(keeper.pauses[1], keeper.pauses[2]), 0.099);
    EXPECT_THAT(patient.Tried(2), ElementsAre(7, 7));
    EXPECT_TRUE(patient.Stop());
    EXPECT_GE(patient.pauses.back(), 0.99);
}

TEST(Reconnect, StopsAmidAPauseAndStartsAgain) {
    Keeper keeper(1, 60000);
    ASSERT_TRUE(keeper.Start() && keeper.Start());
    keeper.Want(77);
    ASSERT_THAT(keeper.Tried(1), ElementsAre(77));
    EXPECT_LT(Took([&] { EXPECT_TRUE(keeper.Stop() && keeper.Stop()); }), 30);
    ASSERT_TRUE(keeper.Start());
    keeper.Want(5);
    EXPECT_THAT(keeper.Tried(2), ElementsAre(77, 5));
}

}  // namespace
