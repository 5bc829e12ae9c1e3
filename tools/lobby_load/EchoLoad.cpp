#include "EchoLoad.h"

#include <algorithm>

#include "Game/NetMessage.h"

void StampRing::Push(Nanos stamp) {
    if (m_count == m_stamps.size()) {
        std::rotate(m_stamps.begin(), m_stamps.begin() + static_cast<long>(m_head), m_stamps.end());
        m_head = 0;
        m_stamps.resize(m_count == 0 ? 1 : 2 * m_count);
    }
    m_stamps[(m_head + m_count++) % m_stamps.size()] = stamp;
}

Nanos StampRing::Pop() {
    const Nanos stamp = m_stamps[m_head];
    m_head = (m_head + 1) % m_stamps.size();
    --m_count;
    return stamp;
}

EchoLoad::EchoLoad(const Settings& settings)
    : Load(settings), m_message(settings.size, 'e'), m_lines(settings.connections) {
    FillHeader(m_message.data(), MSG_KEEP_ALIVE, m_message.size());
}

void EchoLoad::Send(Link& link, Nanos intended) {
    m_lines[link.Index()].sent.Push(intended);
    link.Append(m_message);
}

void EchoLoad::OnAllTried() {
    for (const auto& link : m_links) {
        if (link->IsOpen()) m_open.push_back(link.get());
    }
    if (m_open.empty()) return Stop();
    if (m_settings.stopped) m_stopped.emplace(m_settings.host, m_settings.port);
    if (m_settings.flooder) {
        m_flooder.emplace(m_settings.host, m_settings.port, m_settings.floodType);
    }
    BeginMeasuring();
    m_sendBegin = Loop::Now();
    if (m_settings.rate > 0) return SendDue();
    for (Link* link : m_open) {
        for (uint32_t i = 0; i < m_settings.inFlight; ++i)
            Send(*link, Loop::Now());
        link->Flush();
    }
}

void EchoLoad::OnOwnTimer(uint64_t, Nanos) {
    SendDue();
}

void EchoLoad::SendDue() {
    const Nanos now = Loop::Now();
    const double gap = static_cast<double>(kSecond) / m_settings.rate;
    for (;;) {
        const Nanos due = m_sendBegin + static_cast<Nanos>(gap * static_cast<double>(m_sendCount));
        if (due > now) return After(due, kSend);
        ++m_sendCount;
        Link& link = *m_open[m_turn++ % m_open.size()];
        if (!link.IsOpen()) continue;
        Send(link, due);
        link.Flush();
    }
}

void EchoLoad::OnMessage(Link& link, uint16_t, std::string_view message) {
    Line& line = m_lines[link.Index()];
    if (line.sent.Empty() || !IsEcho(message, m_message.size())) return Fail("wrong answer");
    Complete("echo", line.sent.Pop());
    ++line.owed;
}

void EchoLoad::OnDrained(Link& link) {
    Line& line = m_lines[link.Index()];
    if (m_settings.rate == 0 && line.owed > 0) {
        const Nanos now = Loop::Now();
        for (; line.owed > 0; --line.owed)
            Send(link, now);
        link.Flush();
    }
    line.owed = 0;
}

void EchoLoad::OnMeasureEnd(Result& result) {
    if (m_flooder) {
        if (m_flooder->Lost()) Fail("the flooder was closed");
        result.Add("flooder_messages", static_cast<double>(m_flooder->Messages()));
    }
    if (!m_stopped) return;
    const size_t held = m_stopped->HeldByServer();
    if (held == 0) Fail("the stopped reader held nothing up");
    result.Add("stopped_reader_bytes_held", static_cast<double>(held));
}

void EchoLoad::OnLost(Link& link, const char* why) {
    m_lines[link.Index()] = Line();
    Load::OnLost(link, why);
}
