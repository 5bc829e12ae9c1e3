// Writing back, and lists of names.
#include <cstdio>
#include <cstring>
#include <string>

#include "Common/IniFile.h"
#include "IniLine.h"

// Collects names in a buffer of fixed size and counts what all of them need.
class CIniFile::NameList {
  public:
    NameList(char* buf, int size) : m_buf(buf), m_size(buf && size > 0 ? size : 0) {}

    void Add(const char* name, size_t nameLength) {
        const int length = static_cast<int>(nameLength) + 1;
        if (m_fits && m_size - m_needed > length) {
            std::memcpy(m_buf + m_needed, name, nameLength);
            m_buf[m_needed + length - 1] = '\0';
            m_copied = m_needed + length;
        } else {
            m_fits = false;
        }
        m_needed += length;
    }

    // The closing NUL stands behind the last name that was copied, never outside the buffer.
    int Close() {
        if (m_size > 0) m_buf[m_copied] = '\0';
        return m_needed == 0 ? 0 : m_needed + 1;
    }

  private:
    char* m_buf;
    int m_size;
    int m_needed = 0;
    int m_copied = 0;
    bool m_fits = true;
};

// First byte of the line in the file, leading blanks included.
const char* CIniFile::LineStart(const IniLine* line) const {
    const char* start = line->begin;
    while (start != m_lpDataBuf && start[-1] != '\n')
        --start;
    return start;
}

int CIniFile::Rewrite(const std::string& content) {
    std::FILE* file = std::fopen(m_szFileName, "wb");
    if (file == nullptr) return 0;
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    if (std::fclose(file) != 0 || !written) return 0;
    InitFile(m_szFileName);
    return 1;
}

int CIniFile::SetValueStr(const char* section, const char* key, const char* value, bool spaced,
                          int length) {
    if (m_szFileName[0] == '\0' || section == nullptr || key == nullptr) return 0;
    const std::string text = value == nullptr ? std::string()
                             : length < 0     ? std::string(value)
                                              : std::string(value, static_cast<size_t>(length));
    const std::string entry = std::string(spaced ? " = " : "").append(text);
    const char* const first = m_lpLink ? m_lpLink->begin : nullptr;
    const char* const end = m_lpDataBuf + m_ulDataSize;
    const IniLine* header = FindSection(section);
    const IniLine* line = header ? FindKey(header, key, false) : nullptr;
    const IniLine* following = header ? NextSection(header->next) : nullptr;

    if (line != nullptr) {
        const char* rest = line->valueBegin ? line->valueBegin + line->ValueLength()
                                            : line->begin + line->NameLength();
        const char* name = line->begin + line->NameLength();
        return Rewrite(std::string(first, name) + entry + std::string(rest, end));
    }
    if (following != nullptr) {
        const char* at = LineStart(following);
        return Rewrite(std::string(first, at) + key + entry + "\r\n" + std::string(at, end));
    }
    std::string content(first, end);
    if (!content.empty() && content.back() != '\n') content += "\r\n";
    if (header == nullptr) content.append("[").append(section).append("]\r\n");
    return Rewrite(content + key + entry);
}

int CIniFile::SetValueInt(const char* section, const char* key, int value) {
    return SetValueStr(section, key, std::to_string(value).c_str(), true, -1);
}

int CIniFile::DeleteSection(const char* section) {
    if (m_szFileName[0] == '\0' || section == nullptr) return 0;
    const IniLine* header = FindSection(section);
    if (header == nullptr) return 0;
    const char* const begin = m_lpDataBuf;
    const char* const end = begin + m_ulDataSize;
    const IniLine* following = NextSection(header->next);
    return Rewrite(std::string(begin, LineStart(header)) +
                   std::string(following ? LineStart(following) : end, end));
}

int CIniFile::DeleteKey(const char* section, const char* key) {
    if (m_szFileName[0] == '\0' || section == nullptr || key == nullptr) return 0;
    const IniLine* header = FindSection(section);
    if (header == nullptr) return 0;
    const IniLine* line = FindKey(header, key, false);
    if (line == nullptr && NextSection(header->next) == nullptr) return 0;
    const char* const begin = m_lpDataBuf;
    const char* const end = begin + m_ulDataSize;
    std::string content(begin, end);
    if (line != nullptr) {
        const char* from = LineStart(line);
        const char* to = line->next ? LineStart(line->next) : end;
        content.erase(static_cast<size_t>(from - begin), static_cast<size_t>(to - from));
    }
    return Rewrite(content);
}

int CIniFile::GetSectionNames(char* buf, int size) const {
    NameList names(buf, size);
    for (const IniLine* line = NextSection(m_lpLink); line != nullptr;
         line = NextSection(line->next))
        names.Add(line->Name(), line->NameLength());
    return names.Close();
}

int CIniFile::GetKeyNames(const char* section, char* buf, int size) const {
    NameList names(buf, size);
    const IniLine* header = section ? FindSection(section) : nullptr;
    for (const IniLine* line = header ? header->next : nullptr;
         line != nullptr && !line->IsSection(); line = line->next) {
        if (line->NameLength() > 0) names.Add(line->begin, line->NameLength());
    }
    return names.Close();
}
