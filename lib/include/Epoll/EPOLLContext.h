// Public header: one connection as the layers above the reactor see it.
#pragma once

#include <netinet/in.h>

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
