// What the pool templates take from the platform: their lock and its guard.
#pragma once

#include <atomic>
#include <cstdint>

#include "Common/Thread.h"

// Every lock of the pools is recursive. Order: a thread that holds a queue's m_lockRead may take
// its m_lockWrite, never the reverse.
using NodeLock = CMutex;
using NodeGuard = LockGuard<CMutex>;
