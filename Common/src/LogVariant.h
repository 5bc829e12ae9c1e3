// Inside the base library: the state of a log file.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <ctime>

#include "Common/LogCls.h"

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
    Variant();
    ~Variant();
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    bool Open(const char* path, bool deleteExisting);
    // Renames the file to its date and starts a new one when the day of the month has changed.
    // Only the day is compared, so a gap of whole months does not roll over.
    void RollOver(const tm& now);
    void WriteLine(const tm& when, const char* text, long length);
    void Close();
    void Enqueue(const char* text, long length);
    // One pass of the writer thread; false when it is to end.
    bool DrainOnce(int& idlePasses);
    static void FreeList(ListNode*& list);

    // Guarded by m_hWR in synchronous mode, writer thread only in threaded mode.
    std::FILE* m_pf = nullptr;  // standard output when reopening failed
    char m_pfn[260] = {};       // path
    // Queue: m_write and m_tail guarded by m_hWR, m_read writer thread only, m_free by m_hLQ.
    ListNode* m_write = nullptr;
    ListNode* m_read = nullptr;
    ListNode* m_tail = nullptr;
    ListNode* m_free = nullptr;
    pthread_mutex_t* m_hWR = nullptr;
    pthread_mutex_t* m_hLQ = nullptr;
    tm m_tmToday{};      // date of the file, full year and month 1..12; year 0 while unknown
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
