// The process: starts the lobby, waits for SIGTERM, ends in order.
#include <pthread.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <thread>

#include "Common/Log.h"
#include "LobbyServer.h"

namespace {

sigset_t StopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    return set;
}

void handler(int sig) {
    __log(_ERROR, "handler", "handler sign : %d", sig);
}

// Waits for SIGTERM on a thread of its own. The signal stays blocked everywhere else: it cannot
// be lost between two steps of the start, as it would be between installing a handler and
// pause(), and it may be logged, which a handler must not do.
// Owned by main; the server must outlive it.
class StopWaiter {
  public:
    explicit StopWaiter(LobbyServer& server) : m_thread([this, &server] { Run(server); }) {}
    ~StopWaiter() {
        m_bEnd = true;
        // The thread takes it by sigwait; blocked as it is, it ends nothing.
        // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread)
        pthread_kill(m_thread.native_handle(), SIGTERM);
        m_thread.join();
    }
    StopWaiter(const StopWaiter&) = delete;
    StopWaiter& operator=(const StopWaiter&) = delete;

    // Returns once SIGTERM has come.
    void Wait() const { m_bStop.wait(false); }

  private:
    void Run(LobbyServer& server) {
        const sigset_t set = StopSignals();
        int sig = 0;
        sigwait(&set, &sig);
        if (m_bEnd) return;
        handler(sig);
        // A start that is still connecting gives up at once.
        server.CancelConnects();
        m_bStop = true;
        m_bStop.notify_all();
    }

    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bEnd{false};
    std::thread m_thread;
};

}  // namespace

int main(int, char** argv) {
    const sigset_t set = StopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);  // inherited by every thread started from here on
    std::signal(SIGPIPE, SIG_IGN);
    UnblockConsole();
    InitializeLog("LobbyServer.cfg", nullptr);
    __log(_DEBUG, "main", "**************** starting %s v4.0.1.0 ****************\r\n",
          "LobbyServer");
    auto server = std::make_unique<LobbyServer>();
    {
        StopWaiter stop(*server);
        if (server->Start() == 0) stop.Wait();
    }
    server.reset();
    __log(_DEBUG, "main", "%s has been exit !\r\n", argv[0]);
    return EXIT_SUCCESS;
}
