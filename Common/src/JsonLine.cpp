#include "JsonLine.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::string_view kEnd = "\"}";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr size_t kLongestEscape = 6;
constexpr size_t kTagLimit = 512;

// Bytes of the UTF-8 character that `text` begins with; 0 when it begins with none.
size_t CharacterSize(std::string_view text) {
    const auto at = [&](size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned first = at(0);
    if (first < 0x80) return 1;
    const size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) return 0;
    // The second byte rules out overlong forms, surrogates and what lies behind U+10FFFF.
    const unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (at(1) < low || at(1) > high) return 0;
    for (size_t i = 2; i < size; ++i) {
        if ((at(i) & 0xC0) != 0x80) return 0;
    }
    return size;
}

// The form of an ASCII character inside a JSON string; empty when it stands for itself.
std::string_view EscapeOf(char c, char (&hex)[kLongestEscape + 1]) {
    switch (c) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            break;
    }
    if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F) return {};
    std::snprintf(hex, sizeof(hex), "\\u%04x", static_cast<unsigned>(c));
    return hex;
}

}  // namespace

std::string_view JsonLine::Build(const tm& when, std::string_view level, std::string_view tag,
                                 std::string_view text) {
    const long minutes = when.tm_gmtoff / 60;
    char head[96];
    const int length = std::snprintf(
        head, sizeof(head), "{\"time\":\"%04d-%02d-%02dT%02d:%02d:%02d%c%02ld:%02ld\",\"level\":\"",
        when.tm_year, when.tm_mon, when.tm_mday, when.tm_hour, when.tm_min, when.tm_sec,
        minutes < 0 ? '-' : '+', std::labs(minutes) / 60, std::labs(minutes) % 60);
    m_ulLength = 0;
    Raw({head, static_cast<size_t>(length)});
    Raw(level);
    Raw("\",\"tag\":\"");
    Escaped(tag, kTagLimit);
    Raw("\",\"text\":\"");
    Escaped(text, kSize - kEnd.size());
    Raw(kEnd);
    return {m_szLine, m_ulLength};
}

void JsonLine::Raw(std::string_view bytes) {
    std::memcpy(m_szLine + m_ulLength, bytes.data(), bytes.size());
    m_ulLength += bytes.size();
}

// limit: of the whole line so far.
void JsonLine::Escaped(std::string_view text, size_t limit) {
    char hex[kLongestEscape + 1];
    while (!text.empty() && m_ulLength + kLongestEscape <= limit) {
        const size_t size = CharacterSize(text);
        const std::string_view escape = size == 0   ? kReplacement
                                        : size == 1 ? EscapeOf(text[0], hex)
                                                    : std::string_view();
        Raw(escape.empty() ? text.substr(0, size) : escape);
        text.remove_prefix(size == 0 ? 1 : size);
    }
}
