// How the public names are held.
#pragma once

// Every name must exist, and be public.
template <auto... kNames>
inline constexpr bool Named = true;
template <class... Types>
inline constexpr bool HasTypes = (sizeof(Types) + ... + 0) > 0;

// The overload of exactly this type.
template <class F>
consteval F As(F f) {
    return f;
}
