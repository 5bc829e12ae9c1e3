// The keys that switch extras on. Without them nothing here has an effect.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "ConfigKeys.h"
#include "Endpoint.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"

namespace {

// Calls use(key) for every key of the section that is not switched off by a ';' or '#' before it.
template <class Use>
void ForEachKey(const char* section, Use use) {
    const int size = m_ConfigFile.GetKeyNames(section, nullptr, 0);
    std::vector<char> names(static_cast<size_t>(size) + 1);
    m_ConfigFile.GetKeyNames(section, names.data(), size + 1);
    for (const char* key = names.data(); *key != '\0'; key += std::strlen(key) + 1) {
        if (*key != ';' && *key != '#') use(key);
    }
}

void IgnoreValue(const char* section, const char* key, const char* value, const char* why) {
    __log(_ERROR, "LobbyServer::LobbyServer", "[%s] '%s' = '%s' is ignored, %s !", section, key,
          value, why);
    ComplainConfig(section, key, why);
}

}  // namespace

void LobbyServer::ReadLimits() {
    ForEachKey("limits", [this](const char* key) {
        char value[64] = {};
        if (m_ConfigFile.GetValueStr("limits", key, value, sizeof(value)) == 0) return;
        if (const char* fault = m_Limits.Add(key, value)) IgnoreValue("limits", key, value, fault);
    });
}

void LobbyServer::ReadProxies() {
    char list[1024] = {};
    constexpr const char* kKey = KeyOf("listen", "trusted_proxies").name;
    if (m_ConfigFile.GetValueStr("listen", kKey, list, sizeof(list)) > int{sizeof(list)}) {
        IgnoreValue("listen", kKey, "...", "longer than the 1023 characters allowed");
    }
    ProxyTrust trust;
    std::string_view rest(list);
    while (!rest.empty()) {
        const std::string network(rest.substr(0, rest.find(',')));
        rest.remove_prefix(std::min(network.size() + 1, rest.size()));
        if (!trust.networks.Add(network)) {
            IgnoreValue("listen", kKey, network.c_str(), "not a network such as 10.0.0.0/8");
        }
    }
    constexpr const ConfigKey& kHeader = KeyOf("listen", "proxy_protocol");
    const int header = ReadInt(m_ConfigFile, kHeader);
    if (header < kHeader.least || header > kHeader.most) {
        IgnoreValue("listen", kHeader.name, std::to_string(header).c_str(), "not 0, 1 or 2");
    } else if (header != 0 && trust.networks.Empty()) {
        IgnoreValue("listen", kHeader.name, std::to_string(header).c_str(),
                    "without trusted_proxies nobody may send one");
    } else {
        trust.header = static_cast<ProxyTrust::Header>(header);
    }
    SetProxyTrust(std::move(trust));
}

bool LobbyServer::IsOverLimit(IPlayerNode* node, unsigned short type) {
    if (m_Links.IsLink(node)) return false;
    auto* player = static_cast<LobbyPlayer*>(node);
    const auto [rule, first] = m_Limits.Count(player->m_Usage, type, ClockUptime());
    if (rule == nullptr) return false;
    CountRateLimited(type);
    const bool close = rule->action == MessageLimits::Action::Close;
    if (first) {
        __log(_WARN, "LobbyServer::OnNetMessage",
              "node[0x%08x], userid[%d], type[0x%x] more than count[%d] in seconds[%d], %s",
              NodeTag(node), player->m_iUserID, type, static_cast<int>(rule->count),
              static_cast<int>(rule->seconds), close ? "closed" : "dropped");
    }
    if (close) Close(node);
    return true;
}

void LobbyServer::WarnOfSweepGuard(int maxConnection) const {
    if (ReadInt(m_ConfigFile, KeyOf("log", "warnings")) == 0) return;
    const int interval = ReadInt(m_ConfigFile, KeyOf("network", "interval"));
    // The listener admits one client more than its limit; without sweeps nothing is visited.
    if (interval == -1 || maxConnection + 1L < SWEEP_GUARD) return;
    __log(_WARN, "LobbyServer::StartLobbyService",
          "maxconnection[%d] reaches the guard of the sweep: with [%ld] clients it suspends the "
          "message worker, nobody is served until a signal comes",
          maxConnection, SWEEP_GUARD);
}
