// Reads a fuzzer's input piece by piece; past its end everything is zero or empty.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

class FuzzInput {
  public:
    FuzzInput(const uint8_t* data, size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size) {}

    bool Empty() const { return m_rest.empty(); }
    uint8_t Byte() {
        if (m_rest.empty()) return 0;
        const auto value = static_cast<uint8_t>(m_rest.front());
        m_rest.remove_prefix(1);
        return value;
    }
    uint16_t Word() {
        const unsigned low = Byte();
        return static_cast<uint16_t>(low | unsigned{Byte()} << 8);
    }
    // At most `size` bytes.
    std::string_view Bytes(size_t size) {
        const std::string_view bytes = m_rest.substr(0, size);
        m_rest.remove_prefix(bytes.size());
        return bytes;
    }
    // A text that a length byte goes before.
    std::string Text() { return std::string(Bytes(Byte())); }
    std::string_view Rest() { return Bytes(m_rest.size()); }

  private:
    std::string_view m_rest;
};

// A stream in reads of the sizes given, over and over, each its byte and one more; in reads of
// `usual` when none are given.
inline std::vector<std::string_view> Reads(std::string_view stream, std::string_view splits,
                                           size_t usual) {
    std::vector<std::string_view> reads;
    for (size_t turn = 0; !stream.empty(); ++turn) {
        reads.push_back(stream.substr(
            0, splits.empty() ? usual : static_cast<uint8_t>(splits[turn % splits.size()]) + 1u));
        stream.remove_prefix(reads.back().size());
    }
    return reads;
}

// Ends the process, which the fuzzer takes for a finding.
inline void Require(bool holds, const char* what, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
    if (holds) return;
    std::fprintf(stderr, "%s:%d: %s\n", file, line, what);
    std::abort();
}
