#include "ExampleActivity.h"

#include "LobbyPlayer.h"
#include "MsgView.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"

void ExampleActivity::startInit(IPlayerNode*, Progress* progress, bool fresh) {
    note(fresh ? "startInit fresh" : "startInit");
    ++progress->iProgress3;
    progress->isUpdate = 1;
}

void ExampleActivity::onActicityClosed() {
    note("closed");
    IActivityHandler::onActicityClosed();
}

void ExampleActivity::onGameEnd(IPlayerNode*, Progress* progress, void*, void*, int rounds) {
    note("end");
    progress->iProgress1 += rounds;
    progress->isUpdate = 1;
}

void ExampleActivity::HandlerUserProgressReq(long, void* data, long length, IPlayerNode* player,
                                             void*, Progress* progress) {
    note("request");
    const auto request = ReadMsg<UserProgressReq>(data, length);
    if (request.iLevel == kFetch) {
        fetchReward(player, *progress);
    } else {
        showState(player, *progress);
    }
}

// The record is not moved here but when the data server has confirmed the update: its answer
// comes to OnActivityMessage, and the lobby books the coins.
void ExampleActivity::fetchReward(IPlayerNode* player, const Progress& progress) {
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
                                        void*, Progress* progress) {
    note("message");
    if (type != ACT_SINGLE_PROGRESS_RES) return;
    const auto result = ReadMsg<LobbyActivitySingleProgressUpdateRes>(data, length);
    if (result.iError == 0) {
        *progress = result.progress;
        progress->isUpdate = 1;
    }
    showState(player, *progress);
}

void ExampleActivity::showState(IPlayerNode* player, const Progress& progress) {
    UserProgressReq state;
    ZeroMsg(state);
    state.iActivityId = kActivityId;
    state.iProgress = progress.iProgress1;
    state.iOther1 = progress.iProgress2;
    ActivitySystem::getInstance()->SendData(player, CLIENT_USER_PROGRESS_REQ, &state, sizeof(state),
                                            ENCODE_NONE);
}
