// Any configuration file, read and rewritten by any sequence of operations.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "Common/IniFile.h"
#include "FuzzInput.h"

namespace {

// A file in memory that has a path.
class MemoryFile {
  public:
    explicit MemoryFile(std::string_view content) : m_fd(memfd_create("fuzz.cfg", MFD_CLOEXEC)) {
        Require(write(m_fd, content.data(), content.size()) == std::ssize(content), "memory file");
        m_path = "/proc/self/fd/" + std::to_string(m_fd);
    }
    ~MemoryFile() { close(m_fd); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    const char* Path() const { return m_path.c_str(); }
    std::string Content() const {
        struct stat info {};
        Require(fstat(m_fd, &info) == 0, "memory file");
        std::string bytes(static_cast<size_t>(info.st_size), '\0');
        Require(pread(m_fd, bytes.data(), bytes.size(), 0) == std::ssize(bytes), "memory file");
        return bytes;
    }

  private:
    int m_fd;
    std::string m_path;
};

// A name that stands for itself: no line end, nothing that is trimmed or splits.
bool IsPlain(const std::string& name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return c > ' ' && c != '[' && c != ']' && c != '=';
    });
}

// The value as the two-step call gives it: ask for the size, then read into exactly that.
bool Read(const CIniFile& file, const std::string& section, const std::string& key,
          std::string& value) {
    const int size = file.GetValueStr(section.c_str(), key.c_str(), nullptr, 0);
    if (size == 0) return false;
    const std::unique_ptr<char[]> exact(new char[static_cast<size_t>(size)]);
    Require(file.GetValueStr(section.c_str(), key.c_str(), exact.get(), size) == size,
            "the size asked for is the size needed");
    value.assign(exact.get(), static_cast<size_t>(size - 1));
    Require(exact[static_cast<size_t>(size - 1)] == '\0', "a value is terminated");
    return true;
}

void Names(const CIniFile& file, const std::string& section, int size) {
    const std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(size) + 1]);
    file.GetSectionNames(buffer.get(), size);
    file.GetKeyNames(section.c_str(), buffer.get(), size);
    const int needed = file.GetSectionNames(nullptr, 0);
    if (needed == 0) return;
    const std::unique_ptr<char[]> whole(new char[static_cast<size_t>(needed)]);
    Require(file.GetSectionNames(whole.get(), needed) == needed &&
                whole[static_cast<size_t>(needed - 1)] == '\0',
            "the list of names fits the size asked for");
}

// A return within a line, which takes the line's last byte for that of its end: a value set there
// keeps that byte behind it.
bool HasLoneReturn(const std::string& bytes) {
    for (size_t at = 0; (at = bytes.find('\r', at)) != std::string::npos; ++at) {
        if (bytes.compare(at, 2, "\r\n") != 0) return true;
    }
    return false;
}

void Set(CIniFile& file, const MemoryFile& source, const std::string& section,
         const std::string& key, const std::string& value, bool spaced) {
    const bool isOdd = HasLoneReturn(source.Content());
    if (file.SetValueStr(section.c_str(), key.c_str(), value.c_str(), spaced) == 0) return;
    if (isOdd) return;
    // Without "=" between the two, the value is given with it.
    const std::string given = value.starts_with('=') ? value.substr(1) : value;
    if (!IsPlain(section) || !IsPlain(key) || !IsPlain(given) || spaced == (given != value)) return;
    std::string now;
    Require(Read(file, section, key, now) && now == given, "a value that was set is read back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    const MemoryFile source(input.Bytes(input.Word() % 4096u));
    CIniFile file(source.Path());
    for (int step = 0; step < 32 && !input.Empty(); ++step) {
        const uint8_t what = input.Byte();
        const std::string section = input.Text(), key = input.Text();
        std::string value;
        switch (what % 8) {
            case 0:
            case 1:
                Read(file, section, key, value);
                break;
            case 2:
                file.GetValueInt(section.c_str(), key.c_str(), 7);
                break;
            case 3:
                Names(file, section, input.Byte());
                break;
            case 4:
                Set(file, source, section, key, input.Text(), what >= 128);
                break;
            case 5:
                file.DeleteSection(section.c_str());
                break;
            case 6:
                file.DeleteKey(section.c_str(), key.c_str());
                break;
            default:
                file.SetValueInt(section.c_str(), key.c_str(), input.Word());
                break;
        }
    }
    return 0;
}
