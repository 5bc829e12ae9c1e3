#include "Common/IpAddress.h"

#include "BaseTest.h"

TEST(IpAddress, ReadsAndWritesBothFamilies) {
    const struct {
        std::string_view text;
        const char* written;
    } cases[] = {{"10.1.2.3", "10.1.2.3"},
                 {"::ffff:10.1.2.3", "10.1.2.3"},
                 {"2001:DB8::0:1", "[2001:db8::1]"},
                 {"::", "[::]"},
                 {"1111:2222:3333:4444:5555:6666:255.255.255.255",
                  "[1111:2222:3333:4444:5555:6666:ffff:ffff]"}};
    for (const auto& row : cases) {
        CIpAddress address;
        ASSERT_TRUE(address.Parse(row.text)) << row.text;
        EXPECT_STREQ(address.Format().text, row.written);
        EXPECT_EQ(address.IsIPv4(), row.written[0] != '[') << row.text;
    }
    for (const std::string_view none : {"", "10.1.2", "10.1.2.3 ", "010.1.2.256", "fe80::1%eth0",
                                        "1111:2222:3333:4444:5555:6666:255.255.255.2555"})
        EXPECT_FALSE(CIpAddress().Parse(none)) << none;
    EXPECT_FALSE(CIpAddress().Parse(std::string_view("10.1.2.3\0x", 10)));
}

TEST(IpNetworks, ContainWhatTheirPrefixSays) {
    const struct {
        const char *network, *inside, *outside;
    } cases[] = {{" 10.0.0.0/8 ", "10.255.255.255", "11.0.0.0"},
                 {"10.9.9.9/8", "10.0.0.1", "9.255.255.255"},
                 {"192.168.4.0/23", "192.168.5.255", "192.168.6.0"},
                 {"127.0.0.1", "127.0.0.1", "127.0.0.2"},
                 {"127.0.0.1/32", "::ffff:127.0.0.1", "::1"},
                 {"0.0.0.0/0", "8.8.8.8", "2001:db8::1"},
                 {"2001:db8::/33", "2001:db8:7fff::1", "2001:db8:8000::"},
                 {"::/0", "10.0.0.1", nullptr}};
    for (const auto& row : cases) {
        CIpNetworks networks;
        EXPECT_TRUE(networks.Empty());
        ASSERT_TRUE(networks.Add(row.network)) << row.network;
        EXPECT_FALSE(networks.Empty());
        CIpAddress address;
        EXPECT_TRUE(address.Parse(row.inside) && networks.Contains(address)) << row.network;
        if (row.outside == nullptr) continue;
        EXPECT_TRUE(address.Parse(row.outside) && !networks.Contains(address)) << row.network;
    }
    for (const char* none : {"10.0.0.0/33", "2001:db8::/129", "10.0.0.0/", "10.0.0.0/8x",
                             "10.0.0.0/-1", "10.0.0/8", "localhost", ""}) {
        CIpNetworks networks;
        EXPECT_FALSE(networks.Add(none)) << none;
        EXPECT_TRUE(networks.Empty());
    }
}
