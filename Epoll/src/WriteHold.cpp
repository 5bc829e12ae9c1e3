#include "WriteHold.h"

#include <utility>

#include "NetSender.h"

namespace {

thread_local WriteHold* t_hold = nullptr;

}  // namespace

WriteHold::WriteHold() {
    t_hold = this;
}

WriteHold::~WriteHold() {
    Flush();
    t_hold = nullptr;
    while (tagSendBuffer* buffer = TakeSpare())
        g_SendFactory.FreeNode(buffer);
}

void WriteHold::Flush() {
    m_ulQueued = 0;
    if (m_lpSender != nullptr) std::exchange(m_lpSender, nullptr)->WriteHere();
}

WriteHold* WriteHold::Mine() {
    return t_hold;
}

bool WriteHold::Hold(NetSender* sender) {
    if (m_lpSender != nullptr && m_lpSender != sender) return false;
    m_lpSender = sender;
    return true;
}

bool WriteHold::Keep(tagSendBuffer* buffer) {
    if (m_ulSpares == m_lpSpares.size()) return false;
    m_lpSpares[m_ulSpares++] = buffer;
    return true;
}
