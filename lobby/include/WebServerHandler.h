// The link to the web (bulletin) server.
#pragma once

#include <cstdint>
#include <optional>

#include "BulletinQueue.h"
#include "LinkHandler.h"
#include "PublisherMsg.h"
#include "web_server_msg.h"

class LobbyServer;

// Passes the back office's notices and farm messages on, and broadcasts its bulletins a few at a
// time at the configured pace. The queue outlives a lost link: what is queued still goes out.
// Owned by LobbyServer; owns the queue, points at the link node.
// Thread: message worker; ConnectServer and RegisteWebServer on main or the reconnect keeper.
class WebServerHandler : public LinkHandler {
  public:
    explicit WebServerHandler(LobbyServer* server)
        : LinkHandler(server, LinkRowOf("bulletin_server")) {}

    // Opens the link and registers on it; 0 on success.
    int64_t ConnectServer();
    // 0 when the registration was sent, 1 when not or without a node.
    int RegisteWebServer(IPlayerNode* node);
    // True when the message came from the web server, known type or not.
    bool OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length);
    // Every lobby tick; now in epoch seconds. Broadcasts up to 5 bulletins when
    // LobbyServer::m_iSendBulletinTime seconds have passed since the last time.
    void OnTimer(long now);

    void PushIntoBulletinNotice(WinCoinBulletinNotice_2& item);
    void HandlerWinBulletinNotice(void* data, long length);
    void HandlerSysBulletinNotice(void* data, long length);
    // To the subscribers of its key when it is a published one, else to its user or to everybody;
    // direct deliveries are recorded at the log server.
    void HandleFarmTransferMsg(void* data, long length);
    // These go on to LobbyServer.
    void HandleRechargeSucessNotice(void* data, long length);
    void HandleConsumeSucessNotice(void* data, long length);
    void HandleSychUserDataMsg(void* data, long length);

    LinkNode& m_lpWebServer = m_Node;
    BulletinQueue m_lBulletinItem;

  private:
    bool DeliverFarmNotice(LobbyTransferFarmNotice& notice);

    std::optional<long> m_lLastSend;  // time of the last broadcast pass; set by the first tick
    alignas(8) char m_sendBuffer[4096] = {};
};
