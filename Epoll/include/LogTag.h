// How log lines of the framework name objects.
#pragma once

#include <cstdint>

// The 32-bit form of a node or context address for "%08x".
inline unsigned PtrTag(const void* object) {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(object));
}
