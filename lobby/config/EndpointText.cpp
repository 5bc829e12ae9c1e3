#include "EndpointText.h"

#include <cstdlib>

const char* ParseEndpoint(const std::string& value, Endpoint& endpoint) {
    if (value.size() >= sizeof(endpoint.host)) return "longer than the 31 characters allowed";
    const size_t colon = value.find(':');
    if (colon == std::string::npos || colon == 0) return "not of the form host:port";
    const char* digits = value.c_str() + colon + 1;
    char* end = nullptr;
    const long port = std::strtol(digits, &end, 10);
    if (end == digits) return "not of the form host:port";
    endpoint.host[value.copy(endpoint.host, colon)] = '\0';
    endpoint.port = static_cast<int>(port);
    return nullptr;
}
