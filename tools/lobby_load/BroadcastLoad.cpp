#include "BroadcastLoad.h"

#include <array>

#include "Game/NetMessage.h"

namespace {
constexpr uint16_t kBroadcast = 0x00B4;
constexpr Nanos kPause = 50 * kMilli;
}  // namespace

void BroadcastLoad::OnAllTried() {
    for (const auto& link : m_links) {
        if (!link->IsOpen()) return Stop();  // no broadcast could reach all; the error is counted
    }
    BeginMeasuring();
}

// The server learns of its clients by an echo.
void BroadcastLoad::OnOpen(Link& link) {
    std::array<char, sizeof(tagMsgHeader)> message{};
    link.Send(MSG_KEEP_ALIVE, message.data(), message.size());
    link.Flush();
}

void BroadcastLoad::OnMeasureBegin() {
    After(Loop::Now(), kRound);
}

void BroadcastLoad::OnOwnTimer(uint64_t, Nanos) {
    if (m_awaited > 0 || !Measuring()) return;
    m_awaited = m_links.size();
    m_bytes = 0;
    std::array<char, sizeof(tagMsgHeader)> message{};
    m_begun = Loop::Now();
    m_links.front()->Send(kBroadcast, message.data(), message.size());
    m_links.front()->Flush();
}

void BroadcastLoad::OnMessage(Link& link, uint16_t type, std::string_view message) {
    if (type != kBroadcast) return FinishOpening(link);
    m_bytes += message.size();
    if (m_awaited == 0) return Fail("too many answers");
    if (--m_awaited > 0) return;
    Complete("broadcast", m_begun);
    if (++m_rounds < m_settings.rounds) return After(Loop::Now() + kPause, kRound);
    EndMeasuring();
    Stop();
}

void BroadcastLoad::OnMeasureEnd(Result& result) {
    if (!Loop::Interrupted() && m_rounds < m_settings.rounds) {
        Fail("rounds missing");
    }
    result.Add("rounds", m_rounds);
    result.Add("bytes_per_client",
               static_cast<double>(m_bytes) / static_cast<double>(m_links.size()));
}
