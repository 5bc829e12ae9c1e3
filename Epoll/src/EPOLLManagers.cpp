#include "EPOLLManagers.h"

#include <utility>

#include "EPOLLConnection.h"
#include "Epoll.h"
#include "Epoll/NetMetrics.h"

EPOLLContextManager::~EPOLLContextManager() {
    while (m_lpFreeContext != nullptr)
        delete std::exchange(m_lpFreeContext, m_lpFreeContext->m_lpNextFree);
}

EPOLLConnection* EPOLLContextManager::AllocateContext(int socket) {
    EPOLLConnection* context = nullptr;
    {
        const LockGuard guard(m_Lock);
        context = m_lpFreeContext;
        if (context != nullptr) m_lpFreeContext = context->m_lpNextFree;
    }
    if (context == nullptr)
        context = static_cast<EPOLLConnection*>(m_lpEpoll->OnCreateConnection());
    context->m_lpNextFree = nullptr;
    context->Initialize();
    context->m_socket = socket;
    context->m_lpEPOLLNet = m_lpEpoll;
    return context;
}

void EPOLLContextManager::FreeContext(EPOLLConnection* context) {
    context->Release();
    const LockGuard guard(m_Lock);
    context->m_lpNextFree = m_lpFreeContext;
    m_lpFreeContext = context;
}

EPOLLBufferManager::~EPOLLBufferManager() {
    while (m_lpFreeBuffer != nullptr)
        delete std::exchange(m_lpFreeBuffer, m_lpFreeBuffer->next);
}

void* EPOLLBufferManager::AllocateBuffer() {
    g_ReceiveBlocks.taken.Add();
    {
        const LockGuard guard(m_Lock);
        if (m_lpFreeBuffer != nullptr) {
            return std::exchange(m_lpFreeBuffer, m_lpFreeBuffer->next)->data;
        }
    }
    g_ReceiveBlocks.made.Add();
    return (new Block)->data;
}

void EPOLLBufferManager::FreeBuffer(void* buffer) {
    if (buffer == nullptr) return;
    g_ReceiveBlocks.returned.Add();
    auto* block = static_cast<Block*>(buffer);  // data is its first member
    const LockGuard guard(m_Lock);
    block->next = m_lpFreeBuffer;
    m_lpFreeBuffer = block;
}
