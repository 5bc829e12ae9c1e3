// Message dispatch as a table: one row per message type.
#pragma once

#include <cstddef>
#include <cstdint>

// A message type, its name for tools and the handler that takes it (whole message and length).
template <class Handler>
struct DispatchRow {
    uint16_t type;
    const char* name;
    void (Handler::*handle)(void* data, long length);
};

// The row of a type, or null.
template <class Handler, size_t N>
constexpr const DispatchRow<Handler>* FindRow(const DispatchRow<Handler> (&rows)[N],
                                              uint16_t type) {
    for (const auto& row : rows) {
        if (row.type == type) return &row;
    }
    return nullptr;
}

// For a static_assert below each table: a second row of a type would never be reached.
template <class Handler, size_t N>
constexpr bool TypesUnique(const DispatchRow<Handler> (&rows)[N]) {
    for (const auto& row : rows) {
        if (FindRow(rows, row.type) != &row) return false;
    }
    return true;
}
