// Clients behind trusted proxies: what the proxies say, and whom it is taken from.
#include "Epoll/NetMetrics.h"
#include "HandShark.h"
#include "ProxyHeader.h"
#include "web_client.h"

namespace {

using State = ProxyHeader::State;

std::string Bytes(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values)
        bytes += static_cast<char>(value);
    return bytes;
}

const std::string kSignature("\r\n\r\n\0\r\nQUIT\n", 12);
const std::string kAddresses4 = Bytes({203, 0, 113, 7, 10, 0, 0, 1, 0xC8, 0x10, 0x23, 0x8C});
const std::string kAddresses6 = Bytes({0x20, 1, 0xD, 0xB8}) + std::string(11, '\0') + "\1" +
                                Bytes({0x20, 1, 0xD, 0xB8}) + std::string(11, '\0') + "\2" +
                                Bytes({0xC8, 0x10, 0x23, 0x8C});

// A header whose length is that of what follows, or `off` bytes more.
std::string Header(int command, int family, const std::string& rest, int off = 0) {
    const size_t length = rest.size() + static_cast<size_t>(off);
    return kSignature +
           Bytes(
               {command, family, static_cast<int>(length >> 8), static_cast<int>(length & 0xFF)}) +
           rest;
}

struct HeaderCase {
    const char* name;
    std::string header;
    const char* source;  // null: a bad header; empty: a good one without
    int port;
};

std::vector<HeaderCase> HeaderCases() {
    const std::string tlvs = Bytes({4, 0, 3, 'a', 'b', 'c', 0x20, 0, 1, 0});
    return {{"tcp4", Header(0x21, 0x11, kAddresses4), "203.0.113.7", 51216},
            {"tcp6", Header(0x21, 0x21, kAddresses6), "[2001:db8::1]", 51216},
            {"tcp4 with TLVs", Header(0x21, 0x11, kAddresses4 + tlvs), "203.0.113.7", 51216},
            {"tcp6 with many TLVs", Header(0x21, 0x21, kAddresses6 + std::string(700, '\r')),
             "[2001:db8::1]", 51216},
            {"local", Header(0x20, 0, ""), "", 0},
            {"local with an address", Header(0x20, 0x11, kAddresses4 + tlvs), "", 0},
            {"unknown family", Header(0x21, 0, tlvs), "", 0},
            {"udp", Header(0x21, 0x12, kAddresses4), "", 0},
            {"unix", Header(0x21, 0x31, std::string(216, 'u')), "", 0},
            {"addresses cut", Header(0x21, 0x11, kAddresses4.substr(1)), nullptr, 0},
            {"tcp4 in tcp6", Header(0x21, 0x21, kAddresses4), nullptr, 0},
            {"version 1", Header(0x11, 0x11, kAddresses4), nullptr, 0},
            {"version 3", Header(0x31, 0x11, kAddresses4), nullptr, 0},
            {"command 2", Header(0x22, 0x11, kAddresses4), nullptr, 0},
            {"signature", "\r\n\r\n" + std::string(12, '\n'), nullptr, 0},
            {"a message", Message(1, "hello there"), nullptr, 0},
            {"text form", "PROXY TCP4 203.0.113.7 10.0.0.1 51216 9100\r\n", nullptr, 0}};
}

// Gives the header the bytes in the pieces that end at the cuts; what it leaves of them.
std::string Feed(ProxyHeader& header, const std::string& stream, const std::vector<size_t>& cuts) {
    std::string left;
    size_t from = 0;
    for (const size_t to : cuts) {
        std::string piece = stream.substr(from, to - from);
        char* data = piece.data();
        long length = static_cast<long>(piece.size());
        header.Take(data, length);
        left.append(data, static_cast<size_t>(length));
        from = to;
    }
    return left;
}

}  // namespace

TEST(ProxyHeader, IsReadHoweverItIsCut) {
    for (const HeaderCase& row : HeaderCases()) {
        const std::string stream = row.header + "behind";
        std::vector<std::vector<size_t>> ways(1);
        for (size_t at = 1; at <= stream.size(); ++at) {
            ways[0].push_back(at);
            ways.push_back({at, stream.size()});
        }
        for (const auto& cuts : ways) {
            ProxyHeader header;
            const std::string left = Feed(header, stream, cuts);
            char none = 0;
            char* data = &none;
            long length = 1;
            const State state = header.Take(data, length);
            EXPECT_EQ(length, 1);
            ASSERT_EQ(state, row.source != nullptr ? State::Done : State::Bad)
                << row.name << " cut at " << cuts[0];
            if (state == State::Bad) continue;
            ASSERT_EQ(left, "behind") << row.name << " cut at " << cuts[0];
            ASSERT_EQ(header.HasSource(), row.source[0] != '\0') << row.name;
            if (!header.HasSource()) continue;
            EXPECT_STREQ(header.Source().Format().text, row.source);
            EXPECT_EQ(header.SourcePort(), row.port);
        }
    }
}

TEST(ProxiedRequest, NamesTheNearestPartyThatIsNoProxy) {
    CIpNetworks trusted;
    ASSERT_TRUE(trusted.Add("10.0.0.0/8") && trusted.Add("2001:db8:ffff::/48"));
    const struct {
        const char *lines, *client;  // empty: none
        int port;
    } cases[] = {
        {"", "", 0},
        {"X-Real-IP: 203.0.113.7\r\n", "203.0.113.7", 0},
        {"x-real-ip:\t2001:db8::7 \r\n", "[2001:db8::7]", 0},
        {"X-Real-IP: 1.1.1.1\r\nX-Real-IP: 203.0.113.7\r\n", "203.0.113.7", 0},
        {"X-Real-IP: 203.0.113.7\r\nX-Forwarded-For: 9.9.9.9\r\n", "203.0.113.7", 0},
        {"X-Real-IP: 10.0.0.5\r\nX-Forwarded-For: 203.0.113.7, 10.0.0.6\r\n", "203.0.113.7", 0},
        {"X-Real-IP: unknown\r\nX-Forwarded-For: 203.0.113.7\r\n", "203.0.113.7", 0},
        {"X-Real-IP: 10.0.0.5\r\n", "10.0.0.5", 0},
        // What a client writes itself stands to the left of what the proxies add.
        {"X-Forwarded-For: 6.6.6.6, 203.0.113.7\r\n", "203.0.113.7", 0},
        {"X-Forwarded-For: 6.6.6.6\r\nx-forwarded-for: 203.0.113.7\r\n", "203.0.113.7", 0},
        {"X-Forwarded-For: 10.0.0.9, 6.6.6.6, 203.0.113.7,10.0.0.2 , 10.0.0.3\r\n", "203.0.113.7",
         0},
        {"X-Forwarded-For: 6.6.6.6, 2001:db8::7, 2001:db8:ffff::1\r\n", "[2001:db8::7]", 0},
        {"X-Forwarded-For: 10.0.0.9, 10.0.0.2\r\n", "10.0.0.9", 0},
        {"X-Forwarded-For: 6.6.6.6, rubbish, 10.0.0.2\r\n", "10.0.0.2", 0},
        {"X-Forwarded-For: 6.6.6.6, rubbish\r\n", "", 0},
        {"X-Forwarded-For: \r\n", "", 0},
        {"X-Forwarded-For: 203.0.113.7:4711\r\n", "203.0.113.7", 4711},
        {"X-Forwarded-For: [2001:db8::7]:4711\r\n", "[2001:db8::7]", 4711},
        {"X-Forwarded-For: [2001:db8::7]\r\n", "[2001:db8::7]", 0},
        {"X-Forwarded-For: 203.0.113.7:70000\r\n", "", 0},
        {"X-Forwarded-For: 203.0.113.7:\r\n", "", 0},
        {"X-Forwarded-For: [203.0.113.7\r\n", "", 0},
        {"X-Forwarded-Forged: 1.1.1.1\r\nX-Real\r\n: 1.1.1.1\r\n", "", 0},
        {"\r\nX-Real-IP: 1.1.1.1\r\n", "", 0}};
    for (const auto& row : cases) {
        const std::string request =
            std::string("GET /?X-Real-IP: 1.1.1.1 HTTP/1.1\r\n") + row.lines + "Host: x\r\n\r\n";
        CIpAddress client;
        uint16_t port = 0;
        const bool found = FindProxiedClient(request.data(), static_cast<long>(request.size()),
                                             trusted, client, port);
        ASSERT_EQ(found, row.client[0] != '\0') << row.lines;
        if (!found) continue;
        EXPECT_STREQ(client.Format().text, row.client) << row.lines;
        EXPECT_EQ(port, row.port) << row.lines;
    }
}

namespace {

// Answers every message with the remote address of its connection.
class AddressServer : public TestServer {
  public:
    AddressServer(const char* trusted, ProxyTrust::Header header) {
        ProxyTrust trust;
        EXPECT_TRUE(trust.networks.Add(trusted));
        trust.header = header;
        SetProxyTrust(std::move(trust));
        onMessage = [this](TestNode* node, uint16_t type, char*, long) {
            sockaddr_in addr{};
            GetPlayerAddrIn(node, &addr, false);
            std::string answer = std::string(8, '\0') + inet_ntoa(addr.sin_addr) + ":" +
                                 std::to_string(ntohs(addr.sin_port));
            SendData(node, type, answer.data(), static_cast<long>(answer.size()), 0);
        };
        Listen();
    }
    ~AddressServer() override { Shutdown(); }  // while the object is whole
    std::string Ask(Client& client) {
        client.Send(Message(1));
        const std::string answer = client.ReadMessage();
        return answer.substr(std::min<size_t>(8, answer.size()));
    }
    std::string Ask(WebClient& client) {
        client.Send(Frame(Message(1)));
        const std::string answer = client.ReadFrame();
        return answer.substr(std::min<size_t>(8, answer.size()));
    }
};

std::string Own(const Client& client) {
    sockaddr_in addr{};
    socklen_t size = sizeof(addr);
    ::getsockname(client.Fd(), reinterpret_cast<sockaddr*>(&addr), &size);
    return "127.0.0.1:" + std::to_string(ntohs(addr.sin_port));
}

// Sends each piece when the server has read the one before: each is a read of its own.
void SendCut(Client& client, const std::vector<std::string>& pieces) {
    static const TypePlaces places({});
    static NetMetrics metrics(places);
    g_NetMetrics.Set(&metrics);
    uint64_t sent = metrics.bytesIn.Value();
    for (const std::string& piece : pieces) {
        ASSERT_TRUE(client.Send(piece));
        sent += piece.size();
        ASSERT_TRUE(WaitFor([&] { return metrics.bytesIn.Value() >= sent; }));
    }
    g_NetMetrics.Set(nullptr);
}

WebClient Web(uint16_t port, const std::vector<std::string>& pieces) {
    return WebClient(port, 0, [&](Client& client) { SendCut(client, pieces); });
}

const std::string kHeader4 = Header(0x21, 0x11, kAddresses4 + Bytes({4, 0, 1, 'x'}));

std::string Request(const std::string& lines) {
    return kRequest.substr(0, kRequest.size() - 2) + lines + "\r\n";
}

}  // namespace

TEST(TrustedProxies, NameTheirClientsOverTcpAndWebSocket) {
    AddressServer server("127.0.0.0/8", ProxyTrust::Header::Required);
    {  // In front of a message, in one piece and byte by byte.
        Client whole(server.port), cut(server.port);
        whole.Send(kHeader4);
        EXPECT_EQ(server.Ask(whole), "203.0.113.7:51216");
        std::vector<std::string> bytes;
        for (const char byte : kHeader4)
            bytes.emplace_back(1, byte);
        SendCut(cut, bytes);
        EXPECT_EQ(server.Ask(cut), "203.0.113.7:51216");
    }
    const std::vector<std::vector<std::string>> ways = {
        {kHeader4 + kRequest},
        {kHeader4, kRequest},
        {kHeader4.substr(0, 5), kHeader4.substr(5, 15), kHeader4.substr(20) + kRequest}};
    for (const auto& pieces : ways) {
        WebClient web = Web(server.port, pieces);
        EXPECT_EQ(server.Ask(web), "203.0.113.7:51216");
    }
    Client local(server.port), six(server.port);
    local.Send(Header(0x20, 0, ""));
    EXPECT_EQ(server.Ask(local), Own(local));
    six.Send(Header(0x21, 0x21, kAddresses6));
    EXPECT_EQ(server.Ask(six), Own(six)) << "an IPv6 address does not fit";
    // Without the header nobody is served, and nobody else is disturbed.
    for (const std::string& bytes : {Message(1), kRequest, Header(0x21, 0x21, kAddresses4)}) {
        Client none(server.port);
        none.Send(bytes);
        EXPECT_TRUE(none.AtEnd());
    }
    EXPECT_EQ(server.Ask(local), Own(local));
    server.ExpectTidy();
}

TEST(TrustedProxies, NameTheirClientsInTheRequest) {
    AddressServer server("127.0.0.1", ProxyTrust::Header::Optional);
    const std::string local = Header(0x20, 0, "");
    const struct {
        std::string stream;
        const char* address;  // null: the peer's own
    } cases[] = {{Request("X-Real-IP: 198.51.100.9\r\n"), "198.51.100.9:0"},
                 {Request("X-Forwarded-For: 6.6.6.6, 198.51.100.9:77\r\n"), "198.51.100.9:77"},
                 {local + Request("X-Real-IP: 198.51.100.9\r\n"), "198.51.100.9:0"},
                 {Request(""), nullptr},
                 {Request("X-Real-IP: 2001:db8::7\r\n"), nullptr},
                 // Two proxies, each with its own way.
                 {Header(0x21, 0x11, "\x7F" + Bytes({0, 0, 1}) + kAddresses4.substr(4)) +
                      Request("X-Real-IP: 198.51.100.9\r\n"),
                  "198.51.100.9:0"},
                 // This line comes from the client that the header names.
                 {kHeader4 + Request("X-Real-IP: 6.6.6.6\r\n"), "203.0.113.7:51216"}};
    for (const auto& row : cases) {
        WebClient web = Web(server.port, {row.stream});
        EXPECT_EQ(server.Ask(web), row.address != nullptr ? row.address : Own(web)) << row.stream;
    }
    Client plain(server.port), behind(server.port);
    EXPECT_EQ(server.Ask(plain), Own(plain));
    behind.Send(kHeader4);
    EXPECT_EQ(server.Ask(behind), "203.0.113.7:51216");
}

TEST(TrustedProxies, NobodyElseIsBelieved) {
    AddressServer server("10.0.0.0/8", ProxyTrust::Header::Required);
    Client plain(server.port), header(server.port);
    EXPECT_EQ(server.Ask(plain), Own(plain));
    header.Send(kHeader4);
    EXPECT_TRUE(header.AtEnd()) << "to an ordinary connection it is a faulty message";
    WebClient web =
        Web(server.port, {Request("X-Real-IP: 6.6.6.6\r\nX-Forwarded-For: 6.6.6.6\r\n")});
    EXPECT_EQ(server.Ask(web), Own(web));
    // The next connection on a context begins without what the last one was told.
    AddressServer again("127.0.0.1", ProxyTrust::Header::Optional);
    {
        Client first(again.port);
        first.Send(Header(0x21, 0x21, kAddresses6));
        EXPECT_EQ(again.Ask(first), Own(first));
    }
    ASSERT_TRUE(WaitFor([&] { return again.Released() == 1; }));
    Client second(again.port);
    EXPECT_EQ(again.Ask(second), Own(second));
}
