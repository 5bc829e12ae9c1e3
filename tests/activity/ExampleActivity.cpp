#include "ExampleActivity.h"

#include "LobbyPlayer.h"
#include "MsgView.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"

void ExampleActivity::startInit(IPlayerNode*, tagDBUserActivityProgressData* progress, bool fresh) {
    m_vecCalls.emplace_back(fresh ? "startInit fresh" : "startInit");
    ++progress->iProgress3;
    progress->isUpdate = 1;
}

void ExampleActivity::onActicityClosed() {
    m_vecCalls.emplace_back("closed");
    IActivityHandler::onActicityClosed();
}

void ExampleActivity::onSetActivityConfig() { m_vecCalls.emplace_back("config"); }

void ExampleActivity::countRound(const char* hook, tagDBUserActivityProgressData* progress,
                                 int rounds) {
    m_vecCalls.emplace_back(hook);
    if (rounds == 0) return;
    progress->iProgress1 += rounds;
    progress->isUpdate = 1;
}

void ExampleActivity::onInitialize(IPlayerNode*, tagDBUserActivityProgressData* progress, void*,
                                   void*, int) {
    countRound("initialize", progress, 0);
}

void ExampleActivity::onSitdown(IPlayerNode*, tagDBUserActivityProgressData* progress, void*,
                                void*, int) {
    countRound("sitdown", progress, 0);
}

void ExampleActivity::onReady(IPlayerNode*, tagDBUserActivityProgressData* progress, void*, void*,
                              int) {
    countRound("ready", progress, 0);
}

void ExampleActivity::onGameStart(IPlayerNode*, tagDBUserActivityProgressData* progress, void*,
                                  void*, int) {
    countRound("start", progress, 0);
}

void ExampleActivity::onGameEnd(IPlayerNode*, tagDBUserActivityProgressData* progress, void*,
                                void*, int rounds) {
    countRound("end", progress, rounds);
}

void ExampleActivity::onReGame(IPlayerNode*, tagDBUserActivityProgressData* progress, void*, void*,
                               int) {
    countRound("regame", progress, 0);
}

void ExampleActivity::HandlerUserProgressReq(long, void* data, long length, IPlayerNode* player,
                                             void*, tagDBUserActivityProgressData* progress) {
    m_vecCalls.emplace_back("request");
    const auto request = ReadMsg<UserProgressReq>(data, length);
    if (request.iLevel == kFetch) {
        fetchReward(player, *progress);
    } else {
        showState(player, *progress);
    }
}

// The record is not moved here but when the data server has confirmed the update: its answer
// comes to OnActivityMessage, and the lobby books the coins.
void ExampleActivity::fetchReward(IPlayerNode* player,
                                  const tagDBUserActivityProgressData& progress) {
    if (progress.iProgress2 != 0 || progress.iProgress1 < getConfig().iCondition1) {
        showState(player, progress);
        return;
    }
    LobbyActivitySingleProgressUpdate update;
    ZeroMsg(update);
    update.iProgress = progress.iProgress1;
    update.iGameCoin = getConfig().iGamecoin;
    update.iGameCoinSourceId = getConfig().iCondition2;
    update.progress = progress;
    update.progress.iProgress2 = 1;
    update.progress.iGamecoin += getConfig().iGamecoin;
    update.ulPlayerNode = NodeHandle(player);
    update.ulPlayerNodeId = *static_cast<LobbyPlayer*>(player);
    ActivitySystem::getInstance()->UpdateLobbyActivityProgress(update);
}

void ExampleActivity::OnActivityMessage(long type, void* data, long length, IPlayerNode* player,
                                        void*, tagDBUserActivityProgressData* progress) {
    m_vecCalls.emplace_back("message");
    if (type != ACT_SINGLE_PROGRESS_RES) return;
    const auto result = ReadMsg<LobbyActivitySingleProgressUpdateRes>(data, length);
    if (result.iError == 0) {
        *progress = result.progress;
        progress->isUpdate = 1;
    }
    showState(player, *progress);
}

void ExampleActivity::OnGlobalActivityMessage(long, void*, long, ActivityProgressMap& progress) {
    m_vecCalls.emplace_back("global " + std::to_string(progress.size()));
}

void ExampleActivity::showState(IPlayerNode* player,
                                const tagDBUserActivityProgressData& progress) {
    UserProgressReq state;
    ZeroMsg(state);
    state.iActivityId = kActivityId;
    state.iProgress = progress.iProgress1;
    state.iOther1 = progress.iProgress2;
    ActivitySystem::getInstance()->SendData(player, CLIENT_USER_PROGRESS_REQ, &state,
                                            sizeof(state), ENCODE_NONE);
}
