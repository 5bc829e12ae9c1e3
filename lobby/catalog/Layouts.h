// How the tables of the catalogue are written: layouts deduced from structures, and rows.
#pragma once

#include <algorithm>
#include <type_traits>
#include <utility>

#include "Catalog.h"
#include "WireLayout.h"

namespace catalog {

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

// The fields that are described in FieldNotes.h, and what follows the structure.
template <class T>
struct Notes {
    static std::vector<Field> Fields() { return {}; }
};

// The fields as the structure's WIRE_LAYOUT has them; of a wrapped message first those of its base.
template <class T>
std::vector<Field> FieldsOf() {
    std::vector<Field> all;
    const auto add = [&all](const auto& field) {
        using F = typename std::remove_cvref_t<decltype(field)>::Type;
        if constexpr (std::is_class_v<F>) {
            if (std::string_view(field.name) == "base") {
                all = LayoutOf<F>().fields;
                return;
            }
        }
        all.push_back(FieldOf<F>(field.name, field.offset, ""));
    };
    WireFields<T>::Each([&](const auto&... fields) { (add(fields), ...); });
    for (Field& note : Notes<T>::Fields()) {
        const auto same = [&](const Field& field) { return field.name == note.name; };
        const auto at = std::find_if(all.begin(), all.end(), same);
        if (at == all.end()) {
            all.push_back(std::move(note));
        } else {
            *at = std::move(note);
        }
    }
    return all;
}

template <class T>
const Layout& LayoutOf() {
    static const Layout layout{WireFields<T>::kName, sizeof(T), FieldsOf<T>()};
    return layout;
}

// Stringification needs macros. FIELD names a member of the structure and, where the usual meaning
// of the name is not its own, what it means; COUNTED an array of which another
// member says how many elements are valid.
#define FIELD(member, ...)                                                               \
    ::catalog::FieldOf<decltype(std::declval<M>().member)>(#member, offsetof(M, member), \
                                                           "" __VA_OPT__(, ) __VA_ARGS__)
#define COUNTED(member, counter)                            \
    ::catalog::FieldOf<decltype(std::declval<M>().member)>( \
        #member, offsetof(M, member), (static_cast<void>(&M::counter), #counter))
#define NOTES(Struct, ...)                                           \
    template <>                                                      \
    struct Notes<Struct> {                                           \
        using M = Struct;                                            \
        static std::vector<Field> Fields() { return {__VA_ARGS__}; } \
    };

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
