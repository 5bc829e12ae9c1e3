// Configured addresses: host:port.
#pragma once

#include <string>

struct Endpoint {
    char host[32] = {};
    int port = 0;
};

// Splits "host:port". Null on success, otherwise what is wrong with the value, for the operator;
// the endpoint is then without meaning. Whether host and port make sense is not looked at. Any
// thread.
const char* ParseEndpoint(const std::string& value, Endpoint& endpoint);
