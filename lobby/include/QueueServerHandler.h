// The link to the queue server: accounts, bank, profile and coins.
#pragma once

#include <cstdint>

#include "BankInfoDef_Trans.h"
#include "Game/NetGame.h"
#include "LinkHandler.h"
#include "LobbyPlayer.h"
#include "LogText.h"
#include "queue_server_msg.h"

class LobbyServer;

// Completes logins and passes the queue server's answers on to the sessions they belong to. An
// answer carries the handle and the node id of the session that asked; it is dropped when that
// session is gone. Owned by LobbyServer.
//
// Thread: message worker, except ConnectServer (main or the reconnect keeper).
class QueueServerHandler : public LinkHandler {
  public:
    explicit QueueServerHandler(LobbyServer* server)
        : LinkHandler(server, LinkRowOf("queue_server")) {}

    // 0 when the link is up.
    int64_t ConnectServer();
    // Takes every message of the link, known type or not; true when it was the link's.
    bool OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length);

    // The account of a login; it is complete, and answered, once the registry has been asked.
    void OnUserInfoRes(void* data, long length);
    void HandleUserInfoRes(IPlayerNode* node, unsigned short type, void* data, int length);
    // The registry has taken the session in. `online`: there was a mark, which now stands for this
    // session; older, the session it stood for, is put out, or, when null, looked for elsewhere.
    void OnEntered(LobbyPlayer* player, bool online, LobbyPlayer* older);

    // Bank.
    void OnBankLoginRes(void* data, long length) { Relay(BANK_LOGIN_Q2L, data, length); }
    void OnGetCoinRes(void* data, long length) { Relay(BANK_GET_COIN_Q2L, data, length); }
    void OnSaveCoinRes(void* data, long length) { Relay(BANK_SAVE_COIN_Q2L, data, length); }
    void OnModifyBankPasswd(void* data, long length) {
        Relay(BANK_MODIFY_PASSWD_Q2L, data, length);
    }

    // Profile.
    void OnModifyPasswd(void* data, long length) { Relay(MODIFY_PASSWORD_Q2L, data, length); }
    void OnModifyNickName(void* data, long length) { Relay(MODIFY_NICKNAME_Q2L, data, length); }
    void OnModifyGender(void* data, long length) { Relay(MODIFY_GENDER_Q2L, data, length); }
    void OnModifyPersonalSignature(void* data, long length) {
        Relay(MODIFY_SIGNATURE_Q2L, data, length);
    }
    void OnModifyFaceId(void* data, long length) { Relay(MODIFY_FACE_ID_Q2L, data, length); }
    void OnBindingMobile(void* data, long length) { Relay(BINDING_MOBILE_Q2L, data, length); }
    void OnRealNameAuthen(void* data, long length) { Relay(REAL_NAME_Q2L, data, length); }
    void OnModifyFaceFrame(void* data, long length) { Relay(MODIFY_FACE_FRAME_Q2L, data, length); }

    // Coins and tournament.
    void OnUserExchangeCoinRes(void* data, long length);
    void OnRechargeRefreshCoin(void* data, long length);
    void OnCompeteLobbyUserInfoRes(void* data, long length);

    LinkNode& m_lpQueueServer = m_Node;  // null while the link is down

  private:
    // Passes a result on by its row in QueueServerResults.cpp.
    void Relay(uint16_t queueType, void* data, long length);
    // The session an answer belongs to; logs and returns null when it is gone.
    LobbyPlayer* SessionOf(uint64_t handle, uint64_t nodeId, const char* tag,
                           LogText<int, int> text);
    void AnswerLogin(LobbyPlayer* player, uint8_t error);
    void BookExchange(LobbyPlayer* giver, const QueueExchangeCoinRes& msg);
};
