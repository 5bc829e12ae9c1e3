#include "CycleLoad.h"

#include "Game/NetMessage.h"

CycleLoad::CycleLoad(const Settings& settings)
    : Load(settings),
      m_message(settings.size, 'c'),
      m_begun(settings.connections, Loop::Now()),
      m_number(settings.connections) {
    FillHeader(m_message.data(), MSG_KEEP_ALIVE, m_message.size());
}

void CycleLoad::OnOwnTimer(uint64_t token, Nanos) {
    m_begun[token] = Loop::Now();
    m_links[token]->Open(m_source, m_number++);
}

void CycleLoad::OnOpen(Link& link) {
    if (!m_running) {
        m_running = true;
        BeginMeasuring();
    }
    link.Append(m_message);
    link.Flush();
}

void CycleLoad::OnMessage(Link& link, uint16_t, std::string_view message) {
    if (!IsEcho(message, m_message.size())) Fail("wrong answer");
    Complete("cycle", m_begun[link.Index()]);
    link.Close();
    FinishOpening(link);
    After(Loop::Now(), link.Index());
}

void CycleLoad::OnLost(Link& link, const char* why) {
    Fail(why);
    After(Loop::Now() + 100 * kMilli, link.Index());
}
