// Inside the base library: one line of an INI file.
#pragma once

#include <cstddef>

#include "Common/IniFile.h"
#include "Common/Text.h"

// Points into the file's bytes. On a section line nameEnd is the closing bracket and the name
// stands strictly between; on a key line without '=' there is no value.
struct CIniFile::IniLine {
    const char* begin = nullptr;  // first byte that is no blank; a line break counts as none
    const char* nameEnd = nullptr;
    const char* valueBegin = nullptr;
    const char* valueEnd = nullptr;
    IniLine* next = nullptr;

    bool IsSection() const { return *begin == '['; }
    const char* Name() const { return IsSection() ? begin + 1 : begin; }
    size_t NameLength() const { return Span(Name(), nameEnd); }
    size_t ValueLength() const { return Span(valueBegin, valueEnd); }
    bool Named(const char* name) const { return SameText({Name(), NameLength()}, name); }

  private:
    // A carriage return in the middle of a line can put an end before its begin.
    static size_t Span(const char* from, const char* to) {
        return to > from ? static_cast<size_t>(to - from) : 0;
    }
};
