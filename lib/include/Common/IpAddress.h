// Public header: IP addresses and lists of networks.
#pragma once

#include <netinet/in.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

// An IPv4 or IPv6 address. IPv4 is held in its IPv6 form (::ffff:a.b.c.d), so that the two compare
// and a peer that writes the one as the other is still recognised. Thread: any.
class CIpAddress {
  public:
    CIpAddress() = default;  // ::, no address
    explicit CIpAddress(const in_addr& ip);
    explicit CIpAddress(const in6_addr& ip);

    // Takes "10.1.2.3" or "2001:db8::1"; false, and unchanged, for anything else.
    bool Parse(std::string_view text);

    bool IsIPv4() const;
    in_addr IPv4() const;  // of an IPv4 address
    // True when the first `bits` bits of both are equal; counted in the IPv6 form.
    bool SharesPrefix(const CIpAddress& other, unsigned bits) const;
    bool operator==(const CIpAddress&) const = default;

    // The address for a log line; IPv6 in brackets, for a port may follow.
    struct Text {
        char text[INET6_ADDRSTRLEN + 2];
    };
    Text Format() const;

  private:
    std::array<uint8_t, 16> m_bytes{};
};

// A list of networks. Thread: Add on one before others use it, Contains on any.
class CIpNetworks {
  public:
    // Takes "10.0.0.0/8", "2001:db8::/32" or a single address, blanks around it allowed; false for
    // anything else. Bits behind the prefix do not matter.
    bool Add(std::string_view text);
    bool Contains(const CIpAddress& address) const;
    bool Empty() const { return m_networks.empty(); }

  private:
    struct Network {
        CIpAddress address;
        unsigned bits;
    };
    std::vector<Network> m_networks;
};
