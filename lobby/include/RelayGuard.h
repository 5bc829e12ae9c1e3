// Which requests of clients are passed on to a link.
#pragma once

#include <cstdint>

#include "LobbyPlayer.h"

// Keeps clients from filling a link or burying the server behind it: a part of the link's places
// stays free of their requests, and whoever has no confirmed login shares a number of requests a
// second with all others who have none, for such a client is back on a new connection as soon as a
// limit closed it. Counts and logs what is refused. Owned by LobbyServer.
// Thread: message worker, the two setters before it runs.
class RelayGuard {
  public:
    // Places of a link's ring, of which requests leave all and logins half free; 0: a full link is
    // closed like everything else.
    void SetReserve(long places) { m_lReserve = places; }
    // Requests a second, 0 for any number. Logins do not count.
    void SetStrangerRate(unsigned long rate) { m_ulStrangerRate = rate; }

    long Reserve(bool login) const { return login ? m_lReserve / 2 : m_lReserve; }
    // Whether the client's request may be passed on now; counts it when it may.
    bool MayAsk(const LobbyPlayer& asker, bool login);
    // Always false. One line a second, with the number of all refusals so far.
    bool Refuse(const IPlayerNode* link, uint16_t type, const char* why);

  private:
    long m_lReserve = 0;
    unsigned long m_ulStrangerRate = 0;
    unsigned long m_ulStrangers = 0;  // requests of theirs in this second
    long m_lStrangerTime = 0;         // the second, since boot
    uint64_t m_ulRefused = 0;
    long m_lRefusedTime = 0;  // seconds since boot of the line last logged
};
