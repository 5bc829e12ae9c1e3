// What the message worker hands to the registry's threads, and gets back.
#pragma once

#include <cstdint>

#include "LobbyRedisServer.h"

// One session that enters the registry or leaves it. Owned by OnlineRegistry, whose pool it goes
// back to; a thread of the registry has it from Put until it is done.
// Thread: `task` the one that has it; the rest message worker, but for what is marked.
struct RegistryJob {
    MarkTask task;
    // Leaving, while the entering of the same session is under way: a mark that stood before stays,
    // for it is another session's. Read by the thread; the entering is done before.
    RegistryJob* lpEntering = nullptr;

    // The session, and the older one of its user that it puts out.
    uint64_t ulHandle = 0, ulNodeId = 0;
    uint64_t ulOlder = 0, ulOlderId = 0;
    uint64_t ulSerial = 0;   // grows with every job
    bool bInherits = false;  // a session with a mark closed meanwhile: the mark is this one's now
    bool bHeld = false;      // entering: its leaving points here
    bool bBare = false;      // leaving: never entered, so that nothing is lost without it
    bool bMarked = false;    // leaving: it has a mark, as far as is known

    RegistryJob* lpNext = nullptr;  // of whoever has it
};

// A first-in, first-out list. Owns nothing. Thread: one at a time.
class RegistryJobList {
  public:
    bool Empty() const { return m_lpFirst == nullptr; }
    void Push(RegistryJob* job) {
        job->lpNext = nullptr;
        (m_lpLast != nullptr ? m_lpLast->lpNext : m_lpFirst) = job;
        m_lpLast = job;
    }
    // Null when empty.
    RegistryJob* Pop() {
        RegistryJob* job = m_lpFirst;
        if (job == nullptr) return nullptr;
        m_lpFirst = job->lpNext;
        if (m_lpFirst == nullptr) m_lpLast = nullptr;
        return job;
    }
    // Takes all of the other's behind its own.
    void Append(RegistryJobList& other) {
        if (other.Empty()) return;
        (m_lpLast != nullptr ? m_lpLast->lpNext : m_lpFirst) = other.m_lpFirst;
        m_lpLast = other.m_lpLast;
        other = {};
    }

  private:
    RegistryJob* m_lpFirst = nullptr;
    RegistryJob* m_lpLast = nullptr;
};
