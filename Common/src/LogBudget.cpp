#include "Common/LogBudget.h"

#include <algorithm>

void LogBudget::SetMost(int lines) {
    const LockGuard guard(m_lock);
    m_iMost = lines;
    m_tmSecond = 0;
    m_iWritten = 0;
    m_arrLeftOut = {};
    m_bLeftOut = false;
}

bool LogBudget::Admit(int level, time_t now) {
    const int most = m_iMost.load(std::memory_order_relaxed);
    if (most <= 0) return true;
    const LockGuard guard(m_lock);
    if (m_tmSecond != now) m_iWritten = 0;  // a clock that was set back begins a second, too
    m_tmSecond = now;
    if (m_iWritten < most) {
        ++m_iWritten;
        return true;
    }
    ++m_arrLeftOut[static_cast<size_t>(std::clamp(level, 0, kLevels - 1))];
    m_bLeftOut = true;
    return false;
}

void LogBudget::Charge(size_t bytes) {
    if (m_iMost.load(std::memory_order_relaxed) <= 0 || bytes < kUnit) return;
    const LockGuard guard(m_lock);
    m_iWritten += static_cast<int>(bytes / kUnit);
}

bool LogBudget::Collect(time_t now, LeftOut& leftOut) {
    if (!m_bLeftOut.load(std::memory_order_relaxed)) return false;
    const LockGuard guard(m_lock);
    if (!m_bLeftOut || m_tmSecond == now) return false;
    leftOut = m_arrLeftOut;
    m_arrLeftOut = {};
    m_bLeftOut = false;
    return true;
}
