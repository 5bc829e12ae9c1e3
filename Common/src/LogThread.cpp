// Threaded mode: the queue and its writer thread.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "Common/Clock.h"
#include "LogVariant.h"

void CLogCls::Variant::Enqueue(const char* text, long length) {
    ListNode* node = nullptr;
    {
        const LockGuard guard(m_hLQ);
        if (m_free != nullptr) node = std::exchange(m_free, m_free->lpNext);
    }
    if (node == nullptr) node = new ListNode;
    node->lLength = std::min<long>(length, kQueuedText - 1);
    std::memcpy(node->szLog, text, static_cast<size_t>(node->lLength));
    node->szLog[node->lLength] = '\0';
    node->time = ClockNow();
    node->lpNext = nullptr;
    if (m_tail != nullptr)
        m_tail->lpNext = node;
    else
        m_write = node;
    m_tail = node;
}

bool CLogCls::Variant::DrainOnce(int& idlePasses) {
    if (m_read != nullptr) {
        RollOver(LocalDate(ClockNow()));
        while (m_read != nullptr) {
            ListNode* node = m_read;
            WriteLine(LocalDate(node->time), node->szLog, node->lLength);
            m_read = node->lpNext;
            const LockGuard guard(m_hLQ);
            node->lpNext = m_free;
            m_free = node;
        }
        std::fflush(m_pf);
    } else if (m_bExit) {
        // The pass after the first idle one still fetches what was queued before the exit.
        if (++idlePasses >= 2) return false;
    } else {
        usleep(1);
    }
    const LockGuard guard(m_hWR);
    m_read = std::exchange(m_write, nullptr);
    m_tail = nullptr;
    return true;
}

// The flag is the last thing the thread touches: whoever closes the log waits for it.
void* CLogCls::LogThread(void* state) {
    auto* log = static_cast<Variant*>(state);
    int idlePasses = 0;
    while (log->DrainOnce(idlePasses)) {
    }
    log->m_bInit = false;
    return nullptr;
}
