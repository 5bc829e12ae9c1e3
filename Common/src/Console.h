// Standard output and standard error that never keep their writers waiting.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdio>
#include <mutex>

// Puts text on one standard descriptor as far as whoever reads it takes it at once; the rest is
// dropped and counted by lines. A pipe whose reader stands still, or a terminal that was stopped,
// would otherwise suspend every thread that prints, the message worker first. The descriptor may
// be replaced meanwhile. Thread: any.
class Console {
  public:
    explicit Console(int descriptor) : m_iDescriptor(descriptor) {}
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // A stream in place of stdout or stderr. They live as long as the process.
    void Become(FILE*& stream);
    void Write(const char* text, size_t size);

  private:
    // More is not taken whole or not at all by a pipe.
    static constexpr size_t kPiece = 4096;

    void Look();
    bool Put(const char* text, size_t size);
    bool PutFirst(const char* text, size_t size);
    bool PutRest();
    ssize_t Try(const char* text, size_t size) const;
    void Drop(const char* text, size_t size);

    const int m_iDescriptor;
    // The stream has a lock as well, which the thread sanitizer does not see. Guards what follows.
    std::mutex m_lock;
    int m_iOwn = -1;          // the same file, opened once more: not waiting concerns nobody else
    struct stat m_what {};    // what the descriptor was when it was looked at last
    bool m_bMayWait = false;  // the descriptor is one that can keep a writer waiting
    char m_szRest[kPiece];    // of a piece that was taken in part
    size_t m_ulRest = 0;
    size_t m_ulDropped = 0;  // lines since the console took one last
};
