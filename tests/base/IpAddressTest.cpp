#include "Common/IpAddress.h"

#include <gtest/gtest.h>

#include <string>

TEST(IpAddress, ReadsAndWritesBothFamilies) {
    const struct {
        const char *text, *written;  // null: no address
        bool four;
    } cases[] = {{"10.1.2.3", "10.1.2.3", true},
                 {"::ffff:10.1.2.3", "10.1.2.3", true},
                 {"2001:DB8::0:1", "[2001:db8::1]", false},
                 {"1111:2222:3333:4444:5555:6666:255.255.255.255",
                  "[1111:2222:3333:4444:5555:6666:ffff:ffff]", false},
                 {"::", "[::]", false},
                 {"", nullptr, false},
                 {"10.1.2", nullptr, false},
                 {"10.1.2.3 ", nullptr, false},
                 {"010.1.2.256", nullptr, false},
                 {"fe80::1%eth0", nullptr, false},
                 {"1111:2222:3333:4444:5555:6666:255.255.255.2555", nullptr, false}};
    for (const auto& row : cases) {
        CIpAddress address;
        ASSERT_EQ(address.Parse(row.text), row.written != nullptr) << row.text;
        if (row.written == nullptr) continue;
        EXPECT_STREQ(address.Format().text, row.written);
        EXPECT_EQ(address.IsIPv4(), row.four) << row.text;
    }
    CIpAddress address;
    EXPECT_FALSE(address.Parse(std::string_view("10.1.2.3\0x", 10)));
}

TEST(IpNetworks, ContainWhatTheirPrefixSays) {
    const struct {
        const char *network, *inside, *outside;  // null inside: no network
    } cases[] = {{" 10.0.0.0/8 ", "10.255.255.255", "11.0.0.0"},
                 {"10.9.9.9/8", "10.0.0.1", "9.255.255.255"},
                 {"192.168.4.0/23", "192.168.5.255", "192.168.6.0"},
                 {"127.0.0.1", "127.0.0.1", "127.0.0.2"},
                 {"127.0.0.1/32", "::ffff:127.0.0.1", "::1"},
                 {"0.0.0.0/0", "8.8.8.8", "2001:db8::1"},
                 {"2001:db8::/33", "2001:db8:7fff::1", "2001:db8:8000::"},
                 {"::/0", "10.0.0.1", ""},
                 {"10.0.0.0/33", nullptr, ""},
                 {"2001:db8::/129", nullptr, ""},
                 {"10.0.0.0/", nullptr, ""},
                 {"10.0.0.0/8x", nullptr, ""},
                 {"10.0.0.0/-1", nullptr, ""},
                 {"10.0.0/8", nullptr, ""},
                 {"localhost", nullptr, ""},
                 {"", nullptr, ""}};
    for (const auto& row : cases) {
        CIpNetworks networks;
        ASSERT_EQ(networks.Add(row.network), row.inside != nullptr) << row.network;
        EXPECT_EQ(networks.Empty(), row.inside == nullptr);
        CIpAddress address;
        if (row.inside != nullptr && address.Parse(row.inside)) {
            EXPECT_TRUE(networks.Contains(address)) << row.network;
        }
        if (address.Parse(row.outside)) {
            EXPECT_FALSE(networks.Contains(address)) << row.network;
        }
    }
}
