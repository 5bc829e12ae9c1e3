#include "NodeSet.h"

#include "LobbyPlayer.h"

void NodeSet::Add(const LobbyPlayer* player) {
    const LockGuard lock(m_lock);
    m_setNodes.insert(NodeHandle(player));
}

LobbyPlayer* NodeSet::Find(uint64_t handle) {
    const LockGuard lock(m_lock);
    if (!m_setNodes.contains(handle)) return nullptr;
    return static_cast<LobbyPlayer*>(reinterpret_cast<IPlayerNode*>(handle));
}

LobbyPlayer* NodeSet::Find(uint64_t handle, uint64_t nodeId) {
    if (nodeId == 0) return nullptr;
    LobbyPlayer* player = Find(handle);
    if (player == nullptr || *player != nodeId) return nullptr;
    return player;
}
