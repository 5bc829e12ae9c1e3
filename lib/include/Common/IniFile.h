// Public header: INI configuration files.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// One line of an INI file as the look-ups understand it.
struct IniEntry {
    int line;  // from 1
    bool section;
    bool closed;                       // of a section line: the bracket's end is there
    std::string name;                  // as it is spelled
    std::optional<std::string> value;  // behind '='; of a section line, what follows the bracket
};

// Reads a small INI file into memory, indexes it by line and answers look-ups by section and key
// (both without regard to ASCII case; the first section and the first key of a name win). Owns
// the file's bytes and the line index. Thread: one at a time, no locks inside.
//
// What a line means: leading blanks are skipped; "[name]" (the bracket's end may be missing) opens
// a section; anything else is a key line, split at its first '='. Blanks after a key are dropped,
// those after a value are kept. There are no comments and no quoting: "; x = 1" is the key "; x".
//
// The content is that of the last InitFile; nothing watches the file.
class CIniFile {
  public:
    CIniFile() = default;
    explicit CIniFile(const char* path);
    virtual ~CIniFile();
    CIniFile(const CIniFile&) = delete;
    CIniFile& operator=(const CIniFile&) = delete;

    // 1 on success; 0 for a null path or a file that cannot be opened (earlier content stays) or
    // is empty (the object is then empty). The path is kept, at most 259 characters of it, for
    // the operations that write.
    int InitFile(const char* path);
    // Line feeds in the file: a last line without one does not count.
    int GetLineCount() const { return m_iLineCount; }

    // Length of the value plus 1, or 0 when there is none (buf is then emptied). Copies the value
    // with its terminator only when it fits whole, and nothing at all otherwise; a null buffer or
    // size 0 asks for the size.
    int GetValueStr(const char* section, const char* key, char* buf, int size) const;
    // The value by atoi's rules, so 0 for an empty one; defaultValue only when the key is absent.
    int GetValueInt(const char* section, const char* key, int defaultValue) const;

    // The operations below rewrite the file from memory and read it again. 1 on success; 0
    // without a path, for a null argument or when the file cannot be written.
    //
    // Replaces the value of an existing key, or adds the key at the end of its section, or the
    // section at the end of the file. spaced puts " = " between key and value, otherwise nothing
    // stands there. A negative length measures the value; a null value is empty. Blanks ahead of
    // the file's first line are lost.
    int SetValueStr(const char* section, const char* key, const char* value, bool spaced,
                    int length = -1);
    int SetValueInt(const char* section, const char* key, int value);
    // The section's lines go, line ends included, up to the next section. 0 when there is none.
    int DeleteSection(const char* section);
    // The key's line goes. Odd but relied upon: an absent key also gives 1 when another section
    // follows its section.
    int DeleteKey(const char* section, const char* key);

    // Names as NUL-terminated strings followed by one extra NUL. The result is the size needed,
    // 0 when there are no names; names that do not fit, and all after them, are left out.
    // GetKeyNames lists lines without '=' as well.
    int GetSectionNames(char* buf, int size) const;
    int GetKeyNames(const char* section, char* buf, int size) const;

    // All lines but the empty ones, in order, for tools that look at a whole file.
    std::vector<IniEntry> Entries() const;

  private:
    struct IniLine;
    class NameList;

    void Clear();
    void Index();
    static void EndLine(IniLine* line, const char* lineEnd);
    const IniLine* FindSection(const char* section) const;
    const IniLine* FindKey(const IniLine* section, const char* key, bool withValue) const;
    static const IniLine* NextSection(const IniLine* line);
    const char* LineStart(const IniLine* line) const;
    int Rewrite(const std::string& content);

    char* m_lpDataBuf = nullptr;  // the file's bytes, and one zero behind them
    char m_szFileName[260] = {};
    int m_iLineCount = 0;
    IniLine* m_lpLink = nullptr;  // first line record
    size_t m_ulDataSize = 0;
};
