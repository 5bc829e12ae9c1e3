#include "HostileClients.h"

#include <poll.h>
#include <sys/socket.h>

#include <deque>
#include <random>
#include <thread>

#include "Catalog.h"
#include "Player.h"

namespace {

using client::Clock;
using client::Player;
using client::Transport;
using std::chrono::milliseconds;

using Crowd = std::deque<Player>;

Crowd Connect(const Target& target, int count = 1, Transport transport = Transport::Tcp) {
    Crowd crowd;
    while (count-- > 0) {
        crowd.emplace_back("127.0.0.1", target.port, target.firstUser + count, milliseconds(10000),
                           transport);
    }
    return crowd;
}

template <class Value>
void SetOption(Player& one, int name, Value value) {
    setsockopt(one.Line().Handle(), SOL_SOCKET, name, &value, sizeof(value));
}
// Answers are not kept. Ends when the lobby closes.
void ReadUntil(Player& one, Clock::time_point end) {
    one.Line().WaitClosed(end);
}

// As much as the lobby takes.
void Send(Player& one, const std::string& bytes) {
    try {
        one.Line().SendRaw({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()},
                           Clock::now() + milliseconds(1000));
    } catch (const std::runtime_error&) {  // it has closed
    }
}
void SendSlowly(Crowd&& crowd, const std::string& bytes, milliseconds pace) {
    for (const char byte : bytes) {
        for (Player& one : crowd)
            Send(one, {byte});
        std::this_thread::sleep_for(pace);
    }
}

std::string Text(const wire::Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

// The header of a message of `length` bytes, with `body` bytes of it.
std::string Begun(uint16_t type, uint16_t length, size_t body) {
    std::string bytes = Text(wire::Pack(type));
    bytes[2] = static_cast<char>(length >> 8);
    bytes[3] = static_cast<char>(length);
    return bytes + std::string(body, 'x');
}

std::string KeepAlives(size_t count) {
    std::string all;
    while (count-- > 0)
        all += Begun(MSG_KEEP_ALIVE, wire::HEADER, 0);
    return all;
}

constexpr uint16_t UNKNOWN = 0x7777;  // no message's number

const std::string UPGRADE =
    "GET / HTTP/1.1\r\nConnection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

// They stay until they are closed for it.
void SilentCrowd(const Target& target) {
    Crowd crowd = Connect(target, 200);
    const auto end = Clock::now() + milliseconds(10000);
    for (Player& one : crowd)
        ReadUntil(one, end);
}

void SlowHeaders(const Target& target) {
    SendSlowly(Connect(target, 100), Begun(0x9000, wire::HEADER, 0), milliseconds(60));
}

void SlowMessages(const Target& target) {
    Crowd crowd = Connect(target, 100);
    for (Player& one : crowd)
        Send(one, Begun(UNKNOWN, wire::LARGEST, wire::LARGEST - wire::HEADER - 20));
    SendSlowly(std::move(crowd), std::string(20, 'y'), milliseconds(20));
}

void SlowUpgrade(const Target& target) {
    SendSlowly(Connect(target), UPGRADE + "\x82\xFE\x0F\xFFmask", milliseconds(5));
}

// Each push is dealt out to players who read nothing.
void DeafPlayers(const Target& target) {
    // Others than the first: a second login of a user would put out the first.
    const Target others{target.port, target.firstUser + 50, target.platform};
    Crowd crowds[] = {Connect(target, 33), Connect(others, 17, Transport::WebSocket)};
    for (Crowd& crowd : crowds) {
        for (Player& one : crowd) {
            SetOption(one, SO_RCVBUF, 1);
            one.SendLogin();
        }
    }
    for (int i = 0; i < 700; ++i) {  // more than the kernel holds and waits for anybody
        target.platform("farm all " + std::string(400, 'f'));
        if (i % 2 == 0) std::this_thread::sleep_for(milliseconds(2));
    }
    // Pushes keep their order: they have had theirs when somebody who comes now has the last.
    Player witness("127.0.0.1", target.port, target.firstUser + 100, milliseconds(10000));
    witness.Login();
    target.platform("farm all enough");
    std::string text;
    while (text.find("enough") == std::string::npos) {
        const auto push = witness.AwaitPush(MSG_CLIENT_FARM_NOTICE);
        text.assign(push.bytes.begin(), push.bytes.end());
    }
}

// One client after the other, each of which says one thing.
void EachAlone(const Target& target, Transport transport, const std::vector<std::string>& sayings,
               milliseconds stay = milliseconds(0), bool resets = false) {
    for (const std::string& bytes : sayings) {
        Crowd one = Connect(target, 1, transport);
        if (resets) SetOption(one[0], SO_LINGER, linger{1, 0});
        Send(one[0], bytes);
        ReadUntil(one[0], Clock::now() + stay);
    }
}

// One client per state a connection can be in, each of which ends in a reset.
void Resets(const Target& target) {
    tagLobbyClientConnectNotice notice{};
    GetBankCoinReq take{};
    notice.iUserID = take.iUserID = target.firstUser;
    notice.iLobbySiteID = 1;
    wire::SetText(notice.szToken, "token");
    take.llGetNum = 1;
    wire::SetText(take.szBankerPwd, "888888");
    const std::string in = Text(wire::Pack(CLIENT_CONNECT_NOTICE_C2S, notice));
    const std::string taking = in + Text(wire::Pack(BANK_GET_COIN_C2S, take));
    const std::vector<std::string> states(
        {"", "\5", Begun(1, 100, 0), Begun(1, 100, 50), KeepAlives(3), in, in + KeepAlives(1),
         taking, UPGRADE, UPGRADE + "\x82", UPGRADE + "\x82\x7E\x01", UPGRADE + "\x82\x10xx"});
    EachAlone(target, Transport::Tcp, states, milliseconds(0), true);
    EachAlone(target, Transport::Tcp, states, milliseconds(40), true);
}

void Garbage(const Target& target) {
    std::minstd_rand random(7);
    std::string bytes(1 << 18, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() >> 8);
    for (int i = 0; i < 10; ++i) {
        const std::string begun = Begun(static_cast<uint16_t>(random()), 4096, 0);
        EachAlone(target, Transport::Tcp, {begun + bytes, UPGRADE + bytes, bytes, UPGRADE + bytes});
    }
}

void BadFrames(const Target& target) {
    using namespace std::string_literals;
    EachAlone(target, Transport::WebSocket,
              {"\x82\0"s, "\x82\x7E\0\0"s, "\x82\xFE\x0F\xFFmask"s, "\x82\x7F\0\0\0\0\0\0\x20\0"s,
               "\x82\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "\x88\0"s, "\x89\x84maskping"s,
               std::string(4095, '\x82'), std::string(9000, '\x80')},
              milliseconds(5));
}

// Whoever asks first and logs in later, or never.
void RequestsWithoutLogin(const Target& target) {
    std::vector<std::string> requests;
    for (const catalog::Message& row : catalog::All()) {
        if (row.direction == catalog::Direction::LobbyToClient || row.type == 0x9000) continue;
        for (const size_t size : {row.size - 1, row.size, row.size + 1}) {
            if (size < wire::HEADER || size > wire::LARGEST) continue;
            requests.push_back(Begun(row.type, static_cast<uint16_t>(size), size - wire::HEADER));
        }
    }
    EachAlone(target, Transport::Tcp, requests);
}

// The listen queue fills faster than any server accepts; each of them is answered in the end.
void TwoThousandAtOnce(const Target& target) {
    using boost::asio::ip::tcp;
    const tcp::endpoint lobby(boost::asio::ip::address_v4::loopback(), target.port);
    boost::asio::io_context io;
    boost::system::error_code ignored;
    std::deque<tcp::socket> sockets;
    for (int i = 0; i < 2000; ++i) {
        const int one = sockets.emplace_back(io, tcp::v4()).native_handle();
        sockets.back().non_blocking(true);
        connect(one, lobby.data(), static_cast<socklen_t>(lobby.size()));
    }
    const auto ready = [](tcp::socket& one, short event) {
        pollfd waiting{one.native_handle(), event, 0};
        poll(&waiting, 1, 1000);
    };
    for (tcp::socket& one : sockets) {
        ready(one, POLLOUT);
        one.write_some(boost::asio::buffer(KeepAlives(1)), ignored);
    }
    for (tcp::socket& one : sockets)
        ready(one, POLLIN);
}

constexpr char CLOSED[] = "lobby_forced_closes_total";
constexpr char KEPT_ALIVE[] =
    "lobby_messages_total{peer=\"client\",direction=\"in\",type=\"0xF0F1\"}";
constexpr char UPGRADED[] = "lobby_websocket_upgrades_total";

constexpr HostileClient CLIENTS[] = {
    {"half-open sockets", SilentCrowd, "lobby_forced_closes_total{reason=\"idle\"}", 200},
    {"headers byte by byte", SlowHeaders, "lobby_refused_total{reason=\"forbidden_type\"}", 100},
    {"messages byte by byte", SlowMessages, "lobby_refused_total{reason=\"unknown_type\"}", 100},
    {"upgrade byte by byte", SlowUpgrade, UPGRADED, 1},
    {"players that never read, under broadcasts", DeafPlayers, CLOSED, 50},
    {"resets in every state", Resets, UPGRADED, 4},
    {"flood of garbage", Garbage, CLOSED, 20},
    {"bad frames", BadFrames, CLOSED, 3},
    {"requests without a login", RequestsWithoutLogin, "lobby_refused_total", 20},
    {"2000 connects at once", TwoThousandAtOnce, KEPT_ALIVE, 2000},
};

}  // namespace

std::span<const HostileClient> HostileClients() {
    return CLIENTS;
}
