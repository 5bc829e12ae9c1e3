// A file of given content that goes away with the object.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

class TempFile {
  public:
    explicit TempFile(const std::string& content) {
        m_path = testing::TempDir() + "lobby-base-XXXXXX";
        close(mkstemp(m_path.data()));
        Write(content);
    }
    ~TempFile() { unlink(m_path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    void Write(const std::string& content) { std::ofstream(m_path, std::ios::binary) << content; }
    const char* Path() const { return m_path.c_str(); }

  private:
    std::string m_path;
};

inline std::string ReadFile(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}
