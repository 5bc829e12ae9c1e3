#include "HandShark.h"

#include <cstring>

namespace {

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
    text += AcceptKey(sha1, Find(headers, "Sec-WebSocket-Key"));
    text += "\r\n";
    text += "Upgrade: websocket\r\n\r\n";
    // Far below the buffer's size whatever the key: its digest has a fixed length.
    std::memset(response, 0, sizeof(response));
    return static_cast<long>(text.copy(response, sizeof(response) - 1));
}

std::string_view FindProxyAddress(const HEADER_MAP& headers) {
    const std::string_view real = Find(headers, "X-Real-IP");
    return real.empty() ? Find(headers, "X-Forwarded-For") : real;
}
