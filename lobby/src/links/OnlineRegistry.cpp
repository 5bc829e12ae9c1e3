#include "OnlineRegistry.h"

#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyServer.h"
#include "QueueServerHandler.h"

void OnlineRegistry::Start() {
    if (m_bStarted) return;
    for (size_t i = 0; i < kThreads; ++i) {
        m_threads.push_back(std::make_unique<RegistryThread>(m_server.m_LobbyRedisServer, m_done,
                                                             [this] { m_server.WakeWorker(); }));
    }
    m_bStarted = true;
}

void OnlineRegistry::BeginStop() {
    // A batch that Redis does not answer and the ping of a hung Redis may come on top of it.
    constexpr std::chrono::seconds kLongest{3};
    m_stopEnd = Clock::now() + kLongest;
    m_lStayedBefore = m_lStayed;
}

// What the threads have not done by the deadline is counted, not done: Redis forgets a mark by
// itself.
void OnlineRegistry::Stop() {
    for (auto& thread : m_threads)
        thread->End(m_stopEnd);
    RegistryJobList list = m_done.Take();
    while (RegistryJob* job = list.Pop())
        Settle(job);
    for (auto& thread : m_threads) {
        list = thread->Rest();
        while (RegistryJob* job = list.Pop()) {
            job->task.stays = !job->task.enters;
            Settle(job);
        }
    }
    m_threads.clear();
    const long stay = m_lStayed - m_lStayedBefore;
    if (stay == 0) return;
    __log(_ERROR, "OnlineRegistry::Stop", "%ld marks stay in Redis, for three days at most", stay);
}

// Jobs are made when more wait than ever did before, and never given back: a burst of logins
// allocates, the next does not. One line is written when the bound is met, and the next only after
// half of them are done.
RegistryJob* OnlineRegistry::Take(const LobbyPlayer* player, bool bare) {
    const bool full = m_taken >= kMostJobs || (bare && m_bare >= kMostBareJobs);
    if (full && !std::exchange(m_bBehind, true)) {
        __log(_ERROR, "OnlineRegistry::Take",
              "the registry is behind, %zu wait, others are left out", m_taken);
    }
    if (full) return nullptr;
    RegistryJob* job = m_free.Pop();
    if (job == nullptr) job = &m_jobs.emplace_back();
    *job = {};
    job->task.userId = player->m_iUserID;
    job->ulHandle = NodeHandle(player);
    job->ulNodeId = player->m_ulPlayerNodeId;
    job->ulSerial = ++m_ulSerial;
    job->bBare = bare;
    ++m_taken;
    m_bare += bare ? 1 : 0;
    return job;
}

void OnlineRegistry::GiveBack(RegistryJob* job) {
    --m_taken;
    m_bare -= job->bBare ? 1 : 0;
    if (m_taken < kMostJobs / 2 && m_bare < kMostBareJobs / 2) m_bBehind = false;
    m_free.Push(job);
}

// Done, one way or the other.
void OnlineRegistry::Settle(RegistryJob* job) {
    if (job->task.enters && job->bHeld) return;  // given back with the leaving that points at it
    if (job->task.stays && job->bMarked) ++m_lStayed;
    if (job->lpEntering != nullptr) GiveBack(job->lpEntering);
    GiveBack(job);
}

void OnlineRegistry::Put(RegistryJob* job) {
    const auto user = static_cast<unsigned>(job->task.userId);
    // Of the ids that never enter any thread may take any.
    const auto at = job->task.userId > 0 ? user : static_cast<unsigned>(job->ulSerial);
    m_threads[at % kThreads]->Put(job);
}

void OnlineRegistry::Enter(LobbyPlayer* player) {
    RegistryJob* job = m_bStarted ? Take(player, false) : nullptr;
    if (job == nullptr) return EnterAtOnce(player);
    job->task.enters = true;
    // Who is put out is decided now: who comes while this waits is newer.
    const SessionList& sessions = m_server.GetLobbyClientHandler()->m_Sessions;
    const LobbyPlayer* older = sessions.Find(player->m_iUserID, player);
    if (older != nullptr) {
        job->ulOlder = NodeHandle(older);
        job->ulOlderId = older->m_ulPlayerNodeId;
    }
    // Confirmed twice: the mark that the second finds is its own.
    job->bInherits =
        player->m_lpEntering != nullptr || player->m_eMark != PlayerSession::Mark::None;
    player->m_lpEntering = job;
    Put(job);
}

void OnlineRegistry::EnterAtOnce(LobbyPlayer* player) {
    LobbyRedisServer& registry = m_server.m_LobbyRedisServer;
    const bool online = !m_bStarted && registry.IsLobbyOnline(player->m_iUserID) != 0;
    const bool stored =
        !m_bStarted && !online && registry.InsertLobbyOnline(player->m_iUserID) != 0;
    player->m_eMark = online || stored ? PlayerSession::Mark::Set : PlayerSession::Mark::Failed;
    const SessionList& sessions = m_server.GetLobbyClientHandler()->m_Sessions;
    LobbyPlayer* older = sessions.Find(player->m_iUserID, player);
    m_server.GetQueueServerHandler()->OnEntered(player, online, older);
}

// Three cases: a newer session of the user is being entered and gets the mark (nothing is deleted);
// this one is itself still being entered (its leaving waits behind that); or it is in, or never
// was.
void OnlineRegistry::Leave(LobbyPlayer* player) {
    if (!m_bStarted) {
        m_server.m_LobbyRedisServer.DelLobbyOnline(player->m_iUserID);
        return;
    }
    RegistryJob* entering = player->m_lpEntering;
    const bool bare = entering == nullptr && player->m_eMark == PlayerSession::Mark::None;
    if (RegistryJob* newer = NewerEntering(player)) {
        newer->bInherits = newer->bInherits || !bare;
        return;
    }
    RegistryJob* job = Take(player, bare);
    if (job == nullptr) {
        if (!bare) ++m_lStayed;
        return;
    }
    job->bMarked = entering != nullptr || player->m_eMark == PlayerSession::Mark::Set;
    if (entering != nullptr && !entering->bInherits) {
        job->lpEntering = entering;
        entering->bHeld = true;
    }
    Put(job);
}

RegistryJob* OnlineRegistry::NewerEntering(const LobbyPlayer* player) const {
    const RegistryJob* own = player->m_lpEntering;
    const SessionList& sessions = m_server.GetLobbyClientHandler()->m_Sessions;
    for (const LobbyPlayer* other : sessions.Of(player->m_iUserID)) {
        RegistryJob* job = other->m_lpEntering;
        if (other == player || job == nullptr) continue;
        if (own == nullptr || own->ulSerial < job->ulSerial) return job;
    }
    return nullptr;
}

void OnlineRegistry::Deliver() {
    RegistryJobList list = m_done.Take();
    while (RegistryJob* job = list.Pop()) {
        if (job->task.enters) CompleteEntering(job);
        Settle(job);
    }
}

// Of a session that has closed meanwhile nothing follows: its leaving is behind it.
void OnlineRegistry::CompleteEntering(RegistryJob* job) {
    LobbyPlayer* player = m_server.FindPlayerByHandle(job->ulHandle, job->ulNodeId);
    if (player == nullptr) return;
    const MarkTask& task = job->task;
    if (player->m_lpEntering == job) player->m_lpEntering = nullptr;
    player->m_eMark =
        task.online || task.stored ? PlayerSession::Mark::Set : PlayerSession::Mark::Failed;
    LobbyPlayer* older = m_server.FindPlayerByHandle(job->ulOlder, job->ulOlderId);
    m_server.GetQueueServerHandler()->OnEntered(player, task.online, older);
}
