#include "EndpointText.h"

#include <cstdio>

const char* ParseEndpoint(const std::string& value, Endpoint& endpoint) {
    if (value.size() >= sizeof(endpoint.host)) return "longer than the 31 characters allowed";
    if (std::sscanf(value.c_str(), "%31[^:]:%d", endpoint.host, &endpoint.port) != 2) {
        return "not of the form host:port";
    }
    return nullptr;
}
