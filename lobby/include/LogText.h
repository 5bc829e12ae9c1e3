// Log texts that stand in tables, checked against their arguments.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>
#include <type_traits>

#include "Common/Log.h"

// A text in printf's form for arguments of these types; null where a row is silent. A conversion
// that does not fit its argument, or has none, does not compile; a text with fewer conversions
// than arguments leaves the rest out.
// Thread: any; all of it is constant.
template <class... Args>
class LogText {
  public:
    consteval LogText(const char* text) : m_szText(text) {
        if (!Fits(text)) throw "a conversion does not fit its argument";
    }
    consteval LogText(std::nullptr_t) {}

    static constexpr bool Fits(std::string_view text) {
        constexpr Kind kinds[] = {KindOf<Args>()..., Kind::None};
        size_t argument = 0;
        for (size_t at = text.find('%'); at != text.npos; at = text.find('%', at)) {
            const Kind kind = Conversion(text, at);
            if (kind == Kind::Percent) continue;
            if (kind == Kind::None || kinds[argument++] != kind) return false;
        }
        return true;
    }

    explicit operator bool() const { return m_szText != nullptr; }

// The compiler checks literals alone; these texts were checked above.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    void Log(LOG_LEVEL level, const char* tag, Args... args) const {
        if (m_szText != nullptr) __log(level, tag, m_szText, args...);
    }
    void Print(Args... args) const {
        if (m_szText != nullptr) std::printf(m_szText, args...);
    }
#pragma GCC diagnostic pop

  private:
    enum class Kind { None, Percent, Int, Long, Text };

    template <class T>
    static consteval Kind KindOf() {
        if (std::is_convertible_v<T, const char*>) return Kind::Text;
        if (!std::is_integral_v<T>) return Kind::None;
        return sizeof(T) <= sizeof(int) ? Kind::Int : Kind::Long;
    }

    // What the conversion at the '%' takes; `at` goes behind it.
    static constexpr Kind Conversion(std::string_view text, size_t& at) {
        const size_t size = text.find_first_not_of("-+ #0123456789.", at + 1);
        const size_t type = size == text.npos ? size : text.find_first_not_of("hlz", size);
        if (type == text.npos) return Kind::None;
        at = type + 1;
        if (text[type] == '%') return Kind::Percent;
        if (text[type] == 's') return type == size ? Kind::Text : Kind::None;
        if (std::string_view("diuxXc").find(text[type]) == text.npos) return Kind::None;
        return type != size && text[size] != 'h' ? Kind::Long : Kind::Int;
    }

    const char* m_szText = nullptr;
};
