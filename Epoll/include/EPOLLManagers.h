// The recyclers of contexts and receive blocks.
#pragma once

#include "Common/Thread.h"
#include "LightLock.h"

class Epoll;
class EPOLLConnection;

// Hands out contexts and takes them back; asks the reactor's OnCreateConnection when it has none.
// Owns every context it ever handed out and deletes them all at its end. Thread: any.
class EPOLLContextManager {
  public:
    explicit EPOLLContextManager(Epoll* epoll) : m_lpEpoll(epoll) {}
    ~EPOLLContextManager() LOCK_UNSEEN;
    EPOLLContextManager(const EPOLLContextManager&) = delete;
    EPOLLContextManager& operator=(const EPOLLContextManager&) = delete;

    // A context initialised for the socket, which it then owns.
    EPOLLConnection* AllocateContext(int socket);
    // Releases the context (closing its socket) and pools it.
    void FreeContext(EPOLLConnection* context);

  private:
    Epoll* m_lpEpoll;
    CMutex m_Lock;
    EPOLLConnection* m_lpFreeContext GUARDED_BY(m_Lock) = nullptr;
};

// Recycles receive blocks. Owns the free ones. Thread: any.
class EPOLLBufferManager {
  public:
    static constexpr long kBlockSize = 4096;

    EPOLLBufferManager() = default;
    ~EPOLLBufferManager() LOCK_UNSEEN;
    EPOLLBufferManager(const EPOLLBufferManager&) = delete;
    EPOLLBufferManager& operator=(const EPOLLBufferManager&) = delete;

    // kBlockSize bytes, holding whatever the last user left in them.
    void* AllocateBuffer();
    void FreeBuffer(void* buffer);

  private:
    struct Block {
        char data[kBlockSize];
        Block* next;
    };
    LightLock m_Lock;
    Block* m_lpFreeBuffer GUARDED_BY(m_Lock) = nullptr;
};
