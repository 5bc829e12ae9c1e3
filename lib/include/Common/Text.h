// Public header: small things one does with text. Thread: any.
#pragma once

#include <strings.h>

#include <cstdint>
#include <string_view>

// Without the blanks around it: spaces, tabs and the carriage returns of foreign line ends.
inline std::string_view Trim(std::string_view text) {
    constexpr const char* kBlanks = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Equal but for the case of ASCII letters.
inline bool SameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && (a.empty() || strncasecmp(a.data(), b.data(), a.size()) == 0);
}

// Calls use(piece) for what stands between the commas of a list, empty pieces included; behind a
// comma at the very end there is none.
template <class Use>
void ForEachPiece(std::string_view list, Use use) {
    while (!list.empty()) {
        const std::string_view piece = list.substr(0, list.find(','));
        list.remove_prefix(piece.size() < list.size() ? piece.size() + 1 : piece.size());
        use(piece);
    }
}

// The 32-bit form in which log lines name a node or a context, for "%08x".
inline unsigned PtrTag(const void* object) {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(object));
}
