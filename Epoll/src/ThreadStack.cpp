#include "ThreadStack.h"

#include <pthread.h>

#include <array>
#include <cstdint>

#include "Common/ThreadSafety.h"

namespace {

constexpr uint8_t kPattern = 0xA5;

struct Watched {
    const char* name;
    const uint8_t* base;  // lowest address; null once the thread has ended
    size_t size;
    size_t used;  // of an ended thread
};

// A fixed table: threads come and go with each framework object, the deepest marks are kept.
struct Registry {
    Mutex lock;
    std::array<Watched, 256> table GUARDED_BY(lock);
    size_t count GUARDED_BY(lock) = 0;
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

// Reads memory that its thread may be writing, one byte at a time.
size_t UsedOf(const uint8_t* base, size_t size) {
    const volatile uint8_t* at = base;
    size_t untouched = 0;
    while (untouched < size && at[untouched] == kPattern)
        ++untouched;
    return size - untouched;
}

[[maybe_unused]] __attribute__((noinline)) void Paint(uint8_t* from) {
    // Leaves alone what this function itself stands on.
    constexpr ptrdiff_t kOwnFrame = 256;
    const uint8_t* to = static_cast<uint8_t*>(__builtin_frame_address(0)) - kOwnFrame;
    for (volatile uint8_t* at = from; at < to; ++at)
        *at = kPattern;
}

}  // namespace

#ifdef LOBBY_SANITIZED

ThreadStack::ThreadStack(const char*) {}
ThreadStack::~ThreadStack() = default;

#else

ThreadStack::ThreadStack(const char* name) {
    pthread_attr_t attributes;
    void* base = nullptr;
    size_t size = 0;
    m_ulIndex = ~size_t{0};
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
    pthread_attr_getstack(&attributes, &base, &size);
    pthread_attr_destroy(&attributes);
    Registry& registry = TheRegistry();
    const LockGuard guard(registry.lock);
    if (registry.count == registry.table.size()) return;
    m_ulIndex = registry.count++;
    registry.table[m_ulIndex] = {name, static_cast<uint8_t*>(base), size, 0};
    Paint(static_cast<uint8_t*>(base));
}

ThreadStack::~ThreadStack() {
    Registry& registry = TheRegistry();
    const LockGuard guard(registry.lock);
    if (m_ulIndex >= registry.table.size()) return;
    Watched& own = registry.table[m_ulIndex];
    own.used = UsedOf(own.base, own.size);
    own.base = nullptr;
}

#endif

std::vector<ThreadStack::Mark> ThreadStack::Report() {
    Registry& registry = TheRegistry();
    const LockGuard guard(registry.lock);
    std::vector<Mark> marks;
    for (size_t i = 0; i < registry.count; ++i) {
        const Watched& thread = registry.table[i];
        const size_t used = thread.base != nullptr ? UsedOf(thread.base, thread.size) : thread.used;
        marks.push_back({thread.name, thread.size, used});
    }
    return marks;
}
