#include "Endpoint.h"

#include <cstdio>

#include "LobbyServer.h"

void ComplainConfig(const char* section, const char* key, const char* what) {
    std::fprintf(stderr, "LobbyServer.cfg: section [%s], key \"%s\": %s\n", section, key, what);
}

bool ReadEndpoint(const char* section, const char* key, Endpoint& endpoint) {
    char value[32] = {};
    const int size = m_ConfigFile.GetValueStr(section, key, value, sizeof(value));
    if (size == 0) {
        ComplainConfig(section, key, "missing; a host:port is needed");
        return false;
    }
    // A value that does not fit is not copied at all.
    if (size > static_cast<int>(sizeof(value))) {
        ComplainConfig(section, key, "longer than the 31 characters allowed");
        return false;
    }
    if (std::sscanf(value, "%31[^:]:%d", endpoint.host, &endpoint.port) != 2) {
        ComplainConfig(section, key, "not of the form host:port");
        return false;
    }
    return true;
}
