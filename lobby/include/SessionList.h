// The sessions of accepted connect notices.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

class LobbyPlayer;

// A doubly linked list through the sessions themselves, newest first, and an index by user. Owned
// by LobbyClientHandler; owns no session.
// Thread: message worker.
class SessionList {
  public:
    void Insert(LobbyPlayer* player);
    // Takes the session out; nothing for one that was never linked, which has no predecessor
    // either and must not be taken for the head. True when the user's index had it.
    bool Remove(LobbyPlayer* player);
    // The newest session of the user that is not `except`, or null: the one a walk from the head
    // would meet first.
    LobbyPlayer* Find(int userID, const LobbyPlayer* except = nullptr) const;
    // All listed sessions of the user, oldest first.
    const std::vector<LobbyPlayer*>& Of(int userID) const;
    // Calls use(session) for each. The next one is taken before: a failed send, or a close, takes
    // the session out.
    template <class Use>
    void ForEach(Use use) const {
        LobbyPlayer* next = nullptr;
        for (LobbyPlayer* player = m_lpHead; player != nullptr; player = next) {
            next = Next(player);
            use(player);
        }
    }

    LobbyPlayer* const& Head() const { return m_lpHead; }

  private:
    static LobbyPlayer* Next(const LobbyPlayer* player);

    LobbyPlayer* m_lpHead = nullptr;
    // The listed sessions by user, oldest first; mostly one each.
    std::unordered_map<int32_t, std::vector<LobbyPlayer*>> m_mapUserSessions;
};
