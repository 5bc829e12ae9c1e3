#include "HostileClients.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <random>
#include <thread>

#include "Catalog.h"
#include "Player.h"

namespace {

using client::Clock;
using client::Player;
using std::chrono::milliseconds;

// One socket, blocking for at most a second at a time. Owns the descriptor.
class Raw {
  public:
    explicit Raw(uint16_t port, int receiveBuffer = 0)
        : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        if (receiveBuffer > 0) Option(SOL_SOCKET, SO_RCVBUF, receiveBuffer);
        Option(IPPROTO_TCP, TCP_NODELAY, 1);
        const timeval second{1, 0};
        setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &second, sizeof(second));
        setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &second, sizeof(second));
        Begin(port);
    }
    ~Raw() { close(m_fd); }
    Raw(const Raw&) = delete;
    Raw& operator=(const Raw&) = delete;

    // False when the lobby takes no more.
    bool Send(const std::string& bytes) {
        return send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == std::ssize(bytes);
    }
    void SendSlowly(const std::string& bytes, milliseconds pace) {
        for (const char byte : bytes) {
            if (!Send(std::string(1, byte))) return;
            std::this_thread::sleep_for(pace);
        }
    }
    // Some bytes, or none.
    std::string Receive() {
        std::string bytes(4096, '\0');
        const ssize_t got = recv(m_fd, bytes.data(), bytes.size(), 0);
        bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
        return bytes;
    }
    // False when it is still open after the time.
    bool WaitClosed(milliseconds time) {
        const auto end = Clock::now() + time;
        while (Clock::now() < end) {
            pollfd one{m_fd, POLLIN, 0};
            if (poll(&one, 1, 100) > 0 && Receive().empty()) return true;
        }
        return false;
    }
    // The close of the destructor becomes a reset.
    void ResetOnClose() {
        const linger now{1, 0};
        setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &now, sizeof(now));
    }

  private:
    void Option(int level, int name, int value) {
        setsockopt(m_fd, level, name, &value, sizeof(value));
    }
    void Begin(uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    }
    int m_fd;
};

using Crowd = std::vector<std::unique_ptr<Raw>>;

Crowd ConnectMany(const Target& target, size_t count, int receiveBuffer = 0) {
    Crowd crowd;
    for (size_t i = 0; i < count; ++i)
        crowd.push_back(std::make_unique<Raw>(target.port, receiveBuffer));
    return crowd;
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
    const std::string one = Text(wire::Pack(MSG_KEEP_ALIVE));
    std::string all;
    while (count-- > 0)
        all += one;
    return all;
}

std::string Login(int32_t user) {
    tagLobbyClientConnectNotice notice{};
    notice.iUserID = user;
    notice.iLobbySiteID = 1;
    wire::SetText(notice.szToken, "token");
    return Text(wire::Pack(CLIENT_CONNECT_NOTICE_C2S, notice));
}

std::string Take(int32_t user) {
    GetBankCoinReq req{};
    req.iUserID = user;
    req.llGetNum = 1;
    wire::SetText(req.szBankerPwd, "888888");
    return Text(wire::Pack(BANK_GET_COIN_C2S, req));
}

constexpr const char* UPGRADE =
    "GET / HTTP/1.1\r\nConnection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

void SilentCrowd(const Target& target) {
    for (const auto& one : ConnectMany(target, 200))
        one->WaitClosed(milliseconds(3000));
}

void ConnectAndLeave(const Target& target) {
    for (int i = 0; i < 500; ++i)
        Raw(target.port).ResetOnClose();
    for (int i = 0; i < 500; ++i)
        Raw{target.port};
}

void SlowHeaders(const Target& target) {
    const Crowd crowd = ConnectMany(target, 100);
    for (const char byte : Begun(BANK_GET_COIN_C2S, 100, 0)) {
        for (const auto& one : crowd)
            one->Send(std::string(1, byte));
        std::this_thread::sleep_for(milliseconds(100));
    }
}

void SlowMessages(const Target& target) {
    const Crowd crowd = ConnectMany(target, 100);
    for (const auto& one : crowd)
        one->Send(Begun(BANK_GET_COIN_C2S, 4096, 4000));
    for (int i = 0; i < 20; ++i) {
        for (const auto& one : crowd)
            one->Send("y");
        std::this_thread::sleep_for(milliseconds(20));
    }
}

void SlowUpgrade(const Target& target) {
    Raw(target.port).SendSlowly(UPGRADE, milliseconds(5));
}

// Each push is dealt out to players who read nothing.
void DeafPlayers(const Target& target) {
    Crowd crowd = ConnectMany(target, 50, 1);
    for (size_t i = 0; i < crowd.size(); ++i) {
        if (i % 3 == 0) crowd[i]->Send(UPGRADE);
    }
    for (size_t i = 0; i < crowd.size(); ++i) {
        const std::string login = Login(target.firstUser + static_cast<int32_t>(i));
        if (i % 3 == 0) crowd[i]->Receive();
        crowd[i]->Send(i % 3 != 0 ? login
                                  : std::string("\x82") + static_cast<char>(login.size()) + login);
    }
    for (int i = 0; i < 300; ++i) {
        target.platform("farm all " + std::string(400, 'f'));
        target.platform("bulletin win " + std::string(200, 'b'));
        std::this_thread::sleep_for(milliseconds(2));
    }
}

void DeafEchoes(const Target& target) {
    const Crowd crowd = ConnectMany(target, 20, 1);
    const std::string many = KeepAlives(2000);
    for (const auto& one : crowd)
        one->Send(many);
    for (const auto& one : crowd)
        one->Send(many);
}

// One client per state a connection can be in, each of which ends in a reset.
void Resets(const Target& target) {
    const std::string user = Login(target.firstUser + 60);
    const std::string states[] = {"",
                                  "\5",
                                  Begun(1, 100, 0),
                                  Begun(1, 100, 50),
                                  KeepAlives(3),
                                  user,
                                  user + KeepAlives(1),
                                  user + Take(target.firstUser + 60),
                                  UPGRADE,
                                  std::string(UPGRADE) + "\x82",
                                  std::string(UPGRADE) + "\x82\x7E\x01",
                                  std::string(UPGRADE) + "\x82\x10xx"};
    for (const bool settled : {false, true}) {
        for (const std::string& state : states) {
            Raw one(target.port);
            one.ResetOnClose();
            one.Send(state);
            if (settled) std::this_thread::sleep_for(milliseconds(40));
        }
    }
}

void Garbage(const Target& target) {
    std::minstd_rand random(7);
    std::string bytes(1 << 18, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() >> 8);
    for (int i = 0; i < 40; ++i) {
        Raw one(target.port);
        if (i % 2 != 0) one.Send(UPGRADE);
        if (i % 4 == 0) one.Send(Begun(static_cast<uint16_t>(random()), 4096, 0));
        one.Send(bytes);
    }
}

void KeepAliveFlood(const Target& target) {
    const std::string many = KeepAlives(500);
    std::vector<std::thread> floods;
    for (int i = 0; i < 4; ++i) {
        floods.emplace_back([&] {
            Raw one(target.port);
            for (int round = 0; round < 100 && one.Send(many); ++round)
                one.Receive();
        });
    }
    for (auto& flood : floods)
        flood.join();
}

void ImpossibleHeaders(const Target& target) {
    for (const uint16_t length : {0, 1, 7, 4097, 65535}) {
        Raw one(target.port);
        one.Send(Begun(1, length, 30));
        one.WaitClosed(milliseconds(500));
    }
    for (const char encode : {1, 2, 127}) {
        Raw one(target.port);
        std::string bytes = Begun(BANK_GET_COIN_C2S, 24, 16);
        bytes[1] = encode;
        one.Send(bytes);
    }
}

void BadFrames(const Target& target) {
    const std::string frames[] = {std::string("\x82\0", 2),
                                  std::string("\x82\x7E\0\0", 4),
                                  std::string("\x82\xFE\x0F\xFFmask", 8),
                                  std::string("\x82\x7F\0\0\0\0\0\0\x20\0", 10),
                                  std::string("\x82\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 10),
                                  std::string("\x88\0", 2),
                                  std::string("\x89\x84maskping", 10),
                                  std::string(4095, '\x82'),
                                  std::string(9000, '\x80')};
    for (const std::string& frame : frames) {
        Raw one(target.port);
        one.Send(UPGRADE);
        one.Receive();
        one.Send(frame);
        one.SendSlowly(frame.substr(0, 12), milliseconds(1));
    }
}

// Whoever asks first and logs in later, or never.
void RequestsWithoutLogin(const Target& target) {
    Raw one(target.port);
    for (const catalog::Message& row : catalog::All()) {
        if (row.direction == catalog::Direction::LobbyToClient || row.size == 0) continue;
        for (const long off : {0L, -1L, 1L}) {
            const auto size = static_cast<size_t>(static_cast<long>(row.size) + off);
            if (size < wire::HEADER || size > wire::LARGEST || row.type == 0x9000) continue;
            one.Send(Begun(row.type, static_cast<uint16_t>(size), size - wire::HEADER));
        }
        one.Receive();
    }
}

// The listen queue fills faster than any server accepts.
void TwoThousandAtOnce(const Target& target) {
    std::vector<int> sockets;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(target.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    for (int i = 0; i < 2000; ++i) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (fd < 0) break;
        connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        sockets.push_back(fd);
    }
    const std::string hello = KeepAlives(1);
    for (const int fd : sockets) {
        pollfd one{fd, POLLOUT, 0};
        poll(&one, 1, 1000);
        send(fd, hello.data(), hello.size(), MSG_NOSIGNAL);
    }
    for (const int fd : sockets)
        close(fd);
}

constexpr HostileClient CLIENTS[] = {
    {"half-open sockets", SilentCrowd},
    {"connects that leave at once", ConnectAndLeave},
    {"headers byte by byte", SlowHeaders},
    {"messages byte by byte", SlowMessages},
    {"upgrade byte by byte", SlowUpgrade},
    {"players that never read, under broadcasts", DeafPlayers},
    {"echoes that nobody reads", DeafEchoes},
    {"resets in every state", Resets},
    {"flood of garbage", Garbage},
    {"flood of keep-alives", KeepAliveFlood},
    {"impossible headers", ImpossibleHeaders},
    {"bad frames", BadFrames},
    {"requests without a login", RequestsWithoutLogin},
    {"2000 connects at once", TwoThousandAtOnce},
};

}  // namespace

std::span<const HostileClient> HostileClients() {
    return CLIENTS;
}
