// Public header: the reactor's interfaces as seen by the layers above it.
#pragma once

#include <netinet/in.h>

#include <cerrno>

class IObject {
  public:
    virtual ~IObject() = default;
};

// One connection (or listener). Implemented by EPOLLConnection; pooled, never owned by callers.
class EPOLLContext {
  public:
    virtual void SetContextAssociate(unsigned long value) = 0;
    virtual unsigned long GetContextAssociate() = 0;
    virtual sockaddr_in* GetContextAddrIn(bool local) = 0;
    // Registers with the reactor for reading; true when registered.
    virtual bool RecvData() = 0;
    virtual long SendData(void* data, long length, bool sendAll, sockaddr_in* addr) = 0;
    virtual long SendData(void* data, long length, bool sendAll, char* host,
                          unsigned short port) = 0;
    virtual long Shutdown(long how) = 0;
    virtual void CloseContext() = 0;
    virtual bool IsClosed() = 0;
    virtual long setsockopt(long level, long name, const char* value, long length) = 0;
    virtual long getsockopt(long level, long name, char* value, long* length) = 0;
    virtual long SetKeepAlive(unsigned long on, unsigned long idle, unsigned long interval,
                              unsigned long count) = 0;
    virtual long SetCustomHeader() = 0;
    virtual long SetRecvAll(char* interfaceName) = 0;
    virtual void Initialize() = 0;
    virtual void Release() = 0;
    virtual ~EPOLLContext() = default;
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
    using EPOLLNet::Initialize;
    virtual bool Initialize(unsigned long interval, unsigned long timeout, unsigned long threads,
                            unsigned long contexts, unsigned long buffers) = 0;
    virtual void ReleaseContext(EPOLLContext* context) = 0;
    virtual void CancelConnects() = 0;
};
