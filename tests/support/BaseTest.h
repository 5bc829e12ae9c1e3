// What several tests of the base libraries need.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "Common/Thread.h"

// A file of given content that goes away with the object.
class TempFile {
  public:
    explicit TempFile(const std::string& content) {
        m_path = testing::TempDir() + "lobby-base-XXXXXX";
        close(mkstemp(m_path.data()));
        std::ofstream(m_path, std::ios::binary) << content;
    }
    ~TempFile() { unlink(m_path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const char* Path() const { return m_path.c_str(); }

  private:
    std::string m_path;
};

inline std::string ReadFile(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// What the call prints on standard output.
template <class Call>
std::string Printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

// Runs it on framework threads, whose stack is small, at the same time.
template <class Work>
void OnThreads(int count, Work work) {
    struct Call {
        Work& work;
        CEvent done;
    } call{work, {}};
    call.done.Init(false, false);
    const auto routine = [](void* argument) -> void* {
        auto* self = static_cast<Call*>(argument);
        self->work();
        self->done.Set();
        return nullptr;
    };
    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(CreateThread(nullptr, 1 << 20, routine, &call));  // the size is ignored
    for (int i = 0; i < count; ++i)
        call.done.Wait();
}
