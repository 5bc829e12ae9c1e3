#include "PlayerLoad.h"

#include "MsgView.h"
#include "lobby_client_msg.h"

PlayerLoad::PlayerLoad(const Settings& settings)
    : Load(settings),
      m_weights(ParseMix(settings.mix)),
      m_random(settings.seed),
      m_draw(m_weights.begin(), m_weights.end()),
      m_begun(Loop::Now()) {
    m_players.resize(settings.connections);
    for (size_t i = 0; i < m_players.size(); ++i) {
        const size_t next = (i + 1) % m_players.size();
        m_players[i].facts = {settings.firstUser + static_cast<int32_t>(i), settings.site,
                              settings.firstUser + static_cast<int32_t>(next)};
        m_players[i].notBefore.resize(Operations().size());
    }
}

Nanos PlayerLoad::Deadline() const {
    return Loop::Now() + static_cast<Nanos>(m_settings.timeout * static_cast<double>(kSecond));
}

void PlayerLoad::OnOpen(Link& link) {
    Player& player = m_players[link.Index()];
    player.state = State::LoggingIn;
    player.intended = Loop::Now();
    player.deadline = Deadline();
    SendLogin(link, player.facts, m_settings.token);
    link.Flush();
}

void PlayerLoad::OnMessage(Link& link, uint16_t type, std::string_view message) {
    Player& player = m_players[link.Index()];
    if (player.state == State::LoggingIn && type == LOBBY_AUTHEN_RES_S2C) {
        return OnLoginAnswer(link, player, message);
    }
    if (player.state == State::Waiting && type == Operations()[player.operation].answer) {
        return OnAnswer(link, player, message);
    }
    if (type == LOBBY_KICK_OUT_S2C) return Fail("kicked out");
    OnPush(link, type, message);
}

void PlayerLoad::OnLoginAnswer(Link& link, Player& player, std::string_view message) {
    const auto answer = ReadMsg<LobbyAuthenRes>(message.data(), static_cast<long>(message.size()));
    if (answer.ucErrNo != 0) return LogInAgain(link, "login refused");
    m_lastLogin = Loop::Now();
    m_logins.Add(m_lastLogin - player.intended);
    player.state = State::Idle;
    FinishOpening(link);
    if (m_running) BecomeIdle(link.Index());
}

void PlayerLoad::LogInAgain(Link& link, const std::string& why) {
    Fail(why);
    m_players[link.Index()].state = State::Offline;
    link.Close();
    FinishOpening(link);
    After(Loop::Now() + kSecond, link.Index());
}

void PlayerLoad::OnLost(Link& link, const char* why) {
    LogInAgain(link, why);
}

void PlayerLoad::OnSecond() {
    const Nanos now = Loop::Now();
    for (const auto& link : m_links) {
        const Player& player = m_players[link->Index()];
        if (player.deadline > now) continue;
        if (player.state == State::LoggingIn) LogInAgain(*link, "timeout login");
        if (player.state == State::Waiting) {
            LogInAgain(*link, std::string("timeout ") + Operations()[player.operation].name);
        }
    }
}

void PlayerLoad::OnAllTried() {
    if (m_settings.mode == "logins") {
        AddLoginFigures(m_result);
        return Stop();
    }
    m_running = true;
    BeginMeasuring();
    m_rateBegin = Loop::Now();
    if (m_settings.rate > 0) After(m_rateBegin, kRate);
    for (size_t i = 0; i < m_players.size(); ++i) {
        if (m_players[i].state == State::Idle) BecomeIdle(i);
    }
}

void PlayerLoad::AddLoginFigures(Result& result) {
    const double seconds =
        static_cast<double>(m_lastLogin - m_begun) / static_cast<double>(kSecond);
    result.Add("logins", static_cast<double>(m_logins.Count()));
    if (m_logins.Count() > 0) {
        result.Add("logins_per_second", static_cast<double>(m_logins.Count()) / seconds);
    }
    result.latency["login"] = m_logins;
}

void PlayerLoad::OnMeasureEnd(Result& result) {
    AddLoginFigures(result);
    result.Add("pushes", static_cast<double>(m_pushes));
    result.Add("backlog", static_cast<double>(m_backlog.size()));
    if (m_fillers == 0) return;
    result.Add("fillers", static_cast<double>(m_fillers));
    result.remarks.push_back(
        "the mix ran dry " + std::to_string(m_fillers) +
        " times: the lobby takes its operations too rarely, so a keep-alive "
        "went out instead (more players, more think time, or more in the mix)");
}
