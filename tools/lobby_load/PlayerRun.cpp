#include "PlayerLoad.h"

void PlayerLoad::OnOwnTimer(uint64_t token, Nanos due) {
    if (token != kRate) {
        Player& player = m_players[token];
        if (player.state == State::Offline) return m_links[token]->Open(m_source, token);
        if (player.state == State::Idle) Start(token, due);
        return;
    }
    const double gap = static_cast<double>(kSecond) / m_settings.rate;
    const Nanos now = Loop::Now();
    Nanos next = due;
    for (; next <= now;
         next = m_rateBegin + static_cast<Nanos>(gap * static_cast<double>(++m_rateCount))) {
        m_backlog.push_back(next);
    }
    ServeBacklog();
    After(next, kRate);
}

Nanos PlayerLoad::ThinkTime() {
    std::uniform_real_distribution<double> around(0.5, 1.5);
    return static_cast<Nanos>(m_settings.think * around(m_random) * static_cast<double>(kSecond));
}

void PlayerLoad::BecomeIdle(size_t index) {
    if (m_settings.rate > 0) {
        m_idle.push_back(index);
        return ServeBacklog();
    }
    After(Loop::Now() + ThinkTime(), index);
}

void PlayerLoad::ServeBacklog() {
    while (!m_backlog.empty() && !m_idle.empty()) {
        const size_t index = m_idle.front();
        m_idle.pop_front();
        if (m_players[index].state != State::Idle) continue;
        const Nanos intended = m_backlog.front();
        m_backlog.pop_front();
        Start(index, intended);
    }
}

// What the player may not do yet is drawn again, a few times.
bool PlayerLoad::Choose(const Player& player, Nanos now, size_t& operation) {
    for (int attempt = 0; attempt < 8; ++attempt) {
        operation = m_draw(m_random);
        if (player.notBefore[operation] <= now) return true;
    }
    return false;
}

void PlayerLoad::Start(size_t index, Nanos intended) {
    Player& player = m_players[index];
    const Nanos now = Loop::Now();
    size_t choice = 0;
    player.filler = !Choose(player, now, choice);
    if (player.filler) choice = 0;  // the keep-alive is always allowed
    const Operation& operation = Operations()[choice];
    player.state = State::Waiting;
    player.operation = static_cast<uint8_t>(choice);
    player.intended = intended;
    player.deadline = Deadline();
    player.notBefore[choice] = now + operation.gap * kSecond;
    operation.send(*m_links[index], player.facts);
    ++player.facts.turn;
    m_links[index]->Flush();
}

void PlayerLoad::OnAnswer(Link& link, Player& player, std::string_view message) {
    const Operation& operation = Operations()[player.operation];
    const int32_t code = CodeOf(operation, message);
    if (code != 0) {
        Fail(std::string(operation.name) + " refused with " + std::to_string(code));
    } else if (!IsComplete(operation, message)) {
        return;
    }
    if (player.filler) {
        if (Measuring()) ++m_fillers;
        CompleteApart("filler", player.intended);
    } else {
        Complete(operation.name, player.intended);
    }
    player.state = State::Idle;
    BecomeIdle(link.Index());
}
