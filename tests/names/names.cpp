// Compiled, never run: a name that others rely on cannot be renamed or hidden without notice.
// names.txt lists them; here is what takes more than a name. The C library's and libcrypto's names
// stand beside the system's.
#include <openssl/evp.h>
#include <openssl/md5.h>

#include <cstdlib>

#include "names_headers.inc"

namespace {

// Every name must exist, and be public.
template <auto... kNames>
inline constexpr bool Named = true;
template <class... Types>
inline constexpr bool HasTypes = (sizeof(Types) + ... + 0) > 0;

#include "names.inc"

static_assert(_ALL + _DEBUG + _WARN + _ERROR == 6 && LOGIN_LOBBY == 1 && LOGIN_GAME == 2);
static_assert(HEADER_SIZE == 8 && BUFFER_SIZE == 4096 && SEND_BUFFER == 4096);

// Of names with several overloads those that nothing else here calls or overrides.
template <class F>
consteval bool Is(F) {
    return true;
}
static_assert(
    Is<long (EPOLLContext::*)(void*, long, bool, sockaddr_in*)>(&EPOLLContext::SendData) &&
    Is<long (EPOLLContext::*)(void*, long, bool, char*, unsigned short)>(&EPOLLContext::SendData) &&
    Is<void (LobbyServer::*)(void*, long)>(&LobbyServer::HandleSychUserDataMsg) &&
    Is<int64_t (LobbyServer::*)(const char*, IPlayerNode*&)>(&LobbyServer::ConnectServer) &&
    Is<void (ActivitySystem::*)(GameProvider*)>(&ActivitySystem::SetGameProvider) &&
    Is<void (ActivitySystem::*)(int, unsigned short, void*, long)>(
        &ActivitySystem::HandleGlobalActivityMessage));

// What an activity derives from.
struct Activity : IActivityHandler {
    using IActivityHandler::Initialization, IActivityHandler::m_pGameProvider,
        IActivityHandler::m_sActivityConfig;
};
static_assert(
    Named<&Activity::Initialization, &Activity::m_pGameProvider, &Activity::m_sActivityConfig>);

}  // namespace

void UseTheBaseLibrary(cJSON* item, char* text) {
    digest::MD5_CTX context;
    MD5Init(&context);
    qsort(
        0, 1, nullptr, [](int, int, void*) { return 0; }, [](int, int, void*) {});
    qsort(text, 2, 1, [](const void*, const void*) { return 0; });
    GLogService& process = g_log;
    process._log_2(text, -1);
    const CJsonPack wrapped(item);
}

void UseTheFramework(IGameProvider* facade, char* frame) {
    facade->OnClosed(nullptr, false);
    Websocket_Request request;
    request.fetch_websocket_info(frame);
    request.fetch_payload_length(frame);
    request.fetch_masking_key(frame);
    request.fetch_payload(frame);
}

// Many are references, to which no pointer to a member can be made.
void UseTheLobby(LobbyServer& lobby) {
    IPlayerNode* const nodes[] = {lobby.m_lpLobbyServer,
                                  lobby.m_lpCenterServerHandler->m_lpCenterServer,
                                  lobby.m_lpWebServerHandler->m_lpWebServer,
                                  lobby.m_lpLogServerHandler->m_lpLogServer,
                                  lobby.m_lpQueueServerHandler->m_lpQueueServer,
                                  lobby.m_lpDataServerHandler->m_lpDataServer,
                                  lobby.m_lpConfigServerHandler->m_lpConfigServer};
    LobbyServer* const server = lobby.m_lpCenterServerHandler->m_lpLobbyServer;
    server->SendData(nodes[0], 0, server->m_sendBuffer, sizeof(server->m_sendBuffer), 0);
    LobbyClientHandler* const clients = lobby.m_lpLobbyClientHandler;
    clients->CallBackRechargeSuccess(nullptr, nullptr, 0);
    lobby.m_mapConfigVipLevel.swap(lobby.m_mapConfigVipLevel1);
    lobby.m_mapConfigVipPhoto.swap(lobby.m_mapConfigVipPhoto1);
    lobby.m_mapConfigVipFrame.swap(lobby.m_mapConfigVipFrame1);
    for (const WinCoinBulletinNotice_2& item : lobby.m_lpWebServerHandler->m_lBulletinItem)
        lobby.KickOutLobbyPlayer(item.iUserId, nullptr);
}
