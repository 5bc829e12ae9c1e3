// Message dispatch as a table: one row per message type.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class IPlayerNode;

// A message type and the member function that takes it.
template <class Handler, class... Args>
struct DispatchRow {
    uint16_t type;
    void (Handler::*handle)(Args... args);
};

// The rows of one handler. A second row of a type, which would never be reached, does not compile.
// Thread: any; all of it is constant.
template <size_t N, class Handler, class... Args>
class DispatchTable {
  public:
    using Row = DispatchRow<Handler, Args...>;

    consteval explicit DispatchTable(const Row (&rows)[N]) {
        for (size_t i = 0; i < N; ++i) {
            for (size_t before = 0; before < i; ++before)
                if (rows[before].type == rows[i].type) throw "a second row of this type";
            m_rows[i] = rows[i];
        }
    }

    // Has the handler take the message; false when the type has no row.
    bool Call(Handler& handler, uint16_t type, Args... args) const {
        for (const Row& row : m_rows) {
            if (row.type != type) continue;
            (handler.*row.handle)(args...);
            return true;
        }
        return false;
    }

  private:
    std::array<Row, N> m_rows{};
};

// What a back-end server sends: the whole message and its length.
template <class Handler, size_t N>
consteval auto LinkMessages(const DispatchRow<Handler, void*, long> (&rows)[N]) {
    return DispatchTable<N, Handler, void*, long>(rows);
}

// What a client sends: his node, the whole message and its length.
template <class Handler, size_t N>
consteval auto ClientRequests(
    const DispatchRow<Handler, IPlayerNode*, void*, unsigned short> (&rows)[N]) {
    return DispatchTable<N, Handler, IPlayerNode*, void*, unsigned short>(rows);
}

// What anybody may send: his node, the whole message and its length.
template <class Handler, size_t N>
consteval auto AnyonesMessages(const DispatchRow<Handler, IPlayerNode*, void*, long> (&rows)[N]) {
    return DispatchTable<N, Handler, IPlayerNode*, void*, long>(rows);
}
