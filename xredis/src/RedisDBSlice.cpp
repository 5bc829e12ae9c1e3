// A connection's way: it lies in its list, a command borrows it, and it comes back with what became
// of it. One that was lost is passed over until Keepalive has connected it anew; one on which
// nothing came in time, or the last that is lost, takes the whole list out of use, so that the
// callers behind it fail at once and do not wait for a time-out each. Only a
// connection that was opened, or an answered ping, puts a list into use.
#include "RedisDBSlice.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Common/Log.h"
#include "xredis/RedisMetrics.h"

namespace {

constexpr unsigned int kStatusOpened = 1;
constexpr unsigned int kStatusExhausted = 2;

}  // namespace

size_t RedisConnList::Count(bool usable) const {
    return static_cast<size_t>(std::count_if(
        idle.begin(), idle.end(), [usable](const auto& conn) { return conn->Usable() == usable; }));
}

RedisConnPtr RedisConnList::Take(bool usable) {
    const auto found = std::find_if(
        idle.begin(), idle.end(), [usable](const auto& conn) { return conn->Usable() == usable; });
    if (found == idle.end()) return nullptr;
    RedisConnPtr conn = std::move(*found);
    idle.erase(found);
    return conn;
}

bool RedisDBSlice::AddNode(const RedisNode& node, bool connect, const std::atomic<bool>& cancelled,
                           RedisConnectError* error) {
    RedisConnList* list = &mSliceConn.RedisMasterConn;
    unsigned int slaveIdx = 0;
    if (node.role != 0) {
        const LockGuard lock(mSliceConn.SlaveLock);
        slaveIdx = static_cast<unsigned int>(mSliceConn.RedisSlaveConn.size());
        list = &mSliceConn.RedisSlaveConn.emplace_back(mSliceConn.SlaveLock);
        mHaveSlave = true;
    }

    bool opened = false;
    for (unsigned int i = 0; i < node.poolsize; ++i) {
        auto conn = std::make_unique<RedisConn>(node, mType, slaveIdx);
        const bool tried = connect;
        connect = connect && conn->Connect(cancelled);
        opened = opened || connect;
        if (tried && !opened && error != nullptr) *error = conn->Error();
        Add(*list, std::move(conn));
    }
    return opened;
}

void RedisDBSlice::Add(RedisConnList& list, RedisConnPtr conn) {
    const LockGuard lock(list.lock);
    if (conn->Usable()) {
        list.alive = true;
        if (auto* metrics = g_RedisMetrics.Get()) metrics->up = true;
        mStatus = kStatusOpened;
    }
    list.idle.push_back(std::move(conn));
}

RedisConnList* RedisDBSlice::SlaveAt(size_t number) {
    const LockGuard lock(mSliceConn.SlaveLock);
    auto& slaves = mSliceConn.RedisSlaveConn;
    return slaves.empty() ? nullptr : &slaves[number % slaves.size()];
}

RedisConnPtr RedisDBSlice::TakeFrom(RedisConnList& list) {
    WaitLock lock(list.lock);
    const auto ready = [&list]() NEEDS_LOCK(list.lock) {
        return !list.alive || list.pinged == 0 || list.Count(true) > 0;
    };
    list.returned.wait_for(lock, std::chrono::milliseconds(kRedisCommandTimeoutMs), ready);
    RedisConnPtr conn;
    while (list.alive && (conn = list.Take(true)) && !conn->StillOpen()) {
        mAiling = true;
        const RedisConn& lost = *list.idle.emplace_back(std::move(conn));
        list.alive = !list.AllLost();
        if (!list.alive) LogAlive(lost, false);
    }
    if (conn) ++list.lent;
    return conn;
}

RedisConnPtr RedisDBSlice::GetConn(unsigned int ioType) {
    if (ioType > 1) return nullptr;
    if (ioType == 1 && mHaveSlave) {
        return TakeFrom(*SlaveAt(static_cast<size_t>(std::rand())));
    }
    RedisConnPtr conn = TakeFrom(mSliceConn.RedisMasterConn);
    if (!conn) mStatus = kStatusExhausted;
    return conn;
}

void RedisDBSlice::FreeConn(RedisConnPtr conn, RedisOutcome outcome) {
    const RedisConn& returned = *conn;  // stays in the list for good
    bool died = false;
    {
        RedisConnList& list =
            conn->IsSlave() ? *SlaveAt(conn->SlaveIdx()) : mSliceConn.RedisMasterConn;
        const LockGuard lock(list.lock);
        list.idle.push_back(std::move(conn));
        --list.lent;
        const bool away =
            outcome == RedisOutcome::TimedOut || (outcome == RedisOutcome::Lost && list.AllLost());
        if (away) died = std::exchange(list.alive, false);
        list.returned.notify_one();
    }
    if (outcome != RedisOutcome::Answered) mAiling = true;
    if (died) LogAlive(returned, false);
}

void RedisDBSlice::Keepalive() {
    KeepaliveList(mSliceConn.RedisMasterConn);
    size_t slaves = 0;
    {
        const LockGuard lock(mSliceConn.SlaveLock);
        slaves = mSliceConn.RedisSlaveConn.size();
    }
    for (size_t i = 0; i < slaves; ++i)
        KeepaliveList(*SlaveAt(i));
}

void RedisDBSlice::KeepaliveList(RedisConnList& list) {
    size_t usable = 0;
    size_t broken = 0;
    {
        const LockGuard lock(list.lock);
        usable = list.Count(true);
        broken = list.Count(false);
    }
    bool answered = false;
    for (; usable > 0; --usable) {
        if (!RefreshOne(list, true, answered)) return;
    }
    for (; broken > 0; --broken) {
        if (!RefreshOne(list, false, answered)) return;
    }
}

// The connection is out of the list meanwhile: a ping may take as long as a command, and no lock is
// held over it.
bool RedisDBSlice::RefreshOne(RedisConnList& list, bool usable, bool& answered) {
    RedisConnPtr conn;
    {
        const LockGuard lock(list.lock);
        conn = list.Take(usable);
        if (!conn) return true;  // lent since
        ++list.pinged;
    }
    const RedisConn& refreshed = *conn;
    const bool up = conn->Refresh();
    answered = answered || up;

    bool alive = false;
    bool changed = false;
    {
        const LockGuard lock(list.lock);
        --list.pinged;
        // A broken connection that stays broken says nothing about the others: the server may
        // just be at its connection limit.
        list.idle.push_back(std::move(conn));
        alive = up || (list.alive && (!usable || answered) && !list.AllLost());
        changed = std::exchange(list.alive, alive) != alive;
        list.returned.notify_all();
    }
    if (changed) LogAlive(refreshed, alive);
    return up;
}

void RedisDBSlice::LogAlive(const RedisConn& conn, bool alive) const {
    if (auto* metrics = g_RedisMetrics.Get()) metrics->up = alive;
    if (alive) {
        __log(_DEBUG, "RedisDBSlice::LogAlive", "redis[%s:%u] slice[%u] answers, commands are sent",
              conn.Host(), conn.Port(), mDbindex);
    } else {
        __log(_ERROR, "RedisDBSlice::LogAlive",
              "redis[%s:%u] slice[%u] does not answer, commands fail until a ping is answered",
              conn.Host(), conn.Port(), mDbindex);
    }
}
