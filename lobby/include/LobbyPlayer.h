// One player's session, and the node of every back-end link.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

#include "Game/PlayerNode.h"
#include "MessageLimits.h"

class LobbyPlayer;
struct RegistryJob;

// What a session knows of its player: who he is after the connect notice, the account data the
// queue server returned, and the time stamps that throttle requests. A new connection starts with
// the values below, all of them: nothing passes from one player to the next.
struct PlayerSession {
    uint64_t m_ulQueueCount = 0;
    int32_t m_iUserID = 0;
    int32_t m_iSiteID = 0;
    LobbyPlayer* m_lpNext = nullptr;   // SessionList
    LobbyPlayer* m_lpPrior = nullptr;  // null at the head and in sessions never linked
    int8_t m_cLoginType = 0;           // LOGINTYPE; 0 until the connect notice is accepted
    int32_t m_iLoginSiteID = 0;
    uint64_t m_uGameID = 0;
    time_t iLastBankLoginTime = 0;
    time_t iLastGetCoinTime = 0;
    time_t iLastSaveCoinTime = 0;
    time_t iLastModifyPdTime = 0;
    time_t iLastModifyPassWordTime = 0;
    time_t iLastRefreshCoinTime = 0;
    time_t iLastServerInfoReqTime = 0;
    int64_t llControlNum = 0;
    int32_t iMachineIndex = 0;
    int32_t iPlayGameTime = 0;
    int32_t iAllYuanBaoAmount = 0;
    int32_t iAccountsourceid = 0;
    uint8_t isBindingmobile = 0;
    int32_t iFriendPropNum = 0;
    int64_t llGameCoin = 0;
    int64_t llBankCoin = 0;
    bool m_bDelOnline = true;  // closing the connection deletes the user's online mark
    int32_t iTeamTag = 0;
    int32_t iLianyunFlag = 0;
    uint16_t usRegisterType = 0;
    char szReserve1[64] = {};
    char szOutAccount[64] = {};
    char szReserve3[64] = {};
    time_t m_tLastExchangeCoinTime = 0;
    MessageLimits::Usage m_Usage;     // counts for the configured limits
    bool m_bConfirmed = false;        // the queue server knows the user and the token
    bool m_bEarlySubscriber = false;  // subscribed to a farm key while m_iUserID was 0

    // What OnlineRegistry knows of the session.
    enum class Mark : uint8_t { None, Set, Failed };  // None: not entered, or not yet
    Mark m_eMark = Mark::None;
    RegistryJob* m_lpEntering = nullptr;  // while it is being entered
};

// The session of one connection.
// Created by LobbyServer::OnCreatePlayer, owned by the connection context it is bound to and
// recycled with it; freed only when the framework is shut down.
// Thread: message worker, except Initialize (poll thread or the creating thread, before the
// connection is announced) and the node id (atomic).
class LobbyPlayer : public PlayerNode, public PlayerSession {
  public:
    virtual LobbyPlayer* operator->() { return this; }
    // Prepares the record for a new connection: a fresh node id and a fresh PlayerSession.
    void Initialize() override;
    ~LobbyPlayer() override = default;

    // The node id; 0 once the connection is closed.
    operator unsigned long() const { return m_ulPlayerNodeId.load(std::memory_order_acquire); }
    LobbyPlayer& operator=(unsigned long id) {
        m_ulPlayerNodeId.store(id, std::memory_order_release);
        return *this;
    }

    // These two keep what they held until the next player fills them.
    char m_szToken[33] = {};
    char m_szChannelID[64] = {};
    // Process-unique id of this incarnation of the node; lets a late answer of a back-end server
    // be recognised. Stored last by Initialize, so that whoever reads it sees the rest.
    std::atomic<uint64_t> m_ulPlayerNodeId{0};
};

enum LOGINTYPE : int8_t { LOGIN_LOBBY = 1, LOGIN_GAME = 2 };

// The 32-bit form in which log lines name a node.
inline unsigned NodeTag(const void* node) {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(node));
}

// The opaque 64-bit handle under which back-end servers carry a session.
inline uint64_t NodeHandle(const IPlayerNode* node) {
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(node));
}

// Names the session a request to a back-end server is for; the answer brings both values back.
template <class Msg>
void SetSession(Msg& msg, const LobbyPlayer* player) {
    msg.ulPlayerNode = NodeHandle(player);
    msg.ulPlayerNodeId = player->m_ulPlayerNodeId.load(std::memory_order_acquire);
}
