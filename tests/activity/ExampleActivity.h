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
    using Progress = tagDBUserActivityProgressData;
    static constexpr int kActivityId = 20990101;
    static constexpr int kShow = 0;
    static constexpr int kFetch = 1;

    explicit ExampleActivity(GameProvider* provider) : IActivityHandler(kActivityId, provider) {}

    void startInit(IPlayerNode* player, Progress* progress, bool fresh) override;
    void onActicityClosed() override;
    void onInitialize(IPlayerNode*, Progress*, void*, void*, int) override { note("initialize"); }
    void onSitdown(IPlayerNode*, Progress*, void*, void*, int) override { note("sitdown"); }
    void onReady(IPlayerNode*, Progress*, void*, void*, int) override { note("ready"); }
    void onGameStart(IPlayerNode*, Progress*, void*, void*, int) override { note("start"); }
    void onGameEnd(IPlayerNode*, Progress* progress, void*, void*, int rounds) override;
    void onReGame(IPlayerNode*, Progress*, void*, void*, int) override { note("regame"); }
    void OnActivityMessage(long type, void* data, long length, IPlayerNode* player, void* context,
                           Progress* progress) override;
    void OnGlobalActivityMessage(long, void*, long, ActivityProgressMap& progress) override {
        note("global " + std::to_string(progress.size()));
    }
    void HandlerUserProgressReq(long type, void* data, long length, IPlayerNode* player,
                                void* context, Progress* progress) override;
    bool checkIsOpen() override { return !m_bPaused; }
    void onSetActivityConfig() override { note("config"); }

    // For the tests: what was called, in order.
    std::vector<std::string> m_vecCalls;
    bool m_bPaused = false;

  private:
    void note(const std::string& call) { m_vecCalls.push_back(call); }
    void showState(IPlayerNode* player, const Progress& progress);
    void fetchReward(IPlayerNode* player, const Progress& progress);
};
