// How names and numbers are written into generated files.
#pragma once

#include <cstdint>
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

// Of a message type: 0x00A1, or 0x00a1.
inline std::string HexText(uint16_t type, std::string_view digits = "0123456789ABCDEF") {
    std::string text = "0x";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += digits[type >> shift & 0xF];
    return text;
}

}  // namespace catalog
