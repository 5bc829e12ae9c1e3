// One line: format, file copy, console copy.
#include "Common/GLogService.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "JsonLine.h"
#include "LogVariant.h"

// Formats are the callers', who check them; a null one counts as empty.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-zero-length"

namespace {

constexpr size_t kLineSize = 2048;
constexpr size_t kPrefix = 25;  // colour sequence 5, date and time 20: the file has its own stamp
constexpr char kReset[] = "\x1b[0m";
constexpr size_t kResetLength = sizeof(kReset) - 1;

// Working memory of one line, made once per thread: framework threads have 16 KiB of stack, and
// thread-local arrays would be taken from it as well.
struct LineBuffers {
    char format[kLineSize];
    char line[kLineSize + 2];  // with CR LF
};

LineBuffers& Buffers() {
    thread_local const std::unique_ptr<LineBuffers> buffers(new LineBuffers);
    return *buffers;
}

// The room for one JSON line, made once per thread as well, but only where such lines are written:
// they are the longest.
JsonLine& Json() {
    thread_local const std::unique_ptr<JsonLine> line(new JsonLine);
    return *line;
}

struct LevelLook {
    const char* text;
    char style;
    char colour;
};

LevelLook LookOf(int level) {
    switch (level) {
        case _ALL:
            return {"ALL", '0', '0'};
        case _DEBUG:
            return {"DEBUG", '3', '2'};
        case _WARN:
            return {"WARN", '3', '3'};
        case _ERROR:
            return {"ERROR", '3', '1'};
        default:
            return {"Unknown", '0', '0'};
    }
}

// A format that was cut must not end inside a directive, and every line ends in the colour reset.
void EndCutFormat(char* format) {
    char* const room = format + kLineSize - 1 - kResetLength;
    char* end = format;
    while (end < room) {
        const bool directive = *end == '%';
        const size_t flags = directive ? std::strspn(end + 1, "-+ #0123456789.*$'hlLqjzt") : 0;
        char* next = end + 1 + (directive ? flags + 1 : 0);
        if (next > room) break;
        end = next;
    }
    std::memcpy(end, kReset, sizeof(kReset));
}

void BuildFormat(char* format, const LevelLook& look, const tm& now, const char* tag,
                 const char* callers) {
    const int length =
        std::snprintf(format, kLineSize, "\x1b[%c%cm%04d-%02d-%02d %02d:%02d:%02d [%s] [%s] %s%s",
                      look.style, look.colour, now.tm_year, now.tm_mon, now.tm_mday, now.tm_hour,
                      now.tm_min, now.tm_sec, look.text, tag, callers, kReset);
    if (length >= static_cast<int>(kLineSize)) EndCutFormat(format);
}

std::string_view TextOf(const LineBuffers& buffers, size_t size) {
    return {buffers.line + kPrefix, size - kPrefix - kResetLength};
}

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

// Bytes of line breaks that the format itself ends with, with the blanks among them. They are the
// writer's own, what stands before them may be a peer's.
size_t TailOf(const char* format) {
    std::string_view text(format);
    text.remove_suffix(kResetLength);
    return text.size() - (text.find_last_not_of("\r\n ") + 1);
}

// Writes "\x1b" for a control character of the line, so that no peer's text makes a line of its own
// or talks to the terminal of whoever reads the log. The last `tail` bytes of the text stay. A line
// that grows beyond its buffer is cut. In place; returns the new size. The format, which has been
// used, lends its room.
size_t EscapeControls(LineBuffers& buffers, size_t size, size_t tail) {
    std::string_view text = TextOf(buffers, size);
    const std::string_view rest(buffers.line + size - kResetLength - tail, tail + kResetLength);
    text.remove_suffix(tail);
    if (std::none_of(text.begin(), text.end(), IsControl)) return size;
    constexpr size_t kEscape = 4;
    char* out = buffers.format;
    const char* const room = buffers.format + kLineSize - kPrefix - kEscape - rest.size();
    for (const char c : text) {
        if (out > room) break;
        if (IsControl(c)) {
            static constexpr char kDigits[] = "0123456789abcdef";
            *out++ = '\\';
            *out++ = 'x';
            *out++ = kDigits[c >> 4];
            *out++ = kDigits[c & 15];
        } else {
            *out++ = c;
        }
    }
    std::memcpy(out, rest.data(), rest.size());
    const size_t length = static_cast<size_t>(out - buffers.format) + rest.size();
    std::memcpy(buffers.line + kPrefix, buffers.format, length);
    return kPrefix + length;
}

// The finished text is read as a format once more on its way to the console, with no arguments:
// "%%" becomes "%". Every other directive prints as it stands, for the text may be a peer's.
// In place; returns the new length.
size_t SecondPass(char* text, size_t length) {
    size_t kept = 0;
    for (size_t i = 0; i < length; ++i) {
        if (text[i] == '%' && i + 1 < length && text[i + 1] == '%') ++i;
        text[kept++] = text[i];
    }
    return kept;
}

void PrintToConsole(char* line, size_t length) {
    line[length] = '\r';
    line[length + 1] = '\n';
    const size_t printed = SecondPass(line, length + 2);
    std::fwrite(line, 1, printed, stdout);
    std::fflush(stdout);  // a supervisor reads line by line
}

}  // namespace

void GLogService::WriteAlways(int level, const char* tag, const char* format, va_list arguments) {
    const int error = errno;
    TellLeftOut();
    const time_t now = ClockNow();
    errno = error;  // for %m
    if (m_Budget.Admit(level, now)) {
        Write(level, now, tag ? tag : "", format ? format : "", arguments);
    } else {
        g_LogLeftOut.Add();
    }
    errno = error;
}

// The line is the first of its second, for which there is room.
void GLogService::TellLeftOut() {
    LogBudget::LeftOut lines{};
    if (!m_Budget.Collect(ClockNow(), lines)) return;
    ::__log(_ERROR, "GLogService::TellLeftOut",
            "lines left out in a second: ALL[%u], DEBUG[%u], WARN[%u], ERROR[%u]", lines[_ALL],
            lines[_DEBUG], lines[_WARN], lines[_ERROR]);
}

void GLogService::Write(int level, time_t now, const char* tag, const char* format,
                        va_list arguments) {
    const int error = errno;
    LineBuffers& buffers = Buffers();
    const LevelLook look = LookOf(level);
    const tm date = LocalDate(now);
    BuildFormat(buffers.format, look, date, tag, format);
    size_t tail = TailOf(buffers.format);
    errno = error;
    int length = std::vsnprintf(buffers.line, kLineSize, buffers.format, arguments);
    if (length >= static_cast<int>(kLineSize)) {
        length = static_cast<int>(kLineSize) - 1;
        std::memcpy(buffers.line + length - kResetLength, kReset, sizeof(kReset));
        tail = 0;
    }
    if (length < static_cast<int>(kPrefix + kResetLength)) return;
    auto size = static_cast<size_t>(length);
    if (m_bJson.load(std::memory_order_acquire)) {  // it has escapes of its own
        // The text begins with "[level] [tag] ".
        const std::string_view text = TextOf(buffers, size);
        const size_t skip = std::strlen(look.text) + std::strlen(tag) + 6;
        const std::string_view line =
            Json().Build(date, look.text, tag, text.substr(std::min(skip, text.size())));
        m_Json._log_2(line.data(), static_cast<long>(line.size()));
    }
    size = EscapeControls(buffers, size, tail);
    const std::string_view text = TextOf(buffers, size);
    m_Budget.Charge(text.size());
    _log_2(text.data(), static_cast<long>(text.size()));
    PrintToConsole(buffers.line, size);
}

bool GLogService::OpenJson(const char* path) {
    std::string name(path);
    const size_t dot = name.rfind('.');
    const bool extended = dot != std::string::npos && name.find('/', dot) == std::string::npos;
    // A log file that is named .json itself keeps its name.
    if (extended && name.substr(dot) != ".json") name.resize(dot);
    if (m_Json.InitLog((name + ".json").c_str(), false, false, true, false)) m_bJson = true;
    return m_bJson;
}

void GLogService::CloseJson() {
    m_bJson = false;
    m_Json.CloseLog();
}
