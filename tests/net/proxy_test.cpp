// Clients behind trusted proxies: what the proxies say, and whom it is taken from.
#include "HandShark.h"
#include "NetFixture.h"
#include "ProxyHeader.h"

namespace {

const std::string kAddresses4 = Bytes({203, 0, 113, 7, 10, 0, 0, 1, 0xC8, 0x10, 0x23, 0x8C});
const std::string kAddresses6 = Bytes({0x20, 1, 0xD, 0xB8}) + std::string(11, '\0') + "\1" +
                                Bytes({0x20, 1, 0xD, 0xB8}) + std::string(11, '\0') + "\2" +
                                Bytes({0xC8, 0x10, 0x23, 0x8C});
const std::string kTlvs = Bytes({4, 0, 3, 'a', 'b', 'c', 0x20, 0, 1, 0});

std::string TextOf(const CIpAddress& address, uint16_t port) {
    return address.Format().text + (port != 0 ? ":" + std::to_string(port) : "");
}

// What a stream says in pieces of a size, and what it leaves of them.
std::string Read(const std::string& stream, size_t step) {
    ProxyHeader header;
    std::string left;
    for (size_t from = 0; from < stream.size(); from += step) {
        std::string piece = stream.substr(from, step);
        char* data = piece.data();
        long length = std::ssize(piece);
        if (header.Take(data, length) == ProxyHeader::State::Bad) return "bad";
        left.append(data, static_cast<size_t>(length));
    }
    char none = 0, *data = &none;
    long length = 1;
    EXPECT_EQ(header.Take(data, length), ProxyHeader::State::Done);
    EXPECT_EQ(length, 1);
    return (header.HasSource() ? TextOf(header.Source(), header.SourcePort()) : "") + "|" + left;
}

}  // namespace

TEST(ProxyHeader, IsReadHoweverItIsCut) {
    const struct {
        const char* name;
        std::string header, said;
    } cases[] = {
        {"tcp4", ProxyBytes(0x21, 0x11, kAddresses4), "203.0.113.7:51216|"},
        {"tcp6", ProxyBytes(0x21, 0x21, kAddresses6), "[2001:db8::1]:51216|"},
        {"tcp4 with TLVs", ProxyBytes(0x21, 0x11, kAddresses4 + kTlvs), "203.0.113.7:51216|"},
        {"tcp6 with many TLVs", ProxyBytes(0x21, 0x21, kAddresses6 + std::string(700, '\r')),
         "[2001:db8::1]:51216|"},
        {"local", ProxyBytes(0x20, 0, ""), "|"},
        {"local with an address", ProxyBytes(0x20, 0x11, kAddresses4 + kTlvs), "|"},
        {"unknown family", ProxyBytes(0x21, 0, kTlvs), "|"},
        {"udp", ProxyBytes(0x21, 0x12, kAddresses4), "|"},
        {"unix", ProxyBytes(0x21, 0x31, std::string(216, 'u')), "|"},
        {"addresses cut", ProxyBytes(0x21, 0x11, kAddresses4.substr(1)), "bad"},
        {"tcp4 in tcp6", ProxyBytes(0x21, 0x21, kAddresses4), "bad"},
        {"version 1", ProxyBytes(0x11, 0x11, kAddresses4), "bad"},
        {"version 3", ProxyBytes(0x31, 0x11, kAddresses4), "bad"},
        {"command 2", ProxyBytes(0x22, 0x11, kAddresses4), "bad"},
        {"signature", "\r\n\r\n" + std::string(12, '\n'), "bad"},
        {"a message", Message(1, "hello there"), "bad"},
        {"text form", "PROXY TCP4 203.0.113.7 10.0.0.1 51216 9100\r\n", "bad"}};
    for (const auto& row : cases) {
        const std::string stream = row.header + "behind";
        const std::string said = row.said + (row.said != "bad" ? "behind" : "");
        for (size_t step = 1; step <= stream.size(); ++step)
            ASSERT_EQ(Read(stream, step), said) << row.name << " in steps of " << step;
    }
}

TEST(ProxiedRequest, NamesTheNearestPartyThatIsNoProxy) {
    CIpNetworks trusted;
    ASSERT_TRUE(trusted.Add("10.0.0.0/8") && trusted.Add("2001:db8:ffff::/48"));
    const struct {
        const char *lines, *client;  // empty: none
    } cases[] = {
        {"", ""},
        {"X-Real-IP: 203.0.113.7\r\n", "203.0.113.7"},
        {"x-real-ip:\t2001:db8::7 \r\n", "[2001:db8::7]"},
        {"X-Real-IP: 1.1.1.1\r\nX-Real-IP: 203.0.113.7\r\n", "203.0.113.7"},
        {"X-Real-IP: 203.0.113.7\r\nX-Forwarded-For: 9.9.9.9\r\n", "203.0.113.7"},
        {"X-Real-IP: 10.0.0.5\r\nX-Forwarded-For: 203.0.113.7, 10.0.0.6\r\n", "203.0.113.7"},
        {"X-Real-IP: unknown\r\nX-Forwarded-For: 203.0.113.7\r\n", "203.0.113.7"},
        {"X-Real-IP: 10.0.0.5\r\n", "10.0.0.5"},
        // What a client writes itself stands to the left of what the proxies add.
        {"X-Forwarded-For: 6.6.6.6, 203.0.113.7\r\n", "203.0.113.7"},
        {"X-Forwarded-For: 6.6.6.6\r\nx-forwarded-for: 203.0.113.7\r\n", "203.0.113.7"},
        {"X-Forwarded-For: 10.0.0.9, 6.6.6.6, 203.0.113.7,10.0.0.2 , 10.0.0.3\r\n", "203.0.113.7"},
        {"X-Forwarded-For: 6.6.6.6, 2001:db8::7, 2001:db8:ffff::1\r\n", "[2001:db8::7]"},
        {"X-Forwarded-For: 10.0.0.9, 10.0.0.2\r\n", "10.0.0.9"},
        {"X-Forwarded-For: 6.6.6.6, rubbish, 10.0.0.2\r\n", "10.0.0.2"},
        {"X-Forwarded-For: 6.6.6.6, rubbish\r\n", ""},
        {"X-Forwarded-For: \r\n", ""},
        {"X-Forwarded-For: 203.0.113.7:4711\r\n", "203.0.113.7:4711"},
        {"X-Forwarded-For: [2001:db8::7]:4711\r\n", "[2001:db8::7]:4711"},
        {"X-Forwarded-For: [2001:db8::7]\r\n", "[2001:db8::7]"},
        {"X-Forwarded-For: 203.0.113.7:70000\r\n", ""},
        {"X-Forwarded-For: 203.0.113.7:\r\n", ""},
        {"X-Forwarded-For: [203.0.113.7\r\n", ""},
        {"X-Forwarded-Forged: 1.1.1.1\r\nX-Real\r\n: 1.1.1.1\r\n", ""},
        {"\r\nX-Real-IP: 1.1.1.1\r\n", ""}};
    for (const auto& row : cases) {
        const std::string request =
            std::string("GET /?X-Real-IP: 1.1.1.1 HTTP/1.1\r\n") + row.lines + "Host: x\r\n\r\n";
        CIpAddress client;
        uint16_t port = 0;
        const bool found =
            FindProxiedClient(request.data(), std::ssize(request), trusted, client, port);
        EXPECT_EQ(found ? TextOf(client, port) : "", row.client) << row.lines;
    }
}

namespace {

constexpr const char* kOwn = "its own";
constexpr const char* kTold = "203.0.113.7:51216";
const std::string kHeader4 = ProxyBytes(0x21, 0x11, kAddresses4 + kTlvs);
const std::string kHeader6 = ProxyBytes(0x21, 0x21, kAddresses6);
const std::string kLocal = ProxyBytes(0x20, 0, "");

struct Visit {
    std::vector<std::string> pieces;  // each a read of its own; with a request or without
    std::string address;              // the server's idea of it; empty: turned away
};

std::string AddressOf(const sockaddr_in& addr) {
    return std::string(inet_ntoa(addr.sin_addr)) + ":" + std::to_string(ntohs(addr.sin_port));
}

// One after the other, so that each uses the context of the one before.
void ExpectVisits(const char* trusted, ProxyTrust::Header mode, const std::vector<Visit>& visits) {
    const NetMetrics& metrics = Figures();
    TestServer server;
    ProxyTrust trust;
    ASSERT_TRUE(trust.networks.Add(trusted));
    trust.header = mode;
    server.SetProxyTrust(std::move(trust));
    server.onMessage = [&](TestNode* node, uint16_t type, char*, long) {
        sockaddr_in addr{};
        server.GetPlayerAddrIn(node, &addr, false);
        std::string answer = std::string(8, '\0') + AddressOf(addr);
        server.SendData(node, type, answer.data(), std::ssize(answer), 0);
    };
    server.Listen();
    int count = 0;
    for (const Visit& visit : visits) {
        SCOPED_TRACE(visit.pieces.back());
        const auto send = [&](Client& client) {
            for (const std::string& piece : visit.pieces) {
                const uint64_t before = metrics.bytesIn.Value();
                ASSERT_TRUE(client.Send(piece));
                const auto read = [&] { return metrics.bytesIn.Value() - before; };
                ASSERT_TRUE(Eventually([&] { return read() >= piece.size(); }));
            }
        };
        const bool web = visit.pieces.back().find("GET ") != std::string::npos;
        auto client = web ? std::make_unique<WebClient>(server.port, 0, send)
                          : std::make_unique<Client>(server.port);
        if (!web) send(*client);
        const std::string answer = client->Ask(Message(1));
        EXPECT_EQ(answer.substr(std::min<size_t>(8, answer.size())),
                  visit.address == kOwn ? AddressOf(client->Local()) : visit.address);
        EXPECT_TRUE(!visit.address.empty() || client->AtEnd());
        client.reset();
        ASSERT_TRUE(server.AwaitReleased(++count));
    }
}

}  // namespace

TEST(TrustedProxies, NameTheirClientsBeforeAnythingElse) {
    std::vector<std::string> bytes;
    for (const char byte : kHeader4)
        bytes.emplace_back(1, byte);
    ExpectVisits(
        "127.0.0.0/8", ProxyTrust::Header::Required,
        {{{kHeader4}, kTold},
         {bytes, kTold},
         {{kHeader4 + kRequest}, kTold},
         {{kHeader4, kRequest}, kTold},
         {{kHeader4.substr(0, 5), kHeader4.substr(5, 15), kHeader4.substr(20) + kRequest}, kTold},
         {{kLocal}, kOwn},
         {{kHeader6}, kOwn},  // it does not fit
         {{Message(1)}, ""},
         {{kRequest}, ""},
         {{ProxyBytes(0x21, 0x21, kAddresses4)}, ""},
         {{kLocal}, kOwn}});
}

TEST(TrustedProxies, NameTheirClientsInTheRequest) {
    const std::string real = Request("X-Real-IP: 198.51.100.9\r\n");
    const std::string loopback = Bytes({127, 0, 0, 1}) + kAddresses4.substr(4);
    ExpectVisits("127.0.0.1", ProxyTrust::Header::Optional,
                 {{{real}, "198.51.100.9:0"},
                  {{Request("X-Forwarded-For: 6.6.6.6, 198.51.100.9:77\r\n")}, "198.51.100.9:77"},
                  {{kLocal + real}, "198.51.100.9:0"},
                  {{kRequest}, kOwn},
                  {{Request("X-Real-IP: 2001:db8::7\r\n")}, kOwn},
                  // Two proxies, each with its own way.
                  {{ProxyBytes(0x21, 0x11, loopback) + real}, "198.51.100.9:0"},
                  // This line comes from the client that the header names.
                  {{kHeader4 + real}, kTold},
                  {{""}, kOwn},
                  {{kHeader4}, kTold},
                  {{kHeader6}, kOwn},
                  {{""}, kOwn}});
}

TEST(TrustedProxies, NobodyElseIsBelieved) {
    ExpectVisits("10.0.0.0/8", ProxyTrust::Header::Required,
                 {{{""}, kOwn},
                  {{kHeader4}, ""},  // to an ordinary connection a faulty message
                  {{Request("X-Real-IP: 6.6.6.6\r\nX-Forwarded-For: 6.6.6.6\r\n")}, kOwn}});
}
