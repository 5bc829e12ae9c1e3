#include "HandShark.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "Common/Text.h"

namespace {

constexpr const char* kKey = "Sec-WebSocket-Key";
// Appended to the client's key before hashing (RFC 6455).
constexpr std::string_view kKeySuffix = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";

// Cuts the next line, without its line feed, off `rest`.
std::string_view TakeLine(std::string_view& rest) {
    const size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return line;
}

std::string_view Find(const HEADER_MAP& headers, const char* name) {
    const auto found = headers.find(name);
    return found == headers.end() ? std::string_view() : std::string_view(found->second);
}

// One party on a request's way.
struct Hop {
    bool known = false;
    CIpAddress address;
    uint16_t port = 0;
};

// An address, an IPv4 address with a port, or an IPv6 address in brackets with or without one.
Hop ParseHop(std::string_view text) {
    text = Trim(text);
    Hop hop;
    hop.known = hop.address.Parse(text);
    if (hop.known) return hop;
    const size_t colon = text.rfind(':');
    std::string_view host = text.substr(0, colon);
    if (text.ends_with(']')) {
        host = text;
    } else if (colon != std::string_view::npos) {
        const std::string_view digits = text.substr(colon + 1);
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), hop.port);
        if (error != std::errc() || end != digits.data() + digits.size()) return {};
    }
    const bool brackets = host.starts_with('[') && host.ends_with(']');
    if (brackets) host = host.substr(1, host.size() - 2);
    // A bare IPv6 address has no port: its last group would be taken for one.
    hop.known = (brackets || host.find(':') == std::string_view::npos) && hop.address.Parse(host);
    return hop;
}

// Goes on through a list, first to last, so that `client` is in the end what a walk from the last
// to the first over trusted parties comes to.
void FollowHops(std::string_view list, const CIpNetworks& trusted, Hop& client) {
    ForEachPiece(list, [&](std::string_view piece) {
        const Hop hop = ParseHop(piece);
        const bool passes = hop.known && trusted.Contains(hop.address);
        if (!passes || !client.known) client = hop;
    });
}

std::string AcceptKey(SHA1& sha1, std::string_view key) {
    uint32_t words[SHA1::kWords];
    sha1.Reset();
    sha1.Input(key.data(), key.size());
    sha1.Input(kKeySuffix.data(), kKeySuffix.size());
    if (!sha1.Result(words)) return {};
    uint8_t bytes[sizeof(words)];
    for (size_t i = 0; i < sizeof(bytes); ++i) {
        bytes[i] = static_cast<uint8_t>(words[i / 4] >> (24 - i % 4 * 8));
    }
    return base64_encode(bytes, sizeof(bytes));
}

}  // namespace

void FetchHttpInfo(const char* request, long length, HEADER_MAP& headers) {
    std::string_view rest(request, static_cast<size_t>(length));
    if (!TakeLine(rest).ends_with('\r')) return;
    headers.clear();
    while (!rest.empty()) {
        std::string_view line = TakeLine(rest);
        if (line == "\r") return;
        if (!line.ends_with('\r')) continue;
        line.remove_suffix(1);
        const size_t colon = line.find(": ");
        if (colon == std::string_view::npos) continue;
        headers.emplace(line.substr(0, colon), line.substr(colon + 2));
    }
}

long ParseStr(SHA1& sha1, const HEADER_MAP& headers, char (&response)[WEBSOCKET_RESPONSE_SIZE]) {
    std::string text = "HTTP/1.1 101 Switching Protocols\r\n";
    text += "Connection: upgrade\r\n";
    text += "Sec-WebSocket-Accept: ";
    text += AcceptKey(sha1, Find(headers, kKey));
    text += "\r\n";
    text += "Upgrade: websocket\r\n\r\n";
    // Far below the buffer's size whatever the key: its digest has a fixed length.
    std::memset(response, 0, sizeof(response));
    return static_cast<long>(text.copy(response, sizeof(response) - 1));
}

bool FetchKey(const char* request, long length, HEADER_MAP& headers) {
    std::string_view rest(request, static_cast<size_t>(length));
    TakeLine(rest);
    while (!rest.empty()) {
        const std::string_view line = TakeLine(rest);
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos || !SameText(line.substr(0, colon), kKey)) continue;
        const std::string_view key = Trim(line.substr(colon + 1));
        headers.insert_or_assign(kKey, std::string(key));
        return !key.empty();
    }
    return false;
}

bool FindProxiedClient(const char* request, long length, const CIpNetworks& trusted,
                       CIpAddress& address, uint16_t& port) {
    std::string_view rest(request, static_cast<size_t>(length));
    Hop real, client;
    TakeLine(rest);
    while (!rest.empty()) {
        const std::string_view line = Trim(TakeLine(rest));
        if (line.empty()) break;
        const size_t colon = std::min(line.find(':'), line.size());
        const std::string_view name = line.substr(0, colon);
        const std::string_view value = line.substr(std::min(colon + 1, line.size()));
        if (SameText(name, "X-Real-IP")) real = ParseHop(value);
        if (SameText(name, "X-Forwarded-For")) FollowHops(value, trusted, client);
    }
    if (real.known && (!client.known || !trusted.Contains(real.address))) client = real;
    if (!client.known) return false;
    address = client.address;
    port = client.port;
    return true;
}
