// What the handlers of all back-end links share.
#pragma once

#include <cstdint>
#include <functional>

#include "LinkNode.h"
#include "LinkTable.h"

class LobbyServer;

// Base of a link's handler: the way back to the lobby, the node and the row of the link. A handler
// adds ConnectServer, OnNetMessage and its requests; LinkList calls the two by the handler's own
// type. Owned by the LinkList of its lobby; does not own the node.
// Thread: message worker, but Open (main or the reconnect keeper).
class LinkHandler {
  public:
    virtual ~LinkHandler() = default;
    LinkHandler(const LinkHandler&) = delete;
    LinkHandler& operator=(const LinkHandler&) = delete;

    // Nothing while the link is down.
    void KeepAlive();
    // True when the node was the link; the keeper then opens it again.
    bool OnClosed(IPlayerNode* node, bool bClosed);
    bool IsMine(const IPlayerNode* node) const { return node != nullptr && m_Node == node; }
    // Where it stands in LINK_ROWS. Any thread.
    size_t Place() const { return m_place; }

    LobbyServer* m_lpLobbyServer;

  protected:
    LinkHandler(LobbyServer* server, size_t place) : m_lpLobbyServer(server), m_place(place) {}
    // Opens the link and, once it is up and before it can be reported closed, runs onUp. 0 on
    // success and when the link is up already.
    int64_t Open(const std::function<void()>& onUp = nullptr);

    LinkNode m_Node;  // each handler names it by its server

  private:
    const size_t m_place;
};
