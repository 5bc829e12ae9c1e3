#include "EPOLLBuffer.h"

#include "Game/NetGame.h"

EPOLLBuffer::EPOLLBuffer(IPlayerNode* node, unsigned long maxSendCount)
    : m_lpSendBuffer(new tagSendBuffer*[maxSendCount]),
      m_lMaxSendCount(static_cast<long>(maxSendCount)),
      m_lpPlayerNode(node) {
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
    if (m_lpSendBuffer == nullptr) {
        m_lpSendBuffer = new tagSendBuffer*[static_cast<size_t>(m_lMaxSendCount)];
    }
    m_lTailPos = 0;
    m_lSendCount = 0;
    m_lCurrentPos = 0;
    m_lSendPos = 0;
    m_bBlocked = false;
    m_bClosed = false;
    if (m_lpPlayerNode != nullptr) m_lpPlayerNode->Initialize();
}

void EPOLLBuffer::Release() {
    if (m_lpPlayerNode != nullptr) m_lpPlayerNode->Release();
    {
        std::lock_guard guard(m_lockSend);
        m_bClosed = true;
        DropPending();
        delete[] m_lpSendBuffer;
        m_lpSendBuffer = nullptr;
    }
    EPOLLReceiver::Release();
}

// Gives up whatever is still in the ring; only where no consumer can be at it.
void EPOLLBuffer::DropPending() {
    for (long left = m_lSendCount.exchange(0); left > 0; --left) {
        tagSendBuffer* buffer = m_lpSendBuffer[m_lCurrentPos];
        if (buffer != nullptr) DropReference(buffer);
        m_lCurrentPos = (m_lCurrentPos + 1) % m_lMaxSendCount;
    }
}
