#include "BulletinLoad.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <stdexcept>

#include "Game/NetMessage.h"
#include "MsgView.h"
#include "web_server_msg.h"

namespace {

constexpr uint16_t kBulletins = 5;

// A slow reader takes 512 bytes each time: less than five bulletins a second are.
constexpr Nanos kSlowPause = kSecond / 5;
constexpr Nanos kQuiet = 30 * kSecond;  // a lobby closes who is silent for long

// True when the server answered every command before it closed.
bool AllAnswered(int fd) {
    std::string answers;
    std::array<char, 512> buffer{};
    for (ssize_t got = 0; (got = recv(fd, buffer.data(), buffer.size(), 0)) > 0;)
        answers.append(buffer.data(), static_cast<size_t>(got));
    int done = 0;
    for (size_t at = 0; (at = answers.find("ok\n", at)) != std::string::npos; ++at)
        ++done;
    return done == kBulletins;
}

// One write, so that no tick of the lobby finds only some of them.
void Announce(uint16_t port, uint32_t round) {
    std::string commands;
    for (int i = 0; i < kBulletins; ++i)
        commands += "bulletin priority round " + std::to_string(round) + "\n";
    const int fd = ConnectBlocking("127.0.0.1", port);
    const bool done = fd >= 0 &&
                      send(fd, commands.data(), commands.size(), MSG_NOSIGNAL) ==
                          static_cast<ssize_t>(commands.size()) &&
                      shutdown(fd, SHUT_WR) == 0 && AllAnswered(fd);
    close(fd);
    if (!done) throw std::runtime_error("the simulator's control port does not answer");
}

}  // namespace

BulletinLoad::BulletinLoad(const Settings& settings) : PlayerLoad(settings) {
    for (const auto& link : m_links) {
        if (IsSlow(link->Index())) link->ReadSlowly();
    }
    if (settings.slow > 0) After(Loop::Now(), kSlow);
}

bool BulletinLoad::IsSlow(size_t player) const {
    return m_settings.slow > 0 && player % m_settings.slow == 0;
}

void BulletinLoad::OnAllTried() {
    m_got.resize(m_links.size());
    Stay();
    BeginMeasuring();
}

void BulletinLoad::OnOwnTimer(uint64_t token, Nanos due) {
    if (token == kStay) return Stay();
    if (token == kSlow) {
        for (const auto& link : m_links) {
            if (IsSlow(link->Index())) link->ReadOn();
        }
        return After(Loop::Now() + kSlowPause, kSlow);
    }
    if (token != kRound) return PlayerLoad::OnOwnTimer(token, due);
    if (!Measuring()) return;
    m_awaited = 0;
    for (size_t i = 0; i < m_links.size(); ++i)
        m_awaited += IsSlow(i) ? 0 : 1;
    m_first = 0;
    Announce(m_settings.control, ++m_round);
}

void BulletinLoad::Stay() {
    tagMsgHeader message{};
    for (const auto& link : m_links) {
        link->Send(MSG_KEEP_ALIVE, &message, sizeof(message));
        link->Flush();
    }
    After(Loop::Now() + kQuiet, kStay);
}

void BulletinLoad::OnPush(Link& link, uint16_t type, std::string_view message) {
    if (type != MSG_CLIENT_BULLETIN || m_round == 0) return;
    const auto count = ReadItem<uint16_t>(message.data(), static_cast<long>(message.size()),
                                          offsetof(WinBulletinNotice, usBulletNum), 0);
    if (count != kBulletins || message.size() != sizeof(WinBulletinNotice)) {
        return Fail("bulletins not whole");
    }
    const uint32_t got = ++m_got[link.Index()];
    if (IsSlow(link.Index())) return;
    if (got != m_round) return Fail("bulletins out of turn");
    if (m_first == 0) m_first = Loop::Now();
    if (--m_awaited > 0) return;
    Complete("bulletins", m_first);
    if (m_round < m_settings.rounds) return After(Loop::Now() + kSecond / 10, kRound);
    EndMeasuring();
    Stop();
}

void BulletinLoad::OnMeasureEnd(Result& result) {
    if (!Loop::Interrupted() && (m_round < m_settings.rounds || m_awaited > 0)) {
        Fail("rounds missing");
    }
    AddLoginFigures(result);
    result.Add("rounds", m_round);
}
