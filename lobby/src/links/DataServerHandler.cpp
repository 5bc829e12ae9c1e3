// The link to the data server.
//
// When the link comes up the lobby registers and asks for every activity's row; the timer of the
// registry asks again. A login asks for the player's records, whose answer names the session by
// handle and id: it is dropped when the session has gone. Requests while the link is down are not
// kept; the next login, or the link's return, makes them anew.
#include "DataServerHandler.h"

#include <cstdio>

#include "Common/Log.h"
#include "DispatchTable.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "activitySystem/ActivitySystem.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace {

using Data = DataServerHandler;

constexpr auto kDataDispatch = LinkMessages<Data>({
    {ACT_ACCOUNT_TYPE_RES, &Data::HandleAccountTypeRes},
    {ACT_CONFIG_RES, &Data::HandleActivityConfigRes},
    {ACT_PROGRESS_RES, &Data::HandleActivityProgressRes},
    {ACT_SINGLE_PROGRESS_RES, &Data::HandleSingleProgressRes},
    {ACT_UPDATE_ACK, &Data::HandleUpdateActivityProgressRes},
});

// Whether a list of records behind its head is exactly as long as the message. Computed in 64
// bits: no count wraps around to a length that fits.
template <class Record, class List>
bool CheckListLength(const char* tag, long length, const List& list) {
    if (length < static_cast<long>(sizeof(List))) {
        __log(_ERROR, tag, "2 buffer length is not match ! length[%d] != sizeof(%d)",
              static_cast<int>(length), static_cast<int>(sizeof(List)));
        return false;
    }
    const int64_t expected = sizeof(List) + static_cast<int64_t>(sizeof(Record)) * list.iCount;
    if (length == expected) return true;
    __log(_ERROR, tag, "1 buffer length is not match, iCount[%d], ! length[%d] != sizeof(%d)",
          list.iCount, static_cast<int>(length), static_cast<int>(expected));
    return false;
}

}  // namespace

long DataServerHandler::ConnectServer() {
    return Open([this] { RegistDataServerReq(); });
}

bool DataServerHandler::OnNetMessage(IPlayerNode* node, unsigned short type, void* data,
                                     long length) {
    if (!IsMine(node)) return false;
    std::printf("DataServerHandler::OnNetMessage type:%x\n", type);
    if (kDataDispatch.Call(*this, type, data, length)) return true;
    if (type >= ACT_GLOBAL_1 && type <= ACT_GLOBAL_3) {
        ActivitySystem::getInstance()->HandleGlobalActivityMessage(type, data, length);
    } else {
        __log(_ERROR, "DataServerHandler::OnNetMessage",
              "databaseserver response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node),
              type);
    }
    return true;
}

void DataServerHandler::RegistDataServerReq() {
    IPlayerNode* const link = m_lpDataServer;
    if (link == nullptr) return;
    Zeroed<RegisterActSystemServerReq> request;
    m_lpLobbyServer->SendData(link, ACT_REGISTER_REQ, &request, sizeof(request), ENCODE_NONE);
    SendActivityConfigReq(0);
}

void DataServerHandler::SendActivityConfigReq(int gameId) {
    IPlayerNode* const link = m_lpDataServer;
    if (link == nullptr) return;
    Zeroed<tagDBGameActivityConfigReq> request;
    request.iGameID = gameId;
    m_lpLobbyServer->SendData(link, ACT_CONFIG_REQ, &request, sizeof(request), ENCODE_NONE);
    m_lpLobbyServer->SendData(link, ACT_ACCOUNT_TYPE_REQ, nullptr, 0, ENCODE_NONE);
}

void DataServerHandler::SendActivityProgressReq(LobbyPlayer* player) {
    IPlayerNode* const link = m_lpDataServer;
    if (link == nullptr || player == nullptr) return;
    Zeroed<tagDBUserActivityProgressReq> request;
    request.ulPlayerNode = NodeHandle(player);
    request.ulPlayerNodeId = *player;
    request.iUserID = player->m_iUserID;
    m_lpLobbyServer->SendData(link, ACT_PROGRESS_REQ, &request, sizeof(request), ENCODE_NONE);
}

void DataServerHandler::HandleActivityConfigRes(void* data, long length) {
    using Row = tagDBActivityConfigData;
    std::printf("HandleActivityConfigRes!!!!");
    const auto list = ReadMsg<tagDBSiteActivityList>(data, length);
    if (!CheckListLength<Row>("DataServerHandler::HandleActivityConfigRes", length, list)) return;
    for (size_t i = 0; i < static_cast<size_t>(list.iCount); ++i) {
        ActivitySystem::getInstance()->SetActivityConfig(
            ReadItem<Row>(data, length, sizeof(list), i), list.iIsFinish != 0);
    }
}

void DataServerHandler::HandleActivityProgressRes(void* data, long length) {
    using Record = tagDBUserActivityProgressData;
    std::printf("HandleActivityProgressRes!!!!");
    const auto list = ReadMsg<tagDBActivityProgressList>(data, length);
    if (!CheckListLength<Record>("DataServerHandler::HandleActivityProgressRes", length, list))
        return;
    LobbyPlayer* const player =
        m_lpLobbyServer->FindPlayerByHandle(list.ulPlayerNode, list.ulPlayerNodeId);
    if (player == nullptr) return;
    for (size_t i = 0; i < static_cast<size_t>(list.iCount); ++i) {
        const auto record = ReadItem<Record>(data, length, sizeof(list), i);
        ActivitySystem::getInstance()->AddActivityProgress(player, &record);
    }
    if (list.iFinished != 0) ActivitySystem::getInstance()->AddActivityProgress(player, nullptr);
}

void DataServerHandler::HandleUpdateActivityProgressRes(void*, long) {
    std::printf("HandleUpdateActivityProgressRes!!!!");
}

void DataServerHandler::HandleAccountTypeRes(void* data, long length) {
    ActivitySystem::getInstance()->SetUserAccountTypeConfig(data, length);
}

void DataServerHandler::HandleSingleProgressRes(void* data, long length) {
    ActivitySystem::getInstance()->UpdateLobbyActivityProgressRes(ACT_SINGLE_PROGRESS_RES, data,
                                                                  length);
}
