// Every node of the lobby, so that a peer's handle can be trusted.
#pragma once

#include <cstdint>
#include <unordered_set>

#include "Common/ThreadSafety.h"

class LobbyPlayer;

// The nodes ever made; none is freed while the lobby runs. A handle that a back-end server sends
// back is looked up here and never followed. Owned by LobbyServer; owns no node.
// Thread: any. Poll threads add, the message worker looks up.
class NodeSet {
  public:
    void Add(const LobbyPlayer* player);
    // The node at that address, whatever its id (it may be closed or another player's by now:
    // only its id may be read); null for any other value.
    LobbyPlayer* Find(uint64_t handle);
    // The session the handle stands for, or null unless the node still has this id; an id of 0
    // never matches.
    LobbyPlayer* Find(uint64_t handle, uint64_t nodeId);

  private:
    Mutex m_lock;
    std::unordered_set<uint64_t> m_setNodes GUARDED_BY(m_lock);
};
