// The WebSocket upgrade, without sockets: reading the HTTP request and building the answer.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "Sha1.h"

// Header name to value; names compare case-sensitively.
using HEADER_MAP = std::map<std::string, std::string>;

inline constexpr long WEBSOCKET_RESPONSE_SIZE = 1024;

// Reads the header lines of the `length` bytes of an upgrade request into `headers`. A name that
// comes twice keeps its first value; lines without ": " or without a carriage return are skipped.
// When already the first line lacks its carriage return, `headers` keeps what it held. Thread:
// message worker.
void FetchHttpInfo(const char* request, long length, HEADER_MAP& headers);

// Zeroes `response`, writes the answer to the request and returns its length. A missing
// "Sec-WebSocket-Key" counts as empty. Thread: message worker.
long ParseStr(SHA1& sha1, const HEADER_MAP& headers, char (&response)[WEBSOCKET_RESPONSE_SIZE]);

// The address a proxy states for its client, empty when it states none. The lobby looks it up but
// does not use it: to the lobby a proxied client has the proxy's address. The text belongs to
// `headers`. Thread: message worker.
std::string_view FindProxyAddress(const HEADER_MAP& headers);
