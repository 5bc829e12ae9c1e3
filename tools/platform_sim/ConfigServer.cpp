#include "ConfigServer.h"

#include <algorithm>

namespace sim {
namespace {

// Appends a VIP table as the messages it travels in; the last one says so. An empty table is one
// message.
template <class Msg>
void AddTable(uint16_t type, const std::vector<VipItem>& items, std::vector<wire::Bytes>& parts) {
    constexpr size_t perMessage = std::extent_v<decltype(Msg::item)>;
    size_t at = 0;
    do {
        Msg msg{};
        const size_t count = std::min(perMessage, items.size() - at);
        for (size_t i = 0; i < count; ++i)
            msg.item[i] = {items[at + i].id, items[at + i].value};
        at += count;
        msg.usItemCount = static_cast<uint16_t>(count);
        msg.isFinished = at == items.size();
        parts.push_back(wire::Pack(type, msg));
    } while (at < items.size());
}

std::vector<wire::Bytes> Tables(const World& world) {
    std::vector<wire::Bytes> parts;
    AddTable<tagVipLevelConfigRes>(MSG_CONFIG_VIP_LEVEL_RES, world.vipLevels, parts);
    AddTable<tagVipPhotoConfigRes>(MSG_CONFIG_VIP_PHOTO_RES, world.vipPhotos, parts);
    AddTable<tagVipFrameConfig>(MSG_CONFIG_VIP_FRAME_RES, world.vipFrames, parts);
    return parts;
}

// The key list: a first message that starts it afresh, then the rest.
std::vector<wire::Bytes> Keys(const std::vector<std::string>& keys) {
    std::vector<WebFarmSubscribeKeyInfo> records(keys.size());
    for (size_t i = 0; i < keys.size(); ++i)
        wire::SetText(records[i].szKey, keys[i]);
    return wire::Lists(MSG_CONFIG_SUBSCRIBE_KEY_RES, WebFarmSubscribeKeyRes{}, records,
                       [](WebFarmSubscribeKeyRes& head, size_t begin, size_t end) {
                           head.bInit = begin == 0;
                           head.iCount = static_cast<int32_t>(end - begin);
                       });
}

tagLobbyStopSwitchRes StopMessage(int32_t value) {
    tagLobbyStopSwitchRes res{};
    res.iStopSwitch = value;
    return res;
}

}  // namespace

ConfigServer::ConfigServer(Platform& platform) : BackEnd(platform, ServerKind::Config) {
    On(MSG_CONFIG_VIP_FRAME_REQ, &ConfigServer::OnFrameRequest);
    On(MSG_CONFIG_STOP_SWITCH_REQ, &ConfigServer::OnStopRequest);
    On(MSG_CONFIG_SUBSCRIBE_KEY_REQ, &ConfigServer::OnKeyRequest);
}

// Lobbies only ever ask for the frames; the other two tables come along.
void ConfigServer::OnFrameRequest(Link& link) {
    link.Send(Tables(TheWorld()));
}

void ConfigServer::OnStopRequest(Link& link) {
    link.Send(MSG_CONFIG_STOP_SWITCH_RES, StopMessage(TheWorld().stopSwitch));
}

void ConfigServer::OnKeyRequest(Link& link) {
    link.Send(Keys(TheWorld().farmKeys));
}

void ConfigServer::SetStopSwitch(int32_t value) {
    TheWorld().stopSwitch = value;
    SendAll(MSG_CONFIG_STOP_SWITCH_RES, StopMessage(value));
}

void ConfigServer::SendTablesToAll() {
    SendAll(Tables(TheWorld()));
}

void ConfigServer::SendKeysToAll() {
    SendAll(Keys(TheWorld().farmKeys));
}

}  // namespace sim
