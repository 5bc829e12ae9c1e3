// The line that checks a wire structure at compile time, and names its fields.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "Game/NetMessage.h"

// One field of a wire structure of type T.
template <class T>
struct WireField {
    using Type = T;
    const char* name;
    size_t offset;  // where the compiler puts it
    size_t agreed;  // where every peer reads it
};

// What WIRE_LAYOUT says of a structure: kName, kSize, and Each(f), which calls f with a WireField
// for every field behind the header. Where a structure ends in an array without a length, that is
// not among them.
template <class T>
struct WireFields;

namespace wire {

template <class T>
consteval WireField<T> At(const char* name, size_t offset, size_t agreed) {
    return {name, offset, agreed};
}

// A message begins with the header; a record, or a message wrapped for another peer, with a field.
template <class T>
consteval size_t FirstOffset() {
    constexpr bool message = requires {
        &T::header;
    };
    constexpr bool wrapped = requires {
        &T::msgHeadInfo;
    };
    return message || wrapped ? HEADER_SIZE : 0;
}

constexpr size_t RoundUp(size_t value, size_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

// True when T has the agreed size, every field stands where it was agreed and right behind the one
// before, as packing to 4 bytes has it, and T can be copied to and from raw bytes. A field left
// out of the line is a gap, and does not pass.
template <class T>
consteval bool Holds() {
    size_t end = FirstOffset<T>();
    bool holds = true;
    const auto check = [&](const auto& field) {
        using F = typename std::remove_cvref_t<decltype(field)>::Type;
        holds = holds && field.offset == field.agreed &&
                field.offset == RoundUp(end, std::min<size_t>(alignof(F), 4));
        end = field.offset + sizeof(F);
    };
    WireFields<T>::Each([&](const auto&... fields) { (check(fields), ...); });
    return holds && sizeof(T) == WireFields<T>::kSize && sizeof(T) == RoundUp(end, alignof(T)) &&
           std::is_standard_layout_v<T> && std::is_trivially_copyable_v<T>;
}

}  // namespace wire

// WIRE_LAYOUT(Struct, size, AT(field, offset), ...); a message header has one for each of its
// structures, which stand between #pragma pack(push, 4) and pop.
//
// The layouts are frozen: peers and clients of other versions are in the field and use the same
// offsets. Numbers are little-endian (those of the header are not); a 64-bit field may start at any
// multiple of 4. Text fields need not be terminated by the sender.
#define WIRE_LAYOUT(Struct, size, ...)                                \
    template <>                                                       \
    struct WireFields<Struct> {                                       \
        using M = Struct;                                             \
        static constexpr const char* kName = #Struct;                 \
        static constexpr size_t kSize = size;                         \
        static constexpr auto Each(auto f) { return f(__VA_ARGS__); } \
    };                                                                \
    static_assert(wire::Holds<Struct>(), "the layout of " #Struct " has changed")
#define AT(field, place) wire::At<decltype(M::field)>(#field, offsetof(M, field), place)
