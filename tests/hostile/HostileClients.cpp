#include "HostileClients.h"

#include <sys/socket.h>

#include <deque>
#include <random>
#include <thread>

#include "Player.h"

namespace {

using client::Clock;
using client::Player;
using client::Transport;
using std::chrono::milliseconds;

using Crowd = std::deque<Player>;

Crowd Connect(const Target& target, int count = 1, int first = 0,
              Transport transport = Transport::Tcp) {
    Crowd crowd;
    for (int32_t user = target.firstUser + first; count > 0; ++user, --count)
        crowd.emplace_back("127.0.0.1", target.port, user, milliseconds(10000), transport);
    return crowd;
}

template <class Value>
void SetOption(Player& one, int name, Value value) {
    setsockopt(one.Line().Handle(), SOL_SOCKET, name, &value, sizeof(value));
}

// As much as the lobby takes.
void Send(Player& one, const std::string& bytes) {
    try {
        one.Line().SendRaw({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()},
                           Clock::now() + milliseconds(1000));
    } catch (const std::runtime_error&) {  // it has closed
    }
}
void SendSlowly(Crowd& crowd, const std::string& bytes, milliseconds pace) {
    for (const char byte : bytes) {
        for (Player& one : crowd)
            Send(one, {byte});
        std::this_thread::sleep_for(pace);
    }
}

// The header of a message of `length` bytes, with `body` bytes of it.
std::string Begun(uint16_t type, uint16_t length, size_t body) {
    std::string bytes = Text(wire::Pack(type));
    bytes[2] = static_cast<char>(length >> 8);
    bytes[3] = static_cast<char>(length);
    return bytes + std::string(body, 'x');
}

const std::string KEEP_ALIVE = Text(wire::Pack(MSG_KEEP_ALIVE));

constexpr uint16_t UNKNOWN = 0x7777;  // no message's number

const std::string UPGRADE =
    "GET / HTTP/1.1\r\nConnection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

void SlowMessages(const Target& target) {
    Crowd crowd = Connect(target, 100);
    const std::string message = Begun(UNKNOWN, wire::LARGEST, wire::LARGEST - wire::HEADER);
    SendSlowly(crowd, message.substr(0, wire::HEADER), milliseconds(60));
    for (Player& one : crowd)
        Send(one, message.substr(wire::HEADER, 4000));
    SendSlowly(crowd, message.substr(wire::HEADER + 4000), milliseconds(5));
}

// Each push is dealt out to players who read nothing.
void DeafPlayers(const Target& target) {
    // Each another user: a second login would put out the first.
    Crowd crowds[] = {Connect(target, 33), Connect(target, 17, 50, Transport::WebSocket)};
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
    const auto next = [&] { return Text(witness.AwaitPush(MSG_CLIENT_FARM_NOTICE).bytes); };
    while (next().find("enough") == std::string::npos) {
    }
}

// One client after the other, each of which says one thing.
void EachAlone(const Target& target, const std::vector<std::string>& sayings,
               milliseconds stay = milliseconds(0), bool resets = false) {
    for (const std::string& bytes : sayings) {
        Crowd one = Connect(target);
        if (resets) SetOption(one[0], SO_LINGER, linger{1, 0});
        Send(one[0], bytes);
        one[0].Line().WaitClosed(Clock::now() + stay);
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
    const std::vector<std::string> states({"", "\5", Begun(1, 100, 0), Begun(1, 100, 50),
                                           KEEP_ALIVE + KEEP_ALIVE, in, in + KEEP_ALIVE, taking,
                                           UPGRADE, UPGRADE + "\x82", UPGRADE + "\x82\x7E\x01",
                                           UPGRADE + "\x82\x10xx"});
    EachAlone(target, states, milliseconds(0), true);
    EachAlone(target, states, milliseconds(40), true);
}

void Garbage(const Target& target) {
    std::minstd_rand random(7);
    std::string bytes(1 << 18, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() >> 8);
    for (int i = 0; i < 10; ++i) {
        const std::string begun = Begun(static_cast<uint16_t>(random()), 4096, 0);
        EachAlone(target, {begun + bytes, UPGRADE + bytes, bytes, UPGRADE + bytes});
    }
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
        sockets.back().native_non_blocking(true);
        connect(one, lobby.data(), static_cast<socklen_t>(lobby.size()));
    }
    for (tcp::socket& one : sockets)
        one.write_some(boost::asio::buffer(KEEP_ALIVE), ignored);
    for (tcp::socket& one : sockets) {
        char echo = 0;
        one.read_some(boost::asio::buffer(&echo, 1), ignored);
    }
}

constexpr char CLOSED[] = "lobby_forced_closes_total";
constexpr char HEARD[] = "lobby_messages_total{peer=\"client\",direction=\"in\",type=\"0xF0F1\"}";

constexpr HostileClient CLIENTS[] = {
    {"messages byte by byte", SlowMessages, "lobby_refused_total{reason=\"unknown_type\"}", 100},
    {"players that never read, under broadcasts", DeafPlayers, CLOSED, 50},
    {"resets in every state", Resets, "lobby_websocket_upgrades_total", 4},
    {"flood of garbage", Garbage, CLOSED, 20},
    {"2000 connects at once", TwoThousandAtOnce, HEARD, 2000},
};

}  // namespace

std::span<const HostileClient> HostileClients() {
    return CLIENTS;
}
