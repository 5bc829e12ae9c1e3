#include "LobbyPlayer.h"

namespace {

std::atomic<uint64_t> g_ulLastNodeId{0};

uint64_t NextNodeId() {
    uint64_t id = ++g_ulLastNodeId;
    // 0 stands for a closed node.
    while (id == 0)
        id = ++g_ulLastNodeId;
    return id;
}

}  // namespace

void LobbyPlayer::Initialize() {
    PlayerNode::Initialize();
    static_cast<PlayerSession&>(*this) = {};
    m_ulPlayerNodeId.store(NextNodeId(), std::memory_order_release);
}
