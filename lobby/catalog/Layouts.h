// How the tables of the catalogue are written: layouts deduced from structures, and rows.
#pragma once

#include <array>
#include <type_traits>
#include <utility>

#include "Catalog.h"

namespace catalog {

// Specialised by LAYOUT for every structure.
template <class T>
const Layout& LayoutOf();

template <class T>
constexpr Kind KindOf() {
    using E = std::remove_all_extents_t<T>;
    if constexpr (std::is_class_v<E>)
        return Kind::Record;
    else if constexpr (std::is_same_v<E, bool>)
        return Kind::Bool;
    else if constexpr (std::is_array_v<T> && std::is_same_v<E, char>)
        return Kind::Text;
    else if constexpr (std::is_array_v<T> && sizeof(E) == 1)
        return Kind::Bytes;
    else if constexpr (sizeof(E) == 1)
        return std::is_unsigned_v<E> ? Kind::U8 : Kind::I8;
    else if constexpr (sizeof(E) == 2)
        return std::is_unsigned_v<E> ? Kind::U16 : Kind::I16;
    else if constexpr (sizeof(E) == 4)
        return std::is_unsigned_v<E> ? Kind::U32 : Kind::I32;
    else
        return std::is_unsigned_v<E> ? Kind::U64 : Kind::I64;
}

// What a field of that name means wherever its row does not say otherwise.
const char* UsualMeaning(std::string_view name);

template <class T>
Field FieldOf(const char* name, size_t offset, const char* countField,
              const char* meaning = nullptr) {
    using E = std::remove_all_extents_t<T>;
    const Layout* record = nullptr;
    if constexpr (std::is_class_v<E>) record = &LayoutOf<E>();
    constexpr size_t count = sizeof(T) / sizeof(E);  // NOLINT(bugprone-sizeof-expression): or 1
    return {name,  offset,     KindOf<T>(), sizeof(E),
            count, countField, record,      meaning ? meaning : UsualMeaning(name)};
}

// What follows a structure on the wire: as many records as its member `counter` says.
template <class Record>
Field Following(const char* name, size_t offset, const char* counter) {
    return {name, offset,  KindOf<Record>(),    sizeof(Record),
            0,    counter, &LayoutOf<Record>(), UsualMeaning(name)};
}
// As many bytes of text as its member `counter` says.
inline Field FollowingText(const char* name, size_t offset, const char* counter) {
    return {name, offset, Kind::Text, 1, 0, counter, nullptr, UsualMeaning(name)};
}

inline Field Secret(Field field) {
    field.secret = true;
    return field;
}
inline Field Filled(Field field) {
    field.filled = true;
    return field;
}

// The fields of the structure's first member `base`, then its own.
template <class Base>
std::vector<Field> Extend(std::vector<Field> own) {
    std::vector<Field> all = LayoutOf<Base>().fields;
    all.insert(all.end(), own.begin(), own.end());
    return all;
}

// Stringification needs macros. FIELD names a member of the structure being laid out and, where
// the usual meaning of the name is not its own, what it means; COUNTED an array of which another
// member says how many elements are valid.
#define FIELD(member, ...)                                                               \
    ::catalog::FieldOf<decltype(std::declval<M>().member)>(#member, offsetof(M, member), \
                                                           "" __VA_OPT__(, ) __VA_ARGS__)
#define COUNTED(member, counter)                            \
    ::catalog::FieldOf<decltype(std::declval<M>().member)>( \
        #member, offsetof(M, member), (static_cast<void>(&M::counter), #counter))
#define LAYOUT(Struct, ...)                                            \
    template <>                                                        \
    const Layout& LayoutOf<Struct>() {                                 \
        using M = Struct;                                              \
        static const Layout layout{#Struct, sizeof(M), {__VA_ARGS__}}; \
        return layout;                                                 \
    }
// A structure that holds Base as its first member `base`.
#define LAYOUT_ON(Struct, Base, ...)                                                      \
    template <>                                                                           \
    const Layout& LayoutOf<Struct>() {                                                    \
        using M = Struct;                                                                 \
        static_assert(std::is_same_v<decltype(M::base), Base> && offsetof(M, base) == 0); \
        static const Layout layout{#Struct, sizeof(M), Extend<Base>({__VA_ARGS__})};      \
        return layout;                                                                    \
    }

using Rows = std::vector<Message>;

// A message of one fixed size; a request of a client with the number of its answer.
template <class T>
Message Row(Direction direction, uint16_t type, const char* name, uint16_t answer = 0) {
    return {direction, type, name, &LayoutOf<T>(), sizeof(T), false, "", answer};
}
// A message whose size varies; sizeText says how.
template <class T>
Message Varies(Direction direction, uint16_t type, const char* name, const char* sizeText) {
    return {direction, type, name, &LayoutOf<T>(), sizeof(T), true, sizeText};
}
// A message that is a header only.
inline Message Bare(Direction direction, uint16_t type, const char* name) {
    return {direction, type, name, nullptr, 8, false, ""};
}
// A message whose body the lobby does not look at.
inline Message Opaque(Direction direction, uint16_t type, const char* name) {
    return {direction, type, name, nullptr, 4096, true, "any"};
}

// The tables, one per subject.
Rows AccountRows();    // login, bank, profile, coins
Rows DirectoryRows();  // game servers, sites, platform settings
Rows PushRows();       // bulletins, farm messages, tournament, log records
Rows ActivityRows();

}  // namespace catalog
