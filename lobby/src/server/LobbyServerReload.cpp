// What changes while players are online.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Common/IniFile.h"
#include "Common/Log.h"
#include "Common/Supervisor.h"
#include "Common/Text.h"
#include "ConfigCheck.h"
#include "ConfigKeys.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "MetricsEndpoint.h"

struct LobbyServer::Reloaded {
    std::optional<ForbiddenNames> names;
    std::optional<DisabledUsers> accounts;
    std::optional<CompeteConfig> tournament;
    std::optional<MessageLimits> limits;
};

namespace {

constexpr const char* kTag = "LobbyServer::Reload";

// Loads the file when lobby_check finds nothing wrong with it; of LobbyServer.cfg only what is read
// again is looked at. The old is kept otherwise, and the log says why.
bool LoadGood(const char* name, CIniFile& content) {
    const auto file =
        std::find_if(std::begin(kConfigFiles), std::end(kConfigFiles),
                     [&](const ConfigFile& one) { return one.name == std::string_view(name); });
    for (const check::Problem& problem : check::CheckFile(*file, ".")) {
        const bool matters = std::string_view(name) != "LobbyServer.cfg" ||
                             problem.section.empty() || SameText(problem.section, "limits") ||
                             SameText(problem.key, "level");
        if (!matters) continue;
        __log(_ERROR, kTag, "reload '%s': kept as it was, %s", name, TextOf(problem).c_str());
        return false;
    }
    return content.InitFile(name) != 0;
}

std::string Value(const CIniFile& file, const char* section, const char* key) {
    std::string value(static_cast<size_t>(file.GetValueStr(section, key, nullptr, 0)), '\0');
    file.GetValueStr(section, key, value.data(), static_cast<int>(value.size()));
    if (!value.empty()) value.pop_back();
    return value;
}

std::optional<ForbiddenNames> ReadNames() {
    CIniFile file;
    if (!LoadGood("SensitiveName.cfg", file)) return {};
    ForbiddenNames names;
    names.Load(file);
    LogAlways(kTag, "reload 'SensitiveName.cfg': fragments[%zu]", names.Fragments().size());
    return names;
}

// Unlike the load every 30 minutes this takes accounts off the list, too.
std::optional<DisabledUsers> ReadAccounts() {
    CIniFile file;
    if (!LoadGood("disconnectuserid.cfg", file)) return {};
    DisabledUsers accounts;
    accounts.Load(file);
    LogAlways(kTag, "reload 'disconnectuserid.cfg': accounts[%zu]", accounts.List().size());
    return accounts;
}

std::optional<CompeteConfig> ReadTournament() {
    CIniFile file;
    if (!LoadGood("compete_info.cfg", file)) return {};
    CompeteConfig tournament;
    tournament.ReadConfig();
    LogAlways(kTag, "reload 'compete_info.cfg': rounds by month[%d], by day[%d]",
              tournament.m_usMonthTurnNum, tournament.m_usDayTurnNum);
    return tournament;
}

std::optional<MessageLimits> ReadLimitsAndLevel() {
    CIniFile file;
    if (!LoadGood("LobbyServer.cfg", file)) return {};
    ReloadLogLevel("LobbyServer.cfg");
    MessageLimits limits;
    int count = 0;
    ForEachKey(file, "limits", [&](const char* key) {
        if (limits.Add(key, Value(file, "limits", key)) == nullptr) ++count;
    });
    LogAlways(kTag, "reload 'LobbyServer.cfg': limits[%d], log level[%s]", count,
              Value(file, "log", "level").c_str());
    return limits;
}

}  // namespace

// Reads everything before anything is handed over, on the thread of the signals: files on a slow
// disk cost the players nothing. A second reload before the worker's next tick takes the first
// one's place.
void LobbyServer::Reload() {
    TellReloading();
    auto fresh = std::make_shared<Reloaded>();
    fresh->names = ReadNames();
    fresh->accounts = ReadAccounts();
    fresh->tournament = ReadTournament();
    fresh->limits = ReadLimitsAndLevel();
    m_Reloaded.Put(std::move(fresh));
    TellSupervisor("READY=1");
}

void LobbyServer::PutToUse(Reloaded& fresh) {
    if (fresh.names) m_ForbiddenNames = std::move(*fresh.names);
    if (fresh.accounts) m_DisabledUsers = std::move(*fresh.accounts);
    if (fresh.tournament) m_competeConfig.Replace(*fresh.tournament);
    if (fresh.limits) m_Limits.Replace(*fresh.limits);
}

void LobbyServer::BeginDrain() {
    m_bDraining = true;
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->draining = true;
    const bool shared = PassOnConnects(m_lpLobbyServer);
    // The lobby that shares the port is to have this one's other port as well.
    if (shared) m_lpMetrics.reset();
    LogAlways("LobbyServer::BeginDrain", "drain, port shared[%d], clients[%ld]", shared, Clients());
}

void LobbyServer::EndListening() {
    IPlayerNode* listener = m_lpLobbyServer;
    if (listener != nullptr) Close(listener);
}
