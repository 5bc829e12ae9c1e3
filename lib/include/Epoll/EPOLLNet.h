// Public header: the reactor's interfaces as seen by the layers above it.
#pragma once

#include <netinet/in.h>

#include <cerrno>

#include "Epoll/EPOLLContext.h"

class IObject {
  public:
    virtual ~IObject() = default;
};

// The errno of a Create whose host name has no address; no socket call of it ever fails with this.
inline constexpr int NET_UNRESOLVED = EDESTADDRREQ;

class EPOLLNet : public IObject {
  public:
    virtual bool Initialize(unsigned long threads, unsigned long contexts,
                            unsigned long buffers) = 0;
    virtual void Shutdown() = 0;
    virtual EPOLLContext* Create(bool listen, const char* host, unsigned short port,
                                 unsigned long connectTimeoutMs, unsigned long maxConnections,
                                 long family, long type, long protocol) = 0;
    virtual EPOLLContext* Create(bool listen, sockaddr_in& addr, unsigned long connectTimeoutMs,
                                 unsigned long maxConnections, long family, long type,
                                 long protocol) = 0;
};

class INetProvider : public virtual EPOLLNet {
  public:
    // For providers with a worker that pauses: ends its pause.
    virtual void WakeWorker() {}
    // Clients accepted and not released yet. Any thread.
    virtual long Clients() const { return 0; }

    using EPOLLNet::Initialize;
    virtual bool Initialize(unsigned long interval, unsigned long timeout, unsigned long threads,
                            unsigned long contexts, unsigned long buffers) = 0;
    virtual void ReleaseContext(EPOLLContext* context) = 0;
    // For providers that can: ends the connects under way, and lets later ones fail.
    virtual void CancelConnects() {}
};
