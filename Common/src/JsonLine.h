// Inside the base library: one log line as a JSON object.
#pragma once

#include <cstddef>
#include <ctime>
#include <string_view>

// Builds {"time":"2026-11-14T13:05:09+01:00","level":"WARN","tag":"A::B","text":"..."} in a buffer
// of its own. Whatever the text holds, the line is valid JSON without a line break: control
// characters are escaped, and every byte that is no UTF-8 becomes U+FFFD. A text that does not fit
// is cut between characters. Thread: one at a time.
class JsonLine {
  public:
    // when: local time with the full year and month 1..12. The result is valid until the next call.
    std::string_view Build(const tm& when, std::string_view level, std::string_view tag,
                           std::string_view text);

  private:
    void Raw(std::string_view bytes);
    void Escaped(std::string_view text, size_t limit);

    // A log line of 2 KiB in which every byte becomes six.
    static constexpr size_t kSize = 2048 * 6 + 256;

    char m_szLine[kSize];
    size_t m_ulLength = 0;
};
