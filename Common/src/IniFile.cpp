// Reading and look-up.
#include "Common/IniFile.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "IniLine.h"

namespace {

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// A directory opens like a file but has nothing to read.
long SizeOf(std::FILE* file) {
    struct stat info {};
    if (fstat(fileno(file), &info) != 0 || S_ISDIR(info.st_mode)) return -1;
    return static_cast<long>(info.st_size);
}

int Missing(char* buf, int size) {
    if (buf != nullptr && size >= 1) buf[0] = '\0';
    return 0;
}

}  // namespace

CIniFile::CIniFile(const char* path) {
    InitFile(path);
}

CIniFile::~CIniFile() {
    Clear();
}

void CIniFile::Clear() {
    while (m_lpLink != nullptr) {
        IniLine* next = m_lpLink->next;
        delete m_lpLink;
        m_lpLink = next;
    }
    delete[] m_lpDataBuf;
    m_lpDataBuf = nullptr;
    m_ulDataSize = 0;
    m_iLineCount = 0;
}

int CIniFile::InitFile(const char* path) {
    if (path == nullptr) return 0;
    if (path != m_szFileName) {
        std::strncpy(m_szFileName, path, sizeof(m_szFileName) - 1);
        m_szFileName[sizeof(m_szFileName) - 1] = '\0';
    }
    const FilePtr file(std::fopen(m_szFileName, "rb"), &std::fclose);
    const long size = file ? SizeOf(file.get()) : -1;
    if (size < 0) return 0;
    Clear();
    m_lpDataBuf = new char[static_cast<size_t>(size) + 1];
    m_ulDataSize = std::fread(m_lpDataBuf, 1, static_cast<size_t>(size), file.get());
    m_lpDataBuf[m_ulDataSize] = '\0';
    if (m_ulDataSize == 0) {
        Clear();
        return 0;
    }
    Index();
    return 1;
}

// One pass over the bytes. For each byte the first rule that applies ends its treatment.
void CIniFile::Index() {
    IniLine* line = m_lpLink = new IniLine;
    const char* const end = m_lpDataBuf + m_ulDataSize;
    bool returnSeen = false;
    int blanks = 0;  // directly before the byte, within a key
    for (const char* p = m_lpDataBuf; p != end; ++p) {
        const char c = *p;
        if (!IsBlank(c) && line->begin == nullptr) {
            line->begin = p;
        } else if (c == ']' && line->begin != nullptr && line->IsSection()) {
            line->nameEnd = p;  // the last one of the line counts
        } else if (!IsBlank(c) && line->nameEnd != nullptr && line->valueBegin == nullptr) {
            line->valueBegin = p;
        } else if (line->begin != nullptr && !line->IsSection() && line->nameEnd == nullptr) {
            if (c == '=') line->nameEnd = p - blanks;
            blanks = IsBlank(c) ? blanks + 1 : 0;
        }

        if (c == '\r') returnSeen = true;
        if (c != '\n') continue;
        EndLine(line, p - (returnSeen ? 1 : 0));
        line = line->next = new IniLine;
        ++m_iLineCount;
        returnSeen = false;
    }
    if (line->begin == nullptr)
        line->begin = line->nameEnd = end;
    else
        EndLine(line, end - (returnSeen ? 1 : 0));
}

// Closes a line's name or value.
void CIniFile::EndLine(IniLine* line, const char* lineEnd) {
    if (line->nameEnd == nullptr) {
        line->nameEnd = lineEnd;  // no ']' or no '='
    } else {
        line->valueEnd = lineEnd;
        if (line->valueBegin == nullptr) line->valueBegin = lineEnd;
    }
}

const CIniFile::IniLine* CIniFile::NextSection(const IniLine* line) {
    while (line != nullptr && !line->IsSection())
        line = line->next;
    return line;
}

// Only the first section of a name counts.
const CIniFile::IniLine* CIniFile::FindSection(const char* section) const {
    const IniLine* line = NextSection(m_lpLink);
    while (line != nullptr && !line->Named(section))
        line = NextSection(line->next);
    return line;
}

const CIniFile::IniLine* CIniFile::FindKey(const IniLine* section, const char* key,
                                           bool withValue) const {
    for (const IniLine* line = section->next; line != nullptr && !line->IsSection();
         line = line->next) {
        if ((!withValue || line->valueBegin != nullptr) && line->Named(key)) return line;
    }
    return nullptr;
}

std::vector<IniEntry> CIniFile::Entries() const {
    std::vector<IniEntry> entries;
    int number = 0;
    for (const IniLine* line = m_lpLink; line != nullptr; line = line->next) {
        ++number;
        if (!line->IsSection() && line->NameLength() == 0) continue;
        IniEntry entry{number, line->IsSection(), line->IsSection() && *line->nameEnd == ']',
                       std::string(line->Name(), line->NameLength()), std::nullopt};
        if (line->valueBegin != nullptr) {
            entry.value = std::string(line->valueBegin, line->ValueLength());
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

int CIniFile::GetValueStr(const char* section, const char* key, char* buf, int size) const {
    if (section == nullptr || key == nullptr) return Missing(buf, size);
    const IniLine* header = FindSection(section);
    const IniLine* line = header ? FindKey(header, key, true) : nullptr;
    if (line == nullptr) return Missing(buf, size);
    const int length = static_cast<int>(line->ValueLength());
    if (buf != nullptr && size > length) {
        std::memcpy(buf, line->valueBegin, static_cast<size_t>(length));
        buf[length] = '\0';
    }
    return length + 1;
}

int CIniFile::GetValueInt(const char* section, const char* key, int defaultValue) const {
    const int size = GetValueStr(section, key, nullptr, 0);
    if (size == 0) return defaultValue;
    std::string value(static_cast<size_t>(size), '\0');
    GetValueStr(section, key, value.data(), size);
    // What atoi does, yet defined for numbers that are too long.
    return static_cast<int>(std::strtol(value.c_str(), nullptr, 10));
}
