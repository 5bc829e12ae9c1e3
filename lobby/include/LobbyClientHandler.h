// Everything clients ask for, and the list of their sessions.
#pragma once

#include <cstdint>
#include <string>

#include "Game/NetGame.h"
#include "LobbyPlayer.h"
#include "SessionList.h"

class LobbyServer;
struct tagModifyPassWordReq;

// Checks client requests against the sender's session, answers what the lobby can answer itself
// and relays the rest to the queue server. Keeps the list of the sessions. Owned by
// LobbyServer; owns no session.
//
// Request handlers take the whole message with its header. Where checks of similar requests
// differ in order or outcome (answer, silence, close), clients rely on the difference.
//
// Thread: message worker.
class LobbyClientHandler {
  public:
    explicit LobbyClientHandler(LobbyServer* server) : m_lpLobbyServer(server) {}
    virtual ~LobbyClientHandler() = default;
    LobbyClientHandler(const LobbyClientHandler&) = delete;
    LobbyClientHandler& operator=(const LobbyClientHandler&) = delete;

    // Dispatches by type; unknown types are logged and dropped. True for every non-null node.
    bool OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length);
    // Unlinks the session and clears its node id. Always true.
    bool OnClosed(IPlayerNode* node, bool bClosed);
    void OnTimer(unsigned long /*now*/) {}

    // Lists the session and asks the queue server for its account; a user id below 1 closes the
    // newest listed session instead.
    void OnLobbyClientConnectNotice(LobbyPlayer* player);
    // Takes the session out of the list; nothing for one that was never in it.
    void Unlink(LobbyPlayer* player);
    // Logs when no listed session has the user id of the closing node; changes nothing.
    void DealDisconnect(IPlayerNode* node);

    // The newest session of the user, or null.
    LobbyPlayer* GetPlayerByUserID(int userID);
    // Head of the session list.
    LobbyPlayer* GetClientLobbyPlayer() { return m_Sessions.Head(); }
    void SendMsgToPlayerByID(int userID, unsigned short type, void* data, long length);
    // One send buffer per session: a shared one would be shortened for everybody by the first
    // receiver that takes only part of it.
    void SendMsgToAllLobbyClent(unsigned short type, void* data, long length);

    // Bank.
    void HandleBankLoginReq(IPlayerNode* node, void* data, unsigned short length);
    void HandleGetCoinReq(IPlayerNode* node, void* data, unsigned short length);
    void HandleSaveCoinReq(IPlayerNode* node, void* data, unsigned short length);
    void HandleModifyBankPasswdReq(IPlayerNode* node, void* data, unsigned short length);

    // Profile.
    void HandleModifyPassWordReq(IPlayerNode* node, void* data, unsigned short length);
    void HandleModifyNickName(IPlayerNode* node, void* data, unsigned short length);
    void HandleModifyGender(IPlayerNode* node, void* data, unsigned short length);
    void HandleModifyPersonalSignature(IPlayerNode* node, void* data, unsigned short length);
    void HandleModifyFaceId(IPlayerNode* node, void* data, unsigned short length);
    void HandleBindingMobileReq(IPlayerNode* node, void* data, unsigned short length);
    void HandleRealNameAuthenReq(IPlayerNode* node, void* data, unsigned short length);
    // Not reachable from the network: no client request has this message number.
    void HandleModifyFaceFrameReq(IPlayerNode* node, void* data, unsigned short length);

    // Coin notices of the web server, and refresh. Notices for absent players are dropped, and
    // everything is while there is no lobby.
    void HandleRechargeSucessNotice(void* data, long length);
    void HandleConsumeSucessNotice(void* data, long length);
    // Takes the gains of a consume notice's JSON text into the session.
    void CallBackRechargeSuccess(LobbyPlayer* player, const char* text, int length);
    void HandleSychUserDataMsg(void* data, long length);
    void HandleSychUserDataMsg(IPlayerNode* node, void* data, long length);
    // At most once per clock second and session, whoever asks.
    void HandleRechargeRefreshCoinReq(IPlayerNode* node, void* data, unsigned short length);

    // Coin exchange.
    void HandleClientExchangeCoinReq(IPlayerNode* node, void* data, unsigned short length);

    // Server list and tournament.
    void HandleClientServerInfoReq(IPlayerNode* node, void* data, unsigned short length);
    void HandleClientCompeteInfoReq(IPlayerNode* node, void* data, unsigned short length);

    // Farm subscriptions; an empty key drops all of the player's.
    void subscribe(IPlayerNode* node, void* data, long length);
    void unsubscribe(IPlayerNode* node, const std::string& key);
    // Forgets what a closing player subscribed to before his connect notice named him.
    void DropEarlySubscriptions(const LobbyPlayer& player);

    SessionList m_Sessions;
    LobbyPlayer* const& m_lpLobbyPlayer = m_Sessions.Head();  // head of the list

  private:
    // Table entries whose work has another signature or a preamble.
    void HandleSubscribe(IPlayerNode* node, void* data, unsigned short length);
    void HandleCompeteInfo(IPlayerNode* node, void* data, unsigned short length);
    void HandleUnsubscribe(IPlayerNode* node, void* data, unsigned short length);
    void HandleActivity(IPlayerNode* node, void* data, unsigned short length);

    template <class Op>
    void RelayBankReq(const Op& op, IPlayerNode* node, void* data, unsigned short length);
    template <class Req, class Trans>
    void RelayProfileReq(uint16_t type, const char* tag, IPlayerNode* node, void* data,
                         unsigned short length);
    template <class Op>
    void RelayNamedReq(const Op& op, IPlayerNode* node, void* data, unsigned short length);
    void RelayPassword(const tagModifyPassWordReq& req, LobbyPlayer* player);
    // The player's request on the queue link; false when it is down or refuses the request.
    bool SendToQueue(const LobbyPlayer* player, uint16_t type, void* msg, long length);

    // The result code of a transfer the lobby refuses, or 0.
    int32_t DecideExchange(const LobbyPlayer* player, int32_t receiver, int64_t amount, time_t now);
    struct Requests;  // the dispatch table

    LobbyServer* m_lpLobbyServer;
};
