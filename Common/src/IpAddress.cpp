#include "Common/IpAddress.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "Common/Text.h"

namespace {

constexpr uint8_t kMapped[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
constexpr unsigned kMappedBits = sizeof(kMapped) * 8;
constexpr unsigned kAllBits = 128;

}  // namespace

CIpAddress::CIpAddress(const in_addr& ip) {
    std::memcpy(m_bytes.data(), kMapped, sizeof(kMapped));
    std::memcpy(m_bytes.data() + sizeof(kMapped), &ip, sizeof(ip));
}

CIpAddress::CIpAddress(const in6_addr& ip) {
    std::memcpy(m_bytes.data(), &ip, sizeof(ip));
}

bool CIpAddress::Parse(std::string_view text) {
    char terminated[INET6_ADDRSTRLEN];
    if (text.size() >= sizeof(terminated) || text.find('\0') != std::string_view::npos)
        return false;
    terminated[text.copy(terminated, text.size())] = '\0';
    in_addr four;
    in6_addr six;
    if (::inet_pton(AF_INET, terminated, &four) == 1) {
        *this = CIpAddress(four);
    } else if (::inet_pton(AF_INET6, terminated, &six) == 1) {
        *this = CIpAddress(six);
    } else {
        return false;
    }
    return true;
}

bool CIpAddress::IsIPv4() const {
    return std::memcmp(m_bytes.data(), kMapped, sizeof(kMapped)) == 0;
}

in_addr CIpAddress::IPv4() const {
    in_addr ip;
    std::memcpy(&ip, m_bytes.data() + sizeof(kMapped), sizeof(ip));
    return ip;
}

bool CIpAddress::SharesPrefix(const CIpAddress& other, unsigned bits) const {
    if (std::memcmp(m_bytes.data(), other.m_bytes.data(), bits / 8) != 0) return false;
    const unsigned rest = bits % 8;
    return rest == 0 || (m_bytes[bits / 8] ^ other.m_bytes[bits / 8]) >> (8 - rest) == 0;
}

CIpAddress::Text CIpAddress::Format() const {
    Text result{};
    if (IsIPv4()) {
        const in_addr ip = IPv4();
        ::inet_ntop(AF_INET, &ip, result.text, sizeof(result.text));
        return result;
    }
    result.text[0] = '[';
    ::inet_ntop(AF_INET6, m_bytes.data(), result.text + 1, sizeof(result.text) - 2);
    std::strcat(result.text, "]");
    return result;
}

// Everything is kept as an IPv6 address; an IPv4 network lies in the mapped range, its prefix that
// much longer. The length counts for the family it was written in.
bool CIpNetworks::Add(std::string_view text) {
    text = Trim(text);
    const size_t slash = text.find('/');
    Network network{{}, kAllBits};
    if (!network.address.Parse(text.substr(0, slash))) return false;
    if (slash != std::string_view::npos) {
        const std::string_view bits = text.substr(slash + 1);
        const bool four = text.find(':') == std::string_view::npos;
        const auto [end, error] =
            std::from_chars(bits.data(), bits.data() + bits.size(), network.bits);
        if (error != std::errc() || end != bits.data() + bits.size()) return false;
        if (network.bits > (four ? kAllBits - kMappedBits : kAllBits)) return false;
        if (four) network.bits += kMappedBits;
    }
    m_networks.push_back(network);
    return true;
}

bool CIpNetworks::Contains(const CIpAddress& address) const {
    return std::any_of(m_networks.begin(), m_networks.end(), [&](const Network& network) {
        return address.SharesPrefix(network.address, network.bits);
    });
}
