// How handlers look at received messages.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

// Makes every byte of a message zero, the padding included: peers see all of them. The empty
// statement keeps an optimiser from splitting the local structure into its fields and losing what
// lies between. Do not return small messages by value: a copy in registers loses it, too.
template <class T>
void ZeroMsg(T& msg) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memset(&msg, 0, sizeof(msg));
    asm volatile("" : : "r"(&msg) : "memory");
}

// A message to fill in and send.
template <class T>
struct Zeroed : T {
    Zeroed() { ZeroMsg(static_cast<T&>(*this)); }
};

// A received message as a structure of its own: a short message reads as zeros past its end, and
// nothing outside the received bytes is touched. Handlers never cast a received pointer: it may
// lie at any offset of a receive block.
template <class T>
T ReadMsg(const void* data, long length) {
    T msg;
    ZeroMsg(msg);
    if (data != nullptr && length > 0) {
        std::memcpy(&msg, data, std::min(sizeof(T), static_cast<size_t>(length)));
    }
    return msg;
}

// Record `index` of an array that starts at byte `offset` of a received message, read as above.
template <class T>
T ReadItem(const void* data, long length, size_t offset, size_t index) {
    const size_t at = offset + index * sizeof(T);
    const size_t size = length > 0 ? static_cast<size_t>(length) : 0;
    if (data == nullptr || at >= size) return ReadMsg<T>(nullptr, 0);
    return ReadMsg<T>(static_cast<const char*>(data) + at, static_cast<long>(size - at));
}

// How many records of a counted array lie, at least in part, inside a received message. Counts
// are trusted, but a loop over them ends where the message ends.
template <class T>
size_t ItemsWithin(long length, size_t offset, size_t count) {
    const size_t size = length > 0 ? static_cast<size_t>(length) : 0;
    if (size <= offset) return 0;
    return std::min(count, (size - offset + sizeof(T) - 1) / sizeof(T));
}

// A text field that need not be terminated.
template <size_t N>
std::string_view TextOf(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

// A copy of such a field that is terminated, for %s.
template <size_t N>
std::string TextStr(const char (&field)[N]) {
    return std::string(TextOf(field));
}

// Copies a text field whole: what stands behind its terminator, too.
template <size_t N>
void CopyText(char (&to)[N], const char (&from)[N]) {
    std::memcpy(to, from, N);
}
