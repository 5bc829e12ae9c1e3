// Public header: the log with its levels and the console, for who needs more than __log.
#pragma once

#include <atomic>
#include <cstdarg>

#include "Common/LogBudget.h"
#include "Common/LogCls.h"

// Adds the level filter, the bound on lines a second, the coloured console copy and, on request, a
// second file of JSON lines to the log file. Whatever a line's arguments hold, it stays one line
// and says nothing to a terminal: control characters are written escaped. Thread: any.
class GLogService : public CLogCls {
  public:
    // Writes nothing unless SetLevel allowed it.
    void __log(int level, const char* tag, const char* format, va_list arguments)
        __attribute__((format(printf, 4, 0))) {
        if (Enabled(level)) WriteAlways(level, tag, format, arguments);
    }
    // Writes at any level but none. The caller's format becomes part of the line's
    // own format, so that it is applied exactly once.
    void WriteAlways(int level, const char* tag, const char* format, va_list arguments)
        __attribute__((format(printf, 4, 0)));

    // From now on every line also goes, as one JSON object, to a file beside the log file at
    // `path`, named after it but with the extension .json. False when that file cannot be opened.
    bool OpenJson(const char* path);
    void CloseJson();

    // The lowest level that is written; -1 (at first) for none at all.
    void SetLevel(int level) { m_level.store(level, std::memory_order_release); }
    bool Enabled(int level) const {
        const int lowest = m_level.load(std::memory_order_acquire);
        return lowest != -1 && lowest <= level;
    }

    // At most so many lines a second; 0 for any number. What is left out is told, by level, in a
    // line of its own: with the first line of a later second, or by TellLeftOut when there is none.
    void SetMost(int lines) { m_Budget.SetMost(lines); }
    void TellLeftOut();

  private:
    // One line, beyond level and bound.
    void Write(int level, time_t now, const char* tag, const char* format, va_list arguments)
        __attribute__((format(printf, 5, 0)));

    std::atomic<int> m_level{-1};
    LogBudget m_Budget;
    CLogCls m_Json;
    std::atomic<bool> m_bJson{false};
};

// The log of the process. Never destroyed: detached threads may log until the process is gone.
extern GLogService& g_log;
