#include "VipTables.h"

#include "Common/WorkerThread.h"

int VipTables::Level(int value) {
    AssertWorker();
    auto& levels = m_mapConfigVipLevel;
    // Past the largest level nothing can follow; with levels below 1 in the table the number of
    // entries would stay ahead of i for ever.
    const int last = levels.empty() ? 0 : levels.rbegin()->first;
    for (int i = 1; i <= last && static_cast<size_t>(i) <= levels.size(); ++i) {
        if (value < levels[i]) return i - 1;
    }
    return 0;
}
