// A complete activity, as a pattern for new ones: play a number of rounds, then fetch a reward.
#pragma once

#include <string>
#include <vector>

#include "activitySystem/ActivityHandler.h"

// Rules: iCondition1 rounds earn iGamecoin coins (booked under source iCondition2), once.
// Progress: iProgress1 rounds played, iProgress2 1 once the reward was granted, iProgress3 logins.
// A client asks with UserProgressReq: iLevel 0 shows the state, 1 fetches the reward.
// Thread: message worker.
class ExampleActivity : public IActivityHandler {
  public:
    static constexpr int kActivityId = 20990101;
    static constexpr int kShow = 0;
    static constexpr int kFetch = 1;

    explicit ExampleActivity(GameProvider* provider) : IActivityHandler(kActivityId, provider) {}

    void startInit(IPlayerNode* player, tagDBUserActivityProgressData* progress,
                   bool fresh) override;
    void onActicityClosed() override;
    void onInitialize(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) override;
    void onSitdown(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) override;
    void onReady(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) override;
    void onGameStart(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) override;
    void onGameEnd(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) override;
    void onReGame(IPlayerNode*, tagDBUserActivityProgressData*, void*, void*, int) override;
    void OnActivityMessage(long type, void* data, long length, IPlayerNode* player, void* context,
                           tagDBUserActivityProgressData* progress) override;
    void OnGlobalActivityMessage(long type, void* data, long length,
                                 ActivityProgressMap& progress) override;
    void HandlerUserProgressReq(long type, void* data, long length, IPlayerNode* player,
                                void* context, tagDBUserActivityProgressData* progress) override;
    bool checkIsOpen() override { return !m_bPaused; }
    void onSetActivityConfig() override;

    // For the tests: what was called, in order.
    std::vector<std::string> m_vecCalls;
    bool m_bPaused = false;

  private:
    void countRound(const char* hook, tagDBUserActivityProgressData* progress, int rounds);
    void showState(IPlayerNode* player, const tagDBUserActivityProgressData& progress);
    void fetchReward(IPlayerNode* player, const tagDBUserActivityProgressData& progress);
};
