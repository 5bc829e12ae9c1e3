// The check every wire structure passes at compile time.
#pragma once

#include <cstddef>
#include <type_traits>

// True when T occupies exactly Size bytes and can be copied to and from raw bytes. Layouts are
// frozen: peers of other versions read the same offsets.
template <class T, size_t Size>
inline constexpr bool kWireLayout =
    sizeof(T) == Size&& std::is_standard_layout_v<T>&& std::is_trivially_copyable_v<T>;
