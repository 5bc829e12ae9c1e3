#include "EPOLLBuffer.h"

#include <algorithm>

#include "Game/NetGame.h"

namespace {

constexpr long kFirstSlots = 16;

}  // namespace

EPOLLBuffer::EPOLLBuffer(IPlayerNode* node, unsigned long maxSendCount)
    : m_lpPlayerNode(node), m_lMaxSendCount(static_cast<long>(maxSendCount)) {
    SetContextAssociate(reinterpret_cast<unsigned long>(node));
    if (node != nullptr) node->SetContext(this);
}

EPOLLBuffer::~EPOLLBuffer() {
    DropPending();
    delete[] m_lpSendBuffer;
    delete m_lpPlayerNode;
}

void EPOLLBuffer::Initialize() {
    EPOLLReceiver::Initialize();
    m_lLength = 0;
    m_bSendData = false;
    m_bReleasing = false;
    m_lTailPos = 0;
    m_lEntries = 0;
    m_lSendCount = 0;
    m_lpOpen = nullptr;
    m_lCurrentPos = 0;
    m_lSendPos = 0;
    m_bBlocked = false;
    m_bPolled = false;
    m_bClosed = false;
    if (m_lpPlayerNode != nullptr) m_lpPlayerNode->Initialize();
}

void EPOLLBuffer::Release() {
    if (m_lpPlayerNode != nullptr) m_lpPlayerNode->Release();
    {
        const LockGuard guard(m_lockSend);
        m_bClosed = true;
        DropPending();
        delete[] m_lpSendBuffer;
        m_lpSendBuffer = nullptr;
        m_lSlots = 0;
    }
    EPOLLReceiver::Release();
}

void EPOLLBuffer::Append(tagSendBuffer* entry) {
    const long pending = m_lEntries.load(std::memory_order_relaxed);
    // A slot stays for the close marker, which therefore never needs memory.
    if (m_lSlots < std::min(pending + 2, m_lMaxSendCount)) Grow();
    m_lpSendBuffer[m_lTailPos] = entry;
    m_lTailPos = m_lTailPos + 1 < m_lSlots ? m_lTailPos + 1 : 0;
    m_lEntries.store(pending + 1, std::memory_order_relaxed);
    m_lSendCount.store(m_lSendCount.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    m_lpOpen = nullptr;
}

tagSendBuffer* EPOLLBuffer::OpenFor(long length) const {
    const bool room =
        m_lpOpen != nullptr && static_cast<long>(m_lpOpen->ulLength) + length <= SEND_BUFFER;
    return room ? m_lpOpen : nullptr;
}

void EPOLLBuffer::Grow() {
    const long slots = std::min(std::max(2 * m_lSlots, kFirstSlots), m_lMaxSendCount);
    auto* larger = new tagSendBuffer*[static_cast<size_t>(slots)];
    const long pending = m_lEntries;
    for (long i = 0; i < pending; ++i)
        larger[i] = m_lpSendBuffer[(m_lCurrentPos + i) % m_lSlots];
    delete[] m_lpSendBuffer;
    m_lpSendBuffer = larger;
    m_lSlots = slots;
    m_lCurrentPos = 0;
    m_lTailPos = pending;
}

long EPOLLBuffer::Advance(long done, long messages, tagSendBuffer** entries, long room) {
    const LockGuard guard(m_lockSend);
    const long left = m_lEntries.load(std::memory_order_relaxed) - done;
    if (done > 0) {
        // An idle ring begins anew, so that a busy connection does not spread over all its slots.
        m_lCurrentPos = left > 0 ? (m_lCurrentPos + done) % m_lSlots : 0;
        if (left == 0) m_lTailPos = 0;
        m_lEntries.store(left, std::memory_order_relaxed);
    }
    if (messages > 0) {
        m_lSendCount.store(m_lSendCount.load(std::memory_order_relaxed) - messages,
                           std::memory_order_relaxed);
    }
    const long taken = std::min(left, room);
    if (taken == left) m_lpOpen = nullptr;
    const long straight = std::min(taken, m_lSlots - m_lCurrentPos);
    tagSendBuffer** const from = m_lpSendBuffer + m_lCurrentPos;
    std::copy(m_lpSendBuffer, m_lpSendBuffer + (taken - straight),
              std::copy(from, from + straight, entries));
    return taken;
}

// Gives up whatever is still in the ring; only where no consumer can be at it.
void EPOLLBuffer::DropPending() {
    m_lSendCount = 0;
    m_lpOpen = nullptr;
    for (long left = m_lEntries.exchange(0); left > 0; --left) {
        tagSendBuffer* buffer = m_lpSendBuffer[m_lCurrentPos];
        if (buffer != nullptr) DropReference(buffer);
        m_lCurrentPos = (m_lCurrentPos + 1) % m_lSlots;
    }
}
