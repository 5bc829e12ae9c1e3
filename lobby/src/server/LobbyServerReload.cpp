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

constexpr const char* kReloadTag = "LobbyServer::Reload";

std::string Value(const CIniFile& file, const char* section, const char* key) {
    std::string value(static_cast<size_t>(file.GetValueStr(section, key, nullptr, 0)), '\0');
    file.GetValueStr(section, key, value.data(), static_cast<int>(value.size()));
    if (!value.empty()) value.pop_back();
    return value;
}

void ReadNames(const CIniFile& file, ForbiddenNames& names) {
    names.Load(file);
    LogAlways(kReloadTag, "reload 'SensitiveName.cfg': fragments[%zu]", names.Fragments().size());
}

// Unlike the load every 30 minutes this takes accounts off the list, too.
void ReadAccounts(const CIniFile& file, DisabledUsers& accounts) {
    accounts.Load(file);
    LogAlways(kReloadTag, "reload 'disconnectuserid.cfg': accounts[%zu]", accounts.List().size());
}

void ReadTournament(const CIniFile&, CompeteConfig& tournament) {
    tournament.ReadConfig();
    LogAlways(kReloadTag, "reload 'compete_info.cfg': rounds by month[%d], by day[%d]",
              tournament.m_usMonthTurnNum, tournament.m_usDayTurnNum);
}

void ReadLimitsAndLevel(const CIniFile& file, MessageLimits& limits) {
    ReloadLogLevel("LobbyServer.cfg");
    int count = 0;
    ForEachKey(file, "limits", [&](const char* key) {
        if (limits.Add(key, Value(file, "limits", key)) == nullptr) ++count;
    });
    LogAlways(kReloadTag, "reload 'LobbyServer.cfg': limits[%d], log level[%s]", count,
              Value(file, "log", "level").c_str());
}

// What the file holds, when lobby_check finds nothing wrong with it; of LobbyServer.cfg only what
// is read again is looked at. Otherwise nothing, so that the old is kept, and the log says why.
template <class T>
std::optional<T> Fresh(const char* name, void (*read)(const CIniFile&, T&)) {
    const auto row =
        std::find_if(std::begin(kConfigFiles), std::end(kConfigFiles),
                     [&](const ConfigFile& one) { return one.name == std::string_view(name); });
    for (const check::Problem& problem : check::CheckFile(*row, ".")) {
        const bool matters = std::string_view(name) != "LobbyServer.cfg" ||
                             problem.section.empty() || SameText(problem.section, "limits") ||
                             SameText(problem.key, "level");
        if (!matters) continue;
        __log(_ERROR, kReloadTag, "reload '%s': kept as it was, %s", name, TextOf(problem).c_str());
        return {};
    }
    CIniFile file;
    if (file.InitFile(name) == 0) return {};
    std::optional<T> content(std::in_place);
    read(file, *content);
    return content;
}

}  // namespace

// Reads everything before anything is handed over, on the thread of the signals: files on a slow
// disk cost the players nothing. A second reload before the worker's next tick takes the first
// one's place.
void LobbyServer::Reload() {
    TellReloading();
    auto fresh = std::make_shared<Reloaded>();
    fresh->names = Fresh("SensitiveName.cfg", ReadNames);
    fresh->accounts = Fresh("disconnectuserid.cfg", ReadAccounts);
    fresh->tournament = Fresh("compete_info.cfg", ReadTournament);
    fresh->limits = Fresh("LobbyServer.cfg", ReadLimitsAndLevel);
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
