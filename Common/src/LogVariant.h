// Inside the base library: the state of a log file.
#pragma once

#include <atomic>
#include <cstdio>
#include <ctime>

#include "Common/LogCls.h"
#include "Common/ThreadSafety.h"

inline constexpr int kQueuedText = 1024;  // of one queued line, NUL included

// One queued line.
struct CLogCls::ListNode {
    char szLog[kQueuedText];
    time_t time;  // when it was queued
    long lLength;
    ListNode* lpNext;
};

// Owns the file, the mutexes and all nodes. In threaded mode the writer thread alone touches the
// file once it runs.
struct CLogCls::Variant {
    Variant() = default;
    ~Variant() LOCK_UNSEEN;
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    bool Open(const char* path, bool deleteExisting);
    // Renames the file to its date and starts a new one when the day of the month has changed.
    // Only the day is compared, so a gap of whole months does not roll over.
    void RollOver(const tm& now);
    void WriteLine(const tm& when, const char* text, long length);
    void Close() NEEDS_LOCK(m_hWR);
    void Enqueue(const char* text, long length) NEEDS_LOCK(m_hWR);
    // One pass of the writer thread; false when it is to end.
    bool DrainOnce(int& idlePasses);
    static void FreeList(ListNode*& list);

    Mutex m_hWR;  // of callers, before m_hLQ
    Mutex m_hLQ;
    // The file: under m_hWR in synchronous mode, the writer thread's alone in threaded mode.
    std::FILE* m_pf = nullptr;  // standard output when reopening failed
    char m_pfn[260] = {};       // path
    // The queue of threaded mode: callers fill m_write, the writer takes all of it as m_read, and
    // what it has written goes to m_free.
    ListNode* m_write GUARDED_BY(m_hWR) = nullptr;
    ListNode* m_tail GUARDED_BY(m_hWR) = nullptr;
    ListNode* m_read = nullptr;  // the writer thread's
    ListNode* m_free GUARDED_BY(m_hLQ) = nullptr;
    tm m_tmToday{};      // date of the file, full year and month 1..12
    long m_lLength = 0;  // of the path
    long m_lPos = 0;     // of the last '.' in the file's name, 0 if none
    bool m_bDelExist = false;
    bool m_bStamped = true;
    std::atomic<bool> m_bExit{false};
    std::atomic<bool> m_bInit{false};
    std::atomic<bool> m_bThread{false};
    std::atomic<bool> m_bDay{false};
};

// Local time with the full year and month 1..12.
tm LocalDate(time_t time);
