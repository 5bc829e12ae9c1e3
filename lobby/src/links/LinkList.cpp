#include "LinkList.h"

#include "Common/WorkerThread.h"

#include <algorithm>

bool LinkList::Connect() {
    return std::all_of(m_start.begin(), m_start.end(),
                       [](const Link* link) { return link->connect(*link->handler); });
}

bool LinkList::Reconnect(int id) {
    const size_t row = FindLinkRow([id](const LinkRow& link) { return link.id == id; });
    return row != LINKS && m_rows[row].connect(*m_rows[row].handler);
}

bool LinkList::Take(IPlayerNode* node, uint16_t type, void* data, long length) {
    AssertWorker();
    return std::any_of(m_start.begin(), m_start.end(), [&](const Link* link) {
        return link->take(*link->handler, node, type, data, length);
    });
}

bool LinkList::TakeClose(IPlayerNode* node, bool bClosed) {
    return std::any_of(m_start.begin(), m_start.end(),
                       [&](const Link* link) { return link->handler->OnClosed(node, bClosed); });
}

bool LinkList::IsLink(const IPlayerNode* node) const {
    return std::any_of(m_rows.begin(), m_rows.end(),
                       [node](const Link& link) { return link.handler->IsMine(node); });
}

void LinkList::KeepAlive() {
    for (const Link& link : m_rows)
        link.handler->KeepAlive();
}

void LinkList::Clear() {
    for (Link& link : m_rows)
        link.handler.reset();
}
