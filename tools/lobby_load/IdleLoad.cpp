#include "IdleLoad.h"

#include "Game/NetMessage.h"

IdleLoad::IdleLoad(const Settings& settings)
    : Load(settings), m_message(settings.size, 'i'), m_before(Server().ResidentBytes()) {
    FillHeader(m_message.data(), MSG_KEEP_ALIVE, m_message.size());
}

void IdleLoad::OnAllTried() {
    BeginMeasuring();
}

void IdleLoad::OnOpen(Link& link) {
    link.Append(m_message);
    link.Flush();
}

void IdleLoad::OnMessage(Link& link, uint16_t, std::string_view) {
    FinishOpening(link);
}

void IdleLoad::OnMeasureEnd(Result& result) {
    size_t open = 0;
    for (const auto& link : m_links)
        open += link->IsOpen() ? 1 : 0;
    result.Add("open", static_cast<double>(open));
    if (!Server().Watched() || open == 0) return;
    const double grown = Server().ResidentBytes() - m_before;
    result.Add("bytes_per_connection", grown / static_cast<double>(open));
    result.Add("cpu_share", ServerCpu() / MeasuredSeconds());
}
