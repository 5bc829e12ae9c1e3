// What EPOLLServer does when the buffers of all connections together become too many.
#include <sys/socket.h>

#include <algorithm>
#include <functional>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "EPOLLServer.h"
#include "Epoll/NetMetrics.h"

namespace {

// The send thread gets that long to drop what the last ones held.
constexpr long kPauseMs = 20;
// Who holds less is not to blame.
constexpr long kFewUnsent = 8;
constexpr long kMostAtOnce = 32;

unsigned long InUse(const PoolCounters& pool) {
    const uint64_t returned = pool.returned.Value();
    const uint64_t taken = pool.taken.Value();
    return taken > returned ? taken - returned : 0;
}

unsigned long BuffersInUse() {
    return InUse(g_SendBlocks) + InUse(g_ReceiveBlocks);
}

}  // namespace

bool EPOLLServer::IsBudgetSpent() const {
    return m_ulBudget != 0 && BuffersInUse() > m_ulBudget;
}

// Closes the clients that hold most of what is unsent, until an eighth of the budget is free again:
// some at a time, as everybody else waits meanwhile.
void EPOLLServer::Relieve() {
    if (const long now = MonotonicNanos() / 1000000; now >= m_lRelieveTime) {
        m_lDropping = 0;
        m_lRelieveTime = now + kPauseMs;
    }
    const unsigned long used = BuffersInUse();
    const auto excess =
        static_cast<long>(used) - static_cast<long>(m_ulBudget - m_ulBudget / 8) - m_lDropping;
    m_bRelieving = excess > 0;
    if (!m_bRelieving) return;
    m_Holders.clear();
    for (EPOLLReceiver* client = m_lpClientList; client != nullptr; client = client->m_lpNext) {
        const long unsent = client->IsClosed() ? 0 : client->Unsent();
        if (unsent >= kFewUnsent) m_Holders.emplace_back(unsent, client);
    }
    m_bRelieving = !m_Holders.empty();
    if (!m_bRelieving) return;
    const auto most = m_Holders.begin() + std::min<long>(kMostAtOnce, std::ssize(m_Holders));
    std::partial_sort(m_Holders.begin(), most, m_Holders.end(), std::greater<>());
    m_Holders.erase(most, m_Holders.end());
    long held = 0;
    int closed = 0;
    for (const auto& [unsent, client] : m_Holders) {
        if (held >= excess) break;
        held += unsent;
        ++closed;
        if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::Budget);
        client->Shutdown(SHUT_RDWR);  // what it did not take is dropped at once
        CloseNode(client);
    }
    __log(_WARN, "EPOLLServer::Relieve",
          "buffers[%lu] are more than the budget[%lu]: clients[%d] with [%ld] of them closed", used,
          m_ulBudget, closed, held);
    m_lDropping += held;
}
