// Files of a test's own, which go away with it.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ostringstream text;  // not letter by letter: lobbies write logs of many megabytes
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(text).str();
}
inline void WriteFile(const std::filesystem::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
}
inline bool Has(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}
// How often; the finds may overlap.
inline size_t Count(std::string_view text, std::string_view part) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; ++at)
        ++count;
    return count;
}

class TempFolder {
  public:
    TempFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "lobbyXXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary folder");
        m_path = path;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return m_path / name;
    }
    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

// The process works in it while it lives.
class WorkingFolder : public TempFolder {
  public:
    WorkingFolder() { std::filesystem::current_path(Path()); }
    ~WorkingFolder() { std::filesystem::current_path(m_before); }

  private:
    const std::filesystem::path m_before = std::filesystem::current_path();
};

// A file of given content.
class TempFile {
  public:
    explicit TempFile(std::string_view content) : m_path(m_folder / "file") {
        WriteFile(m_path, content);
    }
    const char* Path() const { return m_path.c_str(); }

  private:
    const TempFolder m_folder;
    const std::string m_path;
};
