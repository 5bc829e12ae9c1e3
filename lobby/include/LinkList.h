// The handlers of all back-end links of one lobby.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "LinkHandler.h"

// Holds the handlers and does with all of them what is done with each. Owned by LobbyServer.
// Thread: Add, Connect and Clear on main, before the network starts and after it has stopped;
// Reconnect on the keeper; the rest on the message worker.
class LinkList {
  public:
    // Takes the handler over, as the next in the order of the start.
    template <class Handler>
    Handler* Add(std::shared_ptr<Handler> handler) {
        Handler* const made = handler.get();
        Link& link = m_rows[made->Place()];
        link.connect = [](LinkHandler& self) { return Own<Handler>(self).ConnectServer() == 0; };
        link.take = [](LinkHandler& self, IPlayerNode* node, uint16_t type, void* data,
                       long length) {
            return Own<Handler>(self).OnNetMessage(node, type, data, length) != 0;
        };
        link.handler = std::move(handler);
        m_start.at(m_count++) = &link;
        return made;
    }
    // Opens one after the other, up to the first that fails: false.
    bool Connect();
    // Opens the link of the keeper's number; false when that fails, or no link has it.
    bool Reconnect(int id);
    // Whether the node is a link. A link's message is its handler's, whatever its type.
    bool Take(IPlayerNode* node, uint16_t type, void* data, long length);
    bool TakeClose(IPlayerNode* node, bool bClosed);
    bool IsLink(const IPlayerNode* node) const;
    void KeepAlive();
    // Gives the handlers up.
    void Clear();

  private:
    struct Link {
        std::shared_ptr<LinkHandler> handler;
        bool (*connect)(LinkHandler&) = nullptr;
        bool (*take)(LinkHandler&, IPlayerNode*, uint16_t, void*, long) = nullptr;
    };
    template <class Handler>
    static Handler& Own(LinkHandler& handler) {
        return static_cast<Handler&>(handler);
    }

    std::array<Link, LINKS> m_rows;      // as in LINK_ROWS
    std::array<Link*, LINKS> m_start{};  // in the order of the start
    size_t m_count = 0;
};
