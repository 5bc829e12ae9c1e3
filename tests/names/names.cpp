// Compiled, never run: a name that others rely on cannot be renamed or hidden without notice.
// names.txt lists them; here is what takes more than a name. The C library's and libcrypto's names
// stand beside the system's.
#include <openssl/evp.h>
#include <openssl/md5.h>

#include <cstdlib>

#include "BankInfoDef_Trans.h"
#include "CenterServerHandler.h"
#include "Common/Common.h"
#include "Common/Digest.h"
#include "Common/GLogService.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "EPOLLBuffer.h"
#include "EPOLLMessager.h"
#include "EPOLLServer.h"
#include "Epoll/EPOLLContext.h"
#include "Game/NetGame.h"
#include "Game/PlayerNode.h"
#include "Game/Reconnect.h"
#include "HandShark.h"
#include "LobbyClientHandler.h"
#include "LobbyServer.h"
#include "LogServerHandler.h"
#include "NetSender.h"
#include "NodeManager/NodeRecords.h"
#include "QueueServerHandler.h"
#include "RedisConn.h"
#include "RedisDBSlice.h"
#include "RedisPool.h"
#include "Settings.h"
#include "Tools.h"
#include "WebServerHandler.h"
#include "activityHandler/Activity20171211.h"
#include "activityHandler/Activity20180901.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"
#include "aes.h"
#include "cJson/JsonPack.h"
#include "compete_msg.h"
#include "eventSystem/EventDispatcher.h"
#include "lobby_client_msg.h"
#include "log_server_msg.h"
#include "queue_server_msg.h"
#include "xredis/xRedisClient.h"

namespace {

// Every name must exist, and be public.
template <auto... kNames>
inline constexpr bool Named = true;
template <class... Types>
inline constexpr bool HasTypes = (sizeof(Types) + ... + 0) > 0;

#include "names.inc"

static_assert(_ALL + _DEBUG + _WARN + _ERROR == 6 && LOGIN_LOBBY == 1 && LOGIN_GAME == 2);
static_assert(HEADER_SIZE == 8 && BUFFER_SIZE == 4096 && SEND_BUFFER == 4096);

// Of names with several overloads, or with parameters that matter: exactly these.
template <class F>
consteval bool Is(F) {
    return true;
}
using Node = IPlayerNode;
using Context = EPOLLContext;
using Server = LobbyServer;
using Client = LobbyClientHandler;
using System = ActivitySystem;
static_assert(
    Is<void (CJsonPack::*)(const char*, CJsonPack*)>(&CJsonPack::AddJsonItem) &&
    Is<void (CJsonPack::*)(const char*, CJsonPack&)>(&CJsonPack::AddJsonItem) &&
    Is<char* (NetSender::*)(unsigned short, void*, long&, long, char*, long)>(
        &NetSender::FillHeader) &&
    Is<Context* (EPOLLNet::*)(bool, const char*, unsigned short, unsigned long, unsigned long, long,
                              long, long)>(&EPOLLNet::Create) &&
    Is<Context* (EPOLLNet::*)(bool, sockaddr_in&, unsigned long, unsigned long, long, long, long)>(
        &EPOLLNet::Create) &&
    Is<long (Context::*)(void*, long, bool, sockaddr_in*)>(&Context::SendData) &&
    Is<long (Context::*)(void*, long, bool, char*, unsigned short)>(&Context::SendData) &&
    Is<bool (INetSender::*)(Node*, unsigned short, void*, long, long)>(&INetSender::SendData) &&
    Is<bool (INetSender::*)(Node*, void*, long)>(&INetSender::SendData) &&
    Is<void* (INetSender::*)(unsigned long, unsigned short, void*, long, long)>(
        &INetSender::AllocMassData) &&
    Is<void* (INetSender::*)(unsigned long, void*, long)>(&INetSender::AllocMassData) &&
    Is<int64_t (Server::*)(const char*, Node*&)>(&Server::ConnectServer) &&
    Is<void (Server::*)(void*, long)>(&Server::HandleSychUserDataMsg) &&
    Is<void (Server::*)(Node*, void*, long)>(&Server::HandleSychUserDataMsg) &&
    Is<void (Client::*)(void*, long)>(&Client::HandleSychUserDataMsg) &&
    Is<void (Client::*)(Node*, void*, long)>(&Client::HandleSychUserDataMsg) &&
    Is<void (System::*)(GameProvider*)>(&System::SetGameProvider) &&
    Is<void (System::*)(IActivityHandler*)>(&System::RemoveActivityHandler) &&
    Is<void (System::*)(int)>(&System::RemoveActivityHandler) &&
    Is<void (System::*)(LobbyActivitySingleProgressUpdate&)>(
        &System::UpdateLobbyActivityProgress) &&
    Is<void (System::*)(unsigned short, void*, long, Node*)>(&System::HandleActivityMessage) &&
    Is<void (System::*)(int, unsigned short, void*, long, Node*)>(&System::HandleActivityMessage) &&
    Is<void (System::*)(unsigned short, void*, long)>(&System::HandleGlobalActivityMessage) &&
    Is<void (System::*)(int, unsigned short, void*, long)>(&System::HandleGlobalActivityMessage) &&
    Is<void (Server::*)(LobbyPlayer*, int, int, int, int)>(&Server::UpdateActivityUserPropInfo) &&
    Is<void (Server::*)(int, int, int, int, int, int, int)>(&Server::UpdateActivityUserPropInfo));

// What an application derives from, and a provider of the two operations and those of its base.
struct Provider : INetProvider {
    bool Initialize(unsigned long, unsigned long, unsigned long) override { return true; }
    bool Initialize(unsigned long, unsigned long, unsigned long, unsigned long,
                    unsigned long) override {
        return true;
    }
    void Shutdown() override {}
    Context* Create(bool, const char*, unsigned short, unsigned long, unsigned long, long, long,
                    long) override {
        return nullptr;
    }
    Context* Create(bool, sockaddr_in&, unsigned long, unsigned long, long, long, long) override {
        return nullptr;
    }
    void ReleaseContext(Context*) override {}
};
struct Application : GameProvider {
    long Start() override { return 0; }
    Node* OnCreatePlayer() override { return new PlayerNode; }
};
struct Keeper : Reconnect {
    bool OnConnected(void*, int) override { return true; }
};

// The rest is overridden by the example of an activity.
struct Activity : IActivityHandler {
    explicit Activity(GameProvider* provider) : IActivityHandler(1, provider) {
        m_sActivityConfig.iSiteId = m_pGameProvider == nullptr ? 0 : 1;
    }
    void Initialization() override {}
};

}  // namespace

void UseTheBaseLibrary(cJSON* item, char* text) {
    CIniFile file("LobbyServer.cfg");
    file.SetValueStr("section", "key", "value", true);
    CLogCls log("path", false, false, true);
    log.InitLog("path", false, false, true);
    GLogService& process = g_log;
    process._log_2(text, -1);
    digest::MD5_CTX context;
    MD5Init(&context);
    const auto less = [](int, int, void*) { return 0; };
    const auto swap = [](int, int, void*) {};
    qsort(0, 1, nullptr, less, swap);
    qsort(text, 2, 1, [](const void*, const void*) { return 0; });
    CJsonPack wrapped(item), parsed(text), child(&parsed), copy(parsed);
    xRedisClient client;
    RedisDBIdx index(&client);
}

void UseTheFramework(IGameProvider* provider, char* frame) {
    Provider net;
    NetSender sender(&net, provider, 100);
    EPOLLMessager messager(provider, 100);
    EPOLLServer server(nullptr, &messager, 0);
    server.Initialize(20, 120, 0, 0, 0);
    Application application;
    Keeper keeper;
    IGameProvider* const facade = &application;
    facade->OnClosed(nullptr, keeper.Start());
    HEADER_MAP headers;
    Websocket_Request request;
    request.fetch_websocket_info(frame);
    request.reset();
    request.fetch_fin(frame);
    request.fetch_opcode(frame);
    request.fetch_mask(frame);
    request.fetch_payload_length(frame);
    request.fetch_masking_key(frame);
    request.fetch_payload(frame);
}

void UseTheLobby(Server& lobby, ConsumeSucessNotice* notice, WebFarmSubscribeKeyRes* keys) {
    IPlayerNode* const nodes[] = {lobby.m_lpLobbyServer,
                                  lobby.m_lpCenterServerHandler->m_lpCenterServer,
                                  lobby.m_lpWebServerHandler->m_lpWebServer,
                                  lobby.m_lpLogServerHandler->m_lpLogServer,
                                  lobby.m_lpQueueServerHandler->m_lpQueueServer,
                                  lobby.m_lpDataServerHandler->m_lpDataServer,
                                  lobby.m_lpConfigServerHandler->m_lpConfigServer};
    for (Server* server :
         {lobby.m_lpCenterServerHandler->m_lpLobbyServer,
          lobby.m_lpWebServerHandler->m_lpLobbyServer, lobby.m_lpLogServerHandler->m_lpLobbyServer,
          lobby.m_lpQueueServerHandler->m_lpLobbyServer,
          lobby.m_lpDataServerHandler->m_lpLobbyServer,
          lobby.m_lpConfigServerHandler->m_lpLobbyServer})
        server->SendData(nodes[0], 0, server->m_sendBuffer, sizeof(server->m_sendBuffer), 0);
    LobbyClientHandler* const client = lobby.m_lpLobbyClientHandler;
    client->CallBackRechargeSuccess(nullptr, notice->szConsumeNotice, notice->iSize);
    std::list<WebFarmSubscribeKeyInfo>& known = lobby.m_lSubscribeKeyInfo;
    for (int i = 0; i < keys->iCount; ++i)
        known.push_back(keys->subscribeKeyInfo[i]);
    const auto& bulletins = lobby.m_lpWebServerHandler->m_lBulletinItem;
    std::map<int, int>* const levels[] = {&lobby.m_mapConfigVipLevel, &lobby.m_mapConfigVipLevel1};
    std::map<int, tagVipPhotoItem>* const photos[] = {&lobby.m_mapConfigVipPhoto,
                                                      &lobby.m_mapConfigVipPhoto1};
    std::map<int, tagVipFrameItem>* const frames[] = {&lobby.m_mapConfigVipFrame,
                                                      &lobby.m_mapConfigVipFrame1};
    levels[0]->swap(*levels[1]);
    photos[0]->swap(*photos[1]);
    frames[0]->swap(*frames[1]);
    std::map<std::string, std::vector<PublishPlayer>>& subscribers = lobby.m_mapStrKeyToPlayer;
    std::map<int32_t, std::vector<std::string>>& subscribed = lobby.m_mapPlayerToStrKey;
    if (subscribers.size() > subscribed.size()) return;
    const std::vector<std::string>& names = lobby.m_vecStrSensitiveName;
    const std::vector<int32_t>& users = lobby.m_vcDisconnnetUserID;
    if (names.size() > users.size()) return;
    if (bulletins.size() > 1 && bulletins.front().iUserId == 0) return;
    for (const WinCoinBulletinNotice_2& item : bulletins)
        lobby.KickOutLobbyPlayer(item.iUserId, nullptr);
}
