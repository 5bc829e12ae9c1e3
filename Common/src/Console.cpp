#include "Console.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "Common/Log.h"

namespace {

// A burst is to fit: what a reader takes late is not lost.
constexpr int kPipeSize = 1 << 20;

ssize_t WriteCookie(void* cookie, const char* text, size_t size) {
    static_cast<Console*>(cookie)->Write(text, size);
    return static_cast<ssize_t>(size);  // what was dropped is no error of the stream
}

// So much of the text as belongs together: whole lines, if one piece holds any.
size_t FirstPiece(std::string_view text, size_t most) {
    if (text.size() <= most) return text.size();
    const size_t end = text.rfind('\n', most - 1);
    return end == std::string_view::npos ? most : end + 1;
}

}  // namespace

Console::~Console() {
    if (m_iOwn >= 0) ::close(m_iOwn);
}

void Console::Become(FILE*& stream) {
    FILE* own = ::fopencookie(this, "w", {nullptr, WriteCookie, nullptr, nullptr});
    if (own == nullptr) return;
    const bool lines = m_iDescriptor == STDERR_FILENO || ::isatty(m_iDescriptor) == 1;
    std::setvbuf(own, nullptr, lines ? _IOLBF : _IOFBF, BUFSIZ);
    std::fflush(stream);
    stream = own;
}

void Console::Write(const char* text, size_t size) {
    const LockGuard guard(m_lock);
    Look();
    while (size > 0) {
        const size_t piece = FirstPiece({text, size}, kPiece);
        if (!Put(text, piece)) return Drop(text, size);
        text += piece;
        size -= piece;
    }
}

// What the descriptor is, if that has changed.
void Console::Look() {
    struct stat now {};
    if (::fstat(m_iDescriptor, &now) != 0) return;
    if (now.st_dev == m_what.st_dev && now.st_ino == m_what.st_ino) return;
    m_what = now;
    m_ulRest = 0;
    if (m_iOwn >= 0) ::close(m_iOwn);
    m_iOwn = -1;
    m_bMayWait = S_ISFIFO(now.st_mode) || ::isatty(m_iDescriptor) == 1;
    if (!m_bMayWait) return;
    char path[32];
    std::snprintf(path, sizeof(path), "/proc/self/fd/%d", m_iDescriptor);
    m_iOwn = ::open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (S_ISFIFO(now.st_mode)) ::fcntl(m_iDescriptor, F_SETPIPE_SZ, kPipeSize);
}

bool Console::Put(const char* text, size_t size) {
    if (!PutRest()) return false;
    if (m_ulDropped > 0) {
        char note[80];
        const int length = std::snprintf(
            note, sizeof(note), "[%zu] lines were not taken by the console\r\n", m_ulDropped);
        if (!PutFirst(note, static_cast<size_t>(length))) return false;
        m_ulDropped = 0;
        if (m_ulRest > 0) return false;
    }
    return PutFirst(text, size);
}

// With nothing left over before it.
bool Console::PutFirst(const char* text, size_t size) {
    const ssize_t taken = Try(text, size);
    if (taken < 0) return false;
    m_ulRest = size - static_cast<size_t>(taken);
    std::memcpy(m_szRest, text + taken, m_ulRest);
    return true;
}

bool Console::PutRest() {
    if (m_ulRest == 0) return true;
    const ssize_t taken = Try(m_szRest, m_ulRest);
    if (taken <= 0) return false;
    m_ulRest -= static_cast<size_t>(taken);
    std::memmove(m_szRest, m_szRest + taken, m_ulRest);
    return m_ulRest == 0;
}

ssize_t Console::Try(const char* text, size_t size) const {
    if (S_ISSOCK(m_what.st_mode)) {
        return ::send(m_iDescriptor, text, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    if (m_iOwn < 0 && m_bMayWait) {  // somebody else's: a pipe that is ready has room for a piece
        pollfd ready{m_iDescriptor, POLLOUT, 0};
        if (::poll(&ready, 1, 0) != 1) return -1;
    }
    return ::write(m_iOwn >= 0 ? m_iOwn : m_iDescriptor, text, size);
}

void Console::Drop(const char* text, size_t size) {
    const auto lines = static_cast<size_t>(std::count(text, text + size, '\n'));
    m_ulDropped += lines;
    g_ConsoleDropped.Add(lines);
}

void UnblockConsole() {
    static auto& out = *new Console(STDOUT_FILENO);
    static auto& error = *new Console(STDERR_FILENO);
    out.Become(stdout);
    error.Become(stderr);
}
