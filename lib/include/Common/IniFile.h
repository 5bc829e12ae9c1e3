// Public header: INI configuration files.
#pragma once

// Reads a small INI file into memory, indexes it by line and answers look-ups by section and key
// (both without regard to ASCII case). Owns the file's bytes and the line index. One thread at a
// time.
class CIniFile {
  public:
    CIniFile() = default;
    explicit CIniFile(const char* path);
    virtual ~CIniFile();
    CIniFile(const CIniFile&) = delete;
    CIniFile& operator=(const CIniFile&) = delete;

    // 1 on success; 0 for a null path or a file that cannot be opened (earlier content stays) or
    // is empty (the object is then empty).
    int InitFile(const char* path);
    int GetLineCount() const { return m_iLineCount; }

    // Length of the value plus 1, or 0 when there is none. Copies the value with its terminator
    // only when it fits whole; a null buffer or size 0 asks for the size.
    int GetValueStr(const char* section, const char* key, char* buf, int size) const;
    // The value by atoi's rules; defaultValue only when the key is absent.
    int GetValueInt(const char* section, const char* key, int defaultValue) const;

    // The operations below rewrite the file and read it again. 1 on success, 0 otherwise.
    int SetValueStr(const char* section, const char* key, const char* value, bool spaced,
                    int length = -1);
    int SetValueInt(const char* section, const char* key, int value);
    int DeleteSection(const char* section);
    int DeleteKey(const char* section, const char* key);

    // Names as NUL-terminated strings followed by one extra NUL; the result is the size needed.
    int GetSectionNames(char* buf, int size) const;
    int GetKeyNames(const char* section, char* buf, int size) const;

  private:
    struct IniLine;

    char* m_lpDataBuf = nullptr;
    char m_szFileName[260] = {};
    int m_iLineCount = 0;
    IniLine* m_lpLink = nullptr;
};
