// Standard output and standard error that never keep their writers waiting.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdio>

#include "Common/ThreadSafety.h"

// Puts text on one standard descriptor as far as whoever reads it takes it at once; the rest is
// dropped and counted by lines. A pipe whose reader stands still, or a terminal that was stopped,
// would otherwise suspend every thread that prints, the message worker first. The descriptor may
// be replaced meanwhile. Thread: any.
class Console {
  public:
    explicit Console(int descriptor) : m_iDescriptor(descriptor) {}
    ~Console() LOCK_UNSEEN;
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // A stream in place of stdout or stderr. They live as long as the process.
    void Become(FILE*& stream);
    void Write(const char* text, size_t size);

  private:
    // More is not taken whole or not at all by a pipe.
    static constexpr size_t kPiece = 4096;

    void Look() NEEDS_LOCK(m_lock);
    bool Put(const char* text, size_t size) NEEDS_LOCK(m_lock);
    bool PutFirst(const char* text, size_t size) NEEDS_LOCK(m_lock);
    bool PutRest() NEEDS_LOCK(m_lock);
    ssize_t Try(const char* text, size_t size) const NEEDS_LOCK(m_lock);
    void Drop(const char* text, size_t size) NEEDS_LOCK(m_lock);

    const int m_iDescriptor;
    // The stream has a lock as well, which the thread sanitizer does not see.
    Mutex m_lock;
    // The same file, opened once more: that it does not wait concerns nobody else.
    int m_iOwn GUARDED_BY(m_lock) = -1;
    struct stat m_what GUARDED_BY(m_lock) {};    // the descriptor when it was looked at last
    bool m_bMayWait GUARDED_BY(m_lock) = false;  // it is one that can keep a writer waiting
    char m_szRest[kPiece] GUARDED_BY(m_lock);    // of a piece that was taken in part
    size_t m_ulRest GUARDED_BY(m_lock) = 0;
    size_t m_ulDropped GUARDED_BY(m_lock) = 0;  // lines since the console took one last
};
