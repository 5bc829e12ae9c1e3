// Public header: a log file.
#pragma once

#include <atomic>
#include <cstdarg>

// A file of time-stamped lines, rolled over when the day changes. Writes from the calling thread,
// or through a thread of its own (threaded mode), where producers never wait for the disk. Owns
// its state and through it the file, the queue and the thread.
// Thread: any for the _log functions; InitLog and CloseLog one at a time.
class CLogCls {
  public:
    CLogCls() = default;
    CLogCls(const char* path, bool deleteExisting, bool threaded, bool daily);
    virtual ~CLogCls();
    CLogCls(const CLogCls&) = delete;
    CLogCls& operator=(const CLogCls&) = delete;

    // True when the file was opened; false as well when the log is already open, which then stays
    // as it is. A path of more than 259 characters is cut.
    // stamped false: a line is its text and a line feed, without date and time.
    bool InitLog(const char* path, bool deleteExisting, bool threaded, bool daily,
                 bool stamped = true);
    // Writes what is queued, ends the writer thread and closes the file; InitLog may follow.
    void CloseLog();

    // One line; without effect while the log is closed. The first two format into 1024 bytes and
    // cut what is longer. Length -1 means that the text runs to its NUL. In threaded mode a text
    // of more than 1023 bytes is cut.
    void _log(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void _log_1(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    void _log_2(const char* text, long length);

  private:
    struct Variant;
    struct ListNode;

    static void* LogThread(void* state);

    std::atomic<Variant*> m_pv{nullptr};  // made by the first InitLog
};
