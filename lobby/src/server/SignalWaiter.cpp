#include "SignalWaiter.h"

#include <pthread.h>

#include <csignal>
#include <ctime>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/Supervisor.h"
#include "ConfigKeys.h"
#include "LobbyServer.h"
#include "Settings.h"

namespace {

// Connects that were on their way when a drain began have arrived after that time.
constexpr long kStragglerSeconds = 2;
constexpr timespec kTick{0, 100'000'000};

sigset_t Signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int sig : {SIGTERM, SIGHUP, SIGUSR1})
        sigaddset(&set, sig);
    return set;
}

void handler(int sig) {
    __log(_ERROR, "handler", "handler sign : %d", sig);
}

}  // namespace

void SignalWaiter::Block() {
    const sigset_t set = Signals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

SignalWaiter::SignalWaiter(LobbyServer& server) : m_Server(server), m_thread([this] { Run(); }) {}

SignalWaiter::~SignalWaiter() {
    m_bEnd = true;
    // The thread takes it by sigwait; blocked as it is, it ends nothing.
    // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread)
    pthread_kill(m_thread.native_handle(), SIGTERM);
    m_thread.join();
}

void SignalWaiter::Wait() {
    m_bServing = true;
    TellSupervisor("READY=1\nSTATUS=Serving players");
    m_bStop.wait(false);
    TellSupervisor("STOPPING=1\nSTATUS=Ending");
}

void SignalWaiter::Run() {
    const sigset_t set = Signals();
    while (!m_bEnd && !m_bStop) {
        const int sig =
            m_lDrainBegin == 0 ? sigwaitinfo(&set, nullptr) : sigtimedwait(&set, nullptr, &kTick);
        if (sig > 0 && !m_bEnd) Take(sig);
        if (m_lDrainBegin != 0) FollowDrain();
    }
}

void SignalWaiter::Take(int sig) {
    if (sig == SIGTERM) {
        handler(sig);
        // A start that is still connecting gives up at once.
        m_Server.CancelConnects();
        Stop();
    } else if (!m_bServing) {
        __log(_WARN, "SignalWaiter", "signal[%d] is ignored, the lobby is not serving yet", sig);
    } else if (sig == SIGHUP) {
        m_Server.Reload();
    } else if (m_lDrainBegin == 0) {
        BeginDrain();
    }
}

void SignalWaiter::BeginDrain() {
    m_lDrainBegin = ClockUptime();
    m_Server.BeginDrain();
    TellSupervisor("STATUS=Draining: no new players");
}

void SignalWaiter::FollowDrain() {
    const long age = ClockUptime() - m_lDrainBegin;
    if (age < kStragglerSeconds) return;
    if (m_bListening) m_Server.EndListening();
    m_bListening = false;
    const long left = m_Server.Clients();
    if (left > 0 && age < ReadInt(m_ConfigFile, KeyOf("init", "draintime"))) return;
    LogAlways("SignalWaiter", "drained, seconds[%ld], clients left[%ld]", age, left);
    m_bDrained = true;
    Stop();
}

void SignalWaiter::Stop() {
    m_bStop = true;
    m_bStop.notify_all();
}
