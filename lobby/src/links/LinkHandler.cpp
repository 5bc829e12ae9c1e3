#include "LinkHandler.h"

#include "Common/WorkerThread.h"
#include "LobbyServer.h"

void LinkHandler::KeepAlive() {
    AssertWorker();
    IPlayerNode* const node = m_Node;
    if (node != nullptr) {
        m_lpLobbyServer->SendData(node, MSG_KEEP_ALIVE, nullptr, 0, ENCODE_NONE);
    }
}

bool LinkHandler::OnClosed(IPlayerNode* node, bool bClosed) {
    AssertWorker();
    return m_lpLobbyServer->CloseLink(m_Node, node, bClosed, m_place);
}

int64_t LinkHandler::Open(const std::function<void()>& onUp) {
    return m_lpLobbyServer->ConnectServer(LINK_ROWS[m_place].key, m_Node, onUp);
}
