#include "Settings.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "Common/Log.h"
#include "Common/Text.h"
#include "ConfigKeys.h"

CIniFile m_ConfigFile;
CIniFile m_ConfigSensitiveNameCfg;
CIniFile m_ConfigFileDiscUserID;

namespace {

void IgnoreValue(const char* section, const char* key, const char* value, const char* why) {
    __log(_ERROR, "LobbyServer::LobbyServer", "[%s] '%s' = '%s' is ignored, %s !", section, key,
          value, why);
    ComplainConfig(section, key, why);
}

}  // namespace

void ComplainConfig(const char* section, const char* key, const char* what) {
    std::fprintf(stderr, "LobbyServer.cfg: section [%s], key \"%s\": %s\n", section, key, what);
}

// Asks for the length first, so that a value of any length gets a complaint of its own rather than
// one about what a fixed buffer would have left of it.
bool ReadEndpoint(const char* section, const char* key, Endpoint& endpoint) {
    const int size = m_ConfigFile.GetValueStr(section, key, nullptr, 0);
    if (size == 0) {
        ComplainConfig(section, key, "missing; a host:port is needed");
        return false;
    }
    std::string value(static_cast<size_t>(size), '\0');
    m_ConfigFile.GetValueStr(section, key, value.data(), size);
    value.pop_back();
    const char* fault = ParseEndpoint(value, endpoint);
    if (fault != nullptr) ComplainConfig(section, key, fault);
    return fault == nullptr;
}

MessageLimits ReadLimits() {
    MessageLimits limits;
    ForEachKey(m_ConfigFile, "limits", [&limits](const char* key) {
        char value[64] = {};
        if (m_ConfigFile.GetValueStr("limits", key, value, sizeof(value)) == 0) return;
        if (const char* fault = limits.Add(key, value)) IgnoreValue("limits", key, value, fault);
    });
    return limits;
}

// A network that cannot be read is left out, never widened: a proxy too few costs the clients
// behind it their addresses in the log, one too many lets anybody forge them.
ProxyTrust ReadProxies() {
    char list[1024] = {};
    constexpr const char* kKey = KeyOf("listen", "trusted_proxies").name;
    if (m_ConfigFile.GetValueStr("listen", kKey, list, sizeof(list)) > int{sizeof(list)}) {
        IgnoreValue("listen", kKey, "...", "longer than the 1023 characters allowed");
    }
    ProxyTrust trust;
    ForEachPiece(list, [&trust](std::string_view network) {
        if (trust.networks.Add(network)) return;
        IgnoreValue("listen", kKey, std::string(network).c_str(),
                    "not a network such as 10.0.0.0/8");
    });
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
    return trust;
}
