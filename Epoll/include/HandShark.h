// The WebSocket upgrade, without sockets: reading the HTTP request and building the answer.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "Common/IpAddress.h"
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

// Has `headers` hold the request's first "Sec-WebSocket-Key", however its name is spelled; false
// when the request has none. Thread: message worker.
bool FetchKey(const char* request, long length, HEADER_MAP& headers);

// The address an HTTP proxy states for its client in the `length` bytes of an upgrade request; for
// requests of trusted proxies only, since anybody can write such lines. False when it states none.
// The port is 0 unless the proxy names it.
// "X-Real-IP" counts if it is an address that is not itself a trusted proxy's. Otherwise
// "X-Forwarded-For" is followed from its end, where the nearest proxy wrote, over trusted proxies
// to the first address that is none: what stands before that, the client may have written itself.
// The walk also ends at anything that is no address. Of a name that comes several times, all lines
// of "X-Forwarded-For" count as one, and the last "X-Real-IP". Thread: message worker.
bool FindProxiedClient(const char* request, long length, const CIpNetworks& trusted,
                       CIpAddress& address, uint16_t& port);
