#include "StoppedReader.h"

#include <arpa/inet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "Game/NetMessage.h"
#include "Link.h"
#include "WebSocketClient.h"

namespace {

// More than the kernel takes for a client with a small window, less than the sample configuration
// lets wait.
constexpr size_t kEchoes = 7000;
// A lobby closes whose frames come faster than it looks at 4096 bytes of them.
constexpr size_t kBurst = 100;
constexpr std::chrono::milliseconds kReadPause{3};
constexpr int kWindow = 4096;
constexpr size_t kEchoFrame = 2 + sizeof(tagMsgHeader);

bool Upgrade(int fd) {
    const std::string_view request = websocket::UpgradeRequest();
    if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0) return false;
    std::string answer;
    std::array<char, 512> buffer{};
    for (;;) {
        size_t size = 0;
        const auto state = websocket::ReadUpgrade(answer, size);
        if (state != websocket::Upgrade::Incomplete) return state == websocket::Upgrade::Accepted;
        const ssize_t got = recv(fd, buffer.data(), buffer.size(), 0);
        if (got <= 0) return false;
        answer.append(buffer.data(), static_cast<size_t>(got));
    }
}

// What the server's socket towards our port holds unsent or unacknowledged; -1 without socket.
long KernelHolds(uint16_t ownPort) {
    std::ifstream table("/proc/net/tcp");
    std::string line;
    while (std::getline(table, line)) {
        // "slot: address:port address:port state queued:arrived ...", in hexadecimal digits.
        std::string slot, local, remote, state, queues;
        std::istringstream(line) >> slot >> local >> remote >> state >> queues;
        const size_t colon = remote.find(':');
        if (colon == std::string::npos || state != "01") continue;
        if (std::strtoul(remote.c_str() + colon + 1, nullptr, 16) != ownPort) continue;
        return static_cast<long>(std::strtoul(queues.c_str(), nullptr, 16));
    }
    return -1;
}

}  // namespace

StoppedReader::StoppedReader(const std::string& host, uint16_t port)
    : m_fd(ConnectBlocking(host, port, kWindow)) {
    sockaddr_in own{};
    socklen_t size = sizeof(own);
    if (m_fd < 0 || getsockname(m_fd, reinterpret_cast<sockaddr*>(&own), &size) != 0 ||
        !Upgrade(m_fd)) {
        close(m_fd);
        throw std::runtime_error("the stopped reader was refused");
    }
    m_ownPort = ntohs(own.sin_port);
    tagMsgHeader echo;
    FillHeader(&echo, MSG_KEEP_ALIVE, sizeof(echo));
    std::string frames;
    for (size_t i = 0; i < kBurst; ++i)
        websocket::AppendFrame(frames, {reinterpret_cast<const char*>(&echo), sizeof(echo)});
    for (size_t asked = 0; asked < kEchoes; asked += kBurst) {
        if (send(m_fd, frames.data(), frames.size(), MSG_NOSIGNAL) < 0)
            break;  // HeldByServer tells
        std::this_thread::sleep_for(kReadPause);
    }
}

StoppedReader::~StoppedReader() {
    close(m_fd);
}

size_t StoppedReader::HeldByServer() const {
    int arrived = 0;
    const long inKernel = KernelHolds(m_ownPort);
    if (inKernel < 0 || ioctl(m_fd, FIONREAD, &arrived) != 0) return 0;
    const long held = static_cast<long>(kEchoes * kEchoFrame) - inKernel - arrived;
    return held > 0 ? static_cast<size_t>(held) : 0;
}
