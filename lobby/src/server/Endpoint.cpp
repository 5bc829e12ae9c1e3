#include "Endpoint.h"

#include <cstdio>

#include "LobbyServer.h"

void ComplainConfig(const char* section, const char* key, const char* what) {
    std::fprintf(stderr, "LobbyServer.cfg: section [%s], key \"%s\": %s\n", section, key, what);
}

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
