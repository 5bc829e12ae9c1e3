#include "ConfigServerHandler.h"

#include <algorithm>
#include <type_traits>

#include "Common/Log.h"
#include "DispatchTable.h"
#include "LobbyServer.h"
#include "LogText.h"
#include "MsgView.h"

namespace {

using Config = ConfigServerHandler;

constexpr auto kConfigDispatch = LinkMessages<Config>({
    {MSG_CONFIG_VIP_LEVEL_RES, &Config::OnVipLevelConfigRes},
    {MSG_CONFIG_VIP_PHOTO_RES, &Config::OnVipPhotoConfigRes},
    {MSG_CONFIG_VIP_FRAME_RES, &Config::OnVipFrameConfigRes},
    {MSG_CONFIG_STOP_SWITCH_RES, &Config::OnConfigLobbySwitchRes},
    {MSG_CONFIG_SUBSCRIBE_KEY_RES, &Config::OnSubscribeKeyRes},
});

// Unlike at the center, a message of the wrong size does not cost the link. The "=" is how the
// line reads everywhere.
bool CheckLength(const char* tag, long length, size_t expected) {
    if (length == static_cast<long>(expected)) return true;
    __log(_ERROR, tag, "buffer length is not match ! length[%u] = sizeof(%u)",
          static_cast<unsigned>(length), static_cast<unsigned>(expected));
    return false;
}

// What distinguishes the three tables in the log.
struct TableTexts {
    const char* tag;
    const char* name;
    LogText<int, int> item;  // key, number
};

// Stores one message of a table in the staging table and, when it is the transfer's last, makes
// that the live one. A table holds whole items or their numbers alone.
template <class Msg, class Map>
void LoadTable(const TableTexts& texts, const void* data, long length, Map& live, Map& staging) {
    if (!CheckLength(texts.tag, length, sizeof(Msg))) return;
    __log(_DEBUG, texts.tag, "config_server return %s Success!", texts.name);
    const auto msg = ReadMsg<Msg>(data, length);
    // The count is trusted as far as the message goes, which has its full size here.
    const size_t count = std::min<size_t>(msg.usItemCount, std::size(msg.item));
    for (size_t i = 0; i < count; ++i) {
        const auto [key, number] = msg.item[i];
        if constexpr (std::is_same_v<typename Map::mapped_type, int>) {
            staging[key] = number;
        } else {
            staging[key] = msg.item[i];
        }
        texts.item.Log(_DEBUG, texts.tag, key, number);
    }
    if (msg.isFinished == 0) return;
    // Whatever the staging table holds becomes the table, nothing at all included.
    live.swap(staging);
    staging.clear();
}

}  // namespace

int64_t ConfigServerHandler::ConnectServer() {
    return Open([this] { LoadConfigs(); });
}

void ConfigServerHandler::LoadConfigs() {
    static constexpr char tag[] = "ConfigServerHandler::LoadConfigs";
    if (m_lpLobbyServer->SendMsgToConfigServer(MSG_CONFIG_VIP_FRAME_REQ, nullptr, 0) != 0) {
        __log(_DEBUG, tag, "Send Load vip_frame Req Success!");
    } else {
        __log(_DEBUG, tag, "Send Load vip_frame Req Error! type = 0x%x",
              static_cast<unsigned>(MSG_CONFIG_VIP_FRAME_REQ));
    }
}

void ConfigServerHandler::SendLobbyStopSwitchReqToConfig() {
    m_lpLobbyServer->SendMsgToConfigServer(MSG_CONFIG_STOP_SWITCH_REQ, nullptr, 0);
}

int32_t ConfigServerHandler::OnNetMessage(IPlayerNode* node, uint16_t type, void* data,
                                          long length) {
    if (!IsMine(node)) return 0;
    if (!kConfigDispatch.Call(*this, type, data, length)) {
        __log(_ERROR, "ConfigServerHandler::OnNetMessage",
              "config server rsp type invalid! type[%x]", static_cast<unsigned>(type));
    }
    return 1;
}

void ConfigServerHandler::OnVipLevelConfigRes(void* data, long length) {
    VipTables& vip = m_lpLobbyServer->Vip();
    LoadTable<tagVipLevelConfigRes>(
        {"ConfigServerHandler::OnVipLevelConfigRes", "vip_level", "vip level[%d], recharge[%d]"},
        data, length, vip.m_mapConfigVipLevel, vip.m_mapConfigVipLevel1);
}

void ConfigServerHandler::OnVipPhotoConfigRes(void* data, long length) {
    VipTables& vip = m_lpLobbyServer->Vip();
    LoadTable<tagVipPhotoConfigRes>({"ConfigServerHandler::OnVipPhotoConfigRes", "vip_photo",
                                     "vip photo_id[%d], open_level[%d]"},
                                    data, length, vip.m_mapConfigVipPhoto,
                                    vip.m_mapConfigVipPhoto1);
}

void ConfigServerHandler::OnVipFrameConfigRes(void* data, long length) {
    VipTables& vip = m_lpLobbyServer->Vip();
    LoadTable<tagVipFrameConfig>({"ConfigServerHandler::OnVipFrameConfigRes", "vip_frame",
                                  "vip frame_id[%d], open_level[%d]"},
                                 data, length, vip.m_mapConfigVipFrame, vip.m_mapConfigVipFrame1);
}

void ConfigServerHandler::OnConfigLobbySwitchRes(void* data, long length) {
    static constexpr char tag[] = "ConfigServerHandler::OnConfigLobbySwitchRes";
    if (!CheckLength(tag, length, sizeof(tagLobbyStopSwitchRes))) return;
    const auto msg = ReadMsg<tagLobbyStopSwitchRes>(data, length);
    __log(_DEBUG, tag, "config_server return stop_switch[%d] Success!", msg.iStopSwitch);
    m_lpLobbyServer->m_iLobbyStopSwitch = msg.iStopSwitch;
}

void ConfigServerHandler::OnSubscribeKeyRes(void* data, long length) {
    static constexpr char tag[] = "ConfigServerHandler::OnSubscribeKeyRes";
    if (data == nullptr) {
        __log(_ERROR, tag, "buffer is nullptr");
        return;
    }
    const auto msg = ReadMsg<WebFarmSubscribeKeyRes>(data, length);
    __log(_DEBUG, tag, "init[%d] count[%d]", msg.bInit, msg.iCount);
    FarmKeys& keys = m_lpLobbyServer->Farm();
    if (msg.bInit != 0) keys.Forget();
    const size_t count = ItemsWithin<WebFarmSubscribeKeyInfo>(
        length, sizeof(msg), static_cast<size_t>(std::max(msg.iCount, 0)));
    for (size_t i = 0; i < count; ++i) {
        const auto key = ReadItem<WebFarmSubscribeKeyInfo>(data, length, sizeof(msg), i);
        __log(_DEBUG, tag, "init[%d] key[%s]", msg.bInit, TextStr(key.szKey).c_str());
        keys.Allow(key);
    }
}
