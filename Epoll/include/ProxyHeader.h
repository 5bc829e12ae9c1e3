// The header with which a TCP proxy states the address of its client.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/IpAddress.h"

// Reads the binary header of the PROXY protocol, version 2, however its stream is cut, without
// sockets. Thread: message worker.
class ProxyHeader {
  public:
    enum class State : uint8_t {
        Reading,  // more of it is to come
        Done,
        Bad,  // it is no such header; nothing behind it can be trusted
    };

    // The byte every header, and no message or HTTP request, begins with.
    static constexpr char kFirstByte = '\r';

    // Takes the part of the header at the front of the bytes; data and length become what lies
    // behind it. Takes nothing once the state is not Reading.
    State Take(char*& data, long& length);
    // Bytes of it have come.
    bool Begun() const { return m_ulHave > 0; }

    // Once Done: the client the proxy serves. There is none when the proxy speaks for itself (its
    // health checks do), or for a client without a TCP address.
    bool HasSource() const { return m_ulSize > kFixed; }
    CIpAddress Source() const;
    uint16_t SourcePort() const;

  private:
    static constexpr size_t kFixed = 16;
    static constexpr size_t kAddresses4 = 12, kAddresses6 = 36;  // two addresses and two ports

    State Judge();
    bool OpenFixed();

    uint8_t m_bytes[kFixed + kAddresses6];
    size_t m_ulHave = 0;
    size_t m_ulSize = kFixed;  // bytes to keep: the fixed part, and the addresses once that is read
    size_t m_ulSkip = 0;       // bytes of the header behind them
    bool m_bOpened = false;    // the fixed part has been looked at
    State m_state = State::Reading;
};
