#include "Flooder.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>

#include "Game/NetMessage.h"
#include "Link.h"

Flooder::Flooder(const std::string& host, uint16_t port, uint16_t type)
    : m_fd(ConnectBlocking(host, port)), m_type(type) {
    if (m_fd < 0) throw std::runtime_error("the flooder was refused");
    m_thread = std::thread(&Flooder::Run, this);
}

Flooder::~Flooder() {
    m_stop = true;
    m_thread.join();
    close(m_fd);
}

void Flooder::Run() {
    static_assert(sizeof(tagMsgHeader) == 8);
    std::array<tagMsgHeader, 8192> messages;
    for (tagMsgHeader& message : messages)
        FillHeader(&message, m_type, sizeof(message));
    const auto* bytes = reinterpret_cast<const char*>(messages.data());
    std::array<char, 65536> answers;
    while (!m_stop && !m_lost) {
        pollfd wait{m_fd, POLLIN | POLLOUT, 0};
        constexpr int kLookMs = 100;
        if (poll(&wait, 1, kLookMs) <= 0) continue;
        if ((wait.revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            m_lost = recv(m_fd, answers.data(), answers.size(), MSG_DONTWAIT) == 0;
        }
        // A message cut by the end of a call goes on with the next.
        const size_t from = m_sent % sizeof(tagMsgHeader);
        const ssize_t sent =
            send(m_fd, bytes + from, sizeof(messages) - from, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0) m_sent += static_cast<uint64_t>(sent);
        if (sent < 0 && errno != EAGAIN) m_lost = true;
    }
}
