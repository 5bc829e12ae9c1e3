// How names and numbers are written into generated files.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace catalog {

inline std::string Quoted(std::string_view text, char quote = '"') {
    std::string out(1, quote);
    for (const char c : text) {
        if (c == quote || c == '\\') out += '\\';
        out += c;
    }
    return out + quote;
}

inline std::string HexText(uint16_t type, const char* format = "0x%04X") {
    char text[8];
    std::snprintf(text, sizeof(text), format, static_cast<unsigned>(type));
    return text;
}

}  // namespace catalog
