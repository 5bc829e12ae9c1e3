#include "ProxyHeader.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint8_t kSignature[] = {'\r', '\n', '\r', '\n', '\0', '\r',
                                  '\n', 'Q',  'U',  'I',  'T',  '\n'};
// Offsets in the fixed part.
constexpr size_t kCommand = 12, kFamily = 13, kLength = 14;
constexpr uint8_t kLocal = 0x20, kProxy = 0x21;  // with the version in the upper half
constexpr uint8_t kTcp4 = 0x11, kTcp6 = 0x21;

unsigned Word(const uint8_t* bytes) {
    return bytes[0] * 256u + bytes[1];
}

}  // namespace

ProxyHeader::State ProxyHeader::Take(char*& data, long& length) {
    while (m_state == State::Reading && length > 0) {
        const bool keep = m_ulHave < m_ulSize;
        const size_t count =
            std::min(keep ? m_ulSize - m_ulHave : m_ulSkip, static_cast<size_t>(length));
        if (keep) {
            std::memcpy(m_bytes + m_ulHave, data, count);
            m_ulHave += count;
        } else {
            m_ulSkip -= count;
        }
        data += count;
        length -= static_cast<long>(count);
        m_state = Judge();
    }
    return m_state;
}

ProxyHeader::State ProxyHeader::Judge() {
    if (std::memcmp(m_bytes, kSignature, std::min(m_ulHave, sizeof(kSignature))) != 0) {
        return State::Bad;
    }
    if (m_ulHave < m_ulSize) return State::Reading;
    if (!m_bOpened) {
        m_bOpened = true;
        if (!OpenFixed()) return State::Bad;
    }
    return m_ulHave == m_ulSize && m_ulSkip == 0 ? State::Done : State::Reading;
}

// Learns from the fixed part how long the rest is; false when there is no such header.
bool ProxyHeader::OpenFixed() {
    const uint8_t command = m_bytes[kCommand];
    if (command != kLocal && command != kProxy) return false;
    const size_t length = Word(m_bytes + kLength);
    size_t addresses = 0;
    if (command == kProxy && m_bytes[kFamily] == kTcp4) addresses = kAddresses4;
    if (command == kProxy && m_bytes[kFamily] == kTcp6) addresses = kAddresses6;
    if (length < addresses) return false;
    m_ulSize += addresses;
    m_ulSkip = length - addresses;
    return true;
}

// Source address, destination address, source port, destination port.
CIpAddress ProxyHeader::Source() const {
    if (m_ulSize == kFixed + kAddresses4) {
        in_addr ip;
        std::memcpy(&ip, m_bytes + kFixed, sizeof(ip));
        return CIpAddress(ip);
    }
    in6_addr ip;
    std::memcpy(&ip, m_bytes + kFixed, sizeof(ip));
    return CIpAddress(ip);
}

uint16_t ProxyHeader::SourcePort() const {
    return static_cast<uint16_t>(Word(m_bytes + m_ulSize - 2 * sizeof(uint16_t)));
}
