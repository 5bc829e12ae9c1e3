// The log file: opening, roll-over, writing.
#include "Common/LogCls.h"

#include <unistd.h>

#include <cstring>

#include "Common/Clock.h"
#include "Common/Thread.h"
#include "LogVariant.h"

tm LocalDate(time_t time) {
    tm date{};
    localtime_r(&time, &date);
    date.tm_year += 1900;
    date.tm_mon += 1;
    return date;
}

CLogCls::Variant::~Variant() {
    Close();
}

void CLogCls::Variant::FreeList(ListNode*& list) {
    while (list != nullptr) {
        ListNode* next = list->lpNext;
        delete list;
        list = next;
    }
}

bool CLogCls::Variant::Open(const char* path, bool deleteExisting) {
    std::snprintf(m_pfn, sizeof(m_pfn), "%s", path);
    m_lLength = static_cast<long>(std::strlen(m_pfn));
    // The dots of "./" and of directories are no extension.
    const char* slash = std::strrchr(m_pfn, '/');
    const char* dot = std::strrchr(slash ? slash : m_pfn, '.');
    m_lPos = dot ? dot - m_pfn : 0;
    if (deleteExisting) unlink(m_pfn);
    m_pf = std::fopen(m_pfn, "a+b");
    return m_pf != nullptr;
}

void CLogCls::Variant::Close() {
    if (m_pf != nullptr && m_pf != stdout) std::fclose(m_pf);
    m_pf = nullptr;
    FreeList(m_write);
    FreeList(m_read);
    m_tail = nullptr;
    const LockGuard guard(m_hLQ);
    FreeList(m_free);
}

// Renames the file to the date of its lines and begins a new one; a file of that date that is there
// makes way. Lines go to standard output where no new file can be opened.
void CLogCls::Variant::RollOver(const tm& now) {
    if (!m_bDay || now.tm_mday == m_tmToday.tm_mday) return;
    char date[16];
    char rotated[sizeof(m_pfn) + sizeof(date)];
    std::snprintf(date, sizeof(date), "%04d%02d%02d", m_tmToday.tm_year % 10000,
                  m_tmToday.tm_mon % 100, m_tmToday.tm_mday % 100);
    const int base = static_cast<int>(m_lPos > 0 ? m_lPos : m_lLength);
    std::snprintf(rotated, sizeof(rotated), "%.*s%s%s", base, m_pfn, date, m_pfn + base);
    unlink(rotated);
    std::rename(m_pfn, rotated);
    if (m_pf != stdout) std::fclose(m_pf);
    m_pf = std::fopen(m_pfn, "a+b");
    if (m_pf == nullptr) m_pf = stdout;
    m_tmToday = now;
}

// A full disk shows only in the lines that are missing: nothing here waits or gives up.
void CLogCls::Variant::WriteLine(const tm& when, const char* text, long length) {
    if (!m_bStamped) {
        std::fwrite(text, 1, static_cast<size_t>(length), m_pf);
        std::fputc('\n', m_pf);
        return;
    }
    std::fprintf(m_pf, "%04d-%02d-%02d %02d:%02d:%02d ", when.tm_year, when.tm_mon, when.tm_mday,
                 when.tm_hour, when.tm_min, when.tm_sec);
    std::fwrite(text, 1, static_cast<size_t>(length), m_pf);
    std::fwrite("\r\n", 1, 2, m_pf);
}

CLogCls::CLogCls(const char* path, bool deleteExisting, bool threaded, bool daily) {
    InitLog(path, deleteExisting, threaded, daily);
}

CLogCls::~CLogCls() {
    CloseLog();
    delete m_pv.load();
}

bool CLogCls::InitLog(const char* path, bool deleteExisting, bool threaded, bool daily,
                      bool stamped) {
    if (m_pv == nullptr) m_pv = new Variant;
    Variant& state = *m_pv;
    const LockGuard guard(state.m_hWR);
    if (state.m_bInit) return false;
    const bool opened = path != nullptr && state.Open(path, deleteExisting);
    state.m_bThread = threaded;
    state.m_bDelExist = deleteExisting;
    state.m_bDay = daily;
    state.m_bStamped = stamped;
    state.m_bExit = false;
    if (daily) state.m_tmToday = LocalDate(ClockNow());
    if (opened) {
        state.m_bInit = true;
        if (threaded && !CreateThread(nullptr, 0, &CLogCls::LogThread, &state))
            state.m_bThread = false;  // no thread to be had: the callers write
    }
    return opened;
}

// In threaded mode the writer empties its queue first, and says by m_bInit that it has ended.
void CLogCls::CloseLog() {
    Variant* state = m_pv;
    if (state == nullptr) return;
    state->m_bExit = true;
    while (state->m_bThread && state->m_bInit)
        usleep(1);
    const LockGuard guard(state->m_hWR);
    state->m_bInit = false;
    state->Close();
}

void CLogCls::_log(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    _log_1(format, arguments);
    va_end(arguments);
}

void CLogCls::_log_1(const char* format, va_list arguments) {
    char text[1024];
    if (std::vsnprintf(text, sizeof(text), format, arguments) >= 0) _log_2(text, -1);
}

void CLogCls::_log_2(const char* text, long length) {
    Variant* state = m_pv;
    if (text == nullptr || state == nullptr || !state->m_bInit || state->m_bExit) return;
    if (length < 0) length = static_cast<long>(std::strlen(text));
    const LockGuard guard(state->m_hWR);
    if (!state->m_bInit || state->m_bExit) return;  // closed while this thread waited
    if (state->m_bThread) {
        state->Enqueue(text, length);
        return;
    }
    const tm now = LocalDate(ClockNow());
    state->RollOver(now);
    state->WriteLine(now, text, length);
    std::fflush(state->m_pf);
}
