#include "ConfigServer.h"

#include <algorithm>

namespace sim {
namespace {

// A VIP table as the messages it travels in; the last one says so. An empty table is one message.
template <class Msg>
std::vector<wire::Bytes> Table(uint16_t type, const std::vector<VipItem>& items) {
    constexpr size_t perMessage = std::extent_v<decltype(Msg::item)>;
    std::vector<wire::Bytes> parts;
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
    return parts;
}

std::vector<wire::Bytes> Tables(const World& world) {
    auto parts = Table<tagVipLevelConfigRes>(MSG_CONFIG_VIP_LEVEL_RES, world.vipLevels);
    for (auto& part : Table<tagVipPhotoConfigRes>(MSG_CONFIG_VIP_PHOTO_RES, world.vipPhotos)) {
        parts.push_back(std::move(part));
    }
    for (auto& part : Table<tagVipFrameConfig>(MSG_CONFIG_VIP_FRAME_RES, world.vipFrames)) {
        parts.push_back(std::move(part));
    }
    return parts;
}

// The key list: a first message that starts it afresh, then the rest.
std::vector<wire::Bytes> Keys(const std::vector<std::string>& keys) {
    constexpr size_t perMessage =
        (wire::LARGEST - sizeof(WebFarmSubscribeKeyRes)) / sizeof(WebFarmSubscribeKeyInfo);
    std::vector<wire::Bytes> parts;
    size_t at = 0;
    do {
        const size_t count = std::min(perMessage, keys.size() - at);
        WebFarmSubscribeKeyRes head{};
        head.bInit = at == 0;
        head.iCount = static_cast<int32_t>(count);
        wire::Bytes bytes(sizeof(head) + count * sizeof(WebFarmSubscribeKeyInfo));
        std::memcpy(bytes.data(), &head, sizeof(head));
        for (size_t i = 0; i < count; ++i) {
            WebFarmSubscribeKeyInfo key{};
            wire::SetText(key.szKey, keys[at + i]);
            std::memcpy(bytes.data() + sizeof(head) + i * sizeof(key), &key, sizeof(key));
        }
        at += count;
        parts.push_back(wire::Pack(MSG_CONFIG_SUBSCRIBE_KEY_RES, bytes.data(), bytes.size()));
    } while (at < keys.size());
    return parts;
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
    for (auto& part : Tables(TheWorld()))
        link.Send(std::move(part));
}

void ConfigServer::OnStopRequest(Link& link) {
    link.Send(MSG_CONFIG_STOP_SWITCH_RES, StopMessage(TheWorld().stopSwitch));
}

void ConfigServer::OnKeyRequest(Link& link) {
    for (auto& part : Keys(TheWorld().farmKeys))
        link.Send(std::move(part));
}

void ConfigServer::SetStopSwitch(int32_t value) {
    TheWorld().stopSwitch = value;
    SendAll(MSG_CONFIG_STOP_SWITCH_RES, StopMessage(value));
}

void ConfigServer::SendTablesToAll() {
    for (const auto& part : Tables(TheWorld()))
        SendAll(part);
}

void ConfigServer::SendKeysToAll() {
    for (const auto& part : Keys(TheWorld().farmKeys))
        SendAll(part);
}

}  // namespace sim
