// The HTTP endpoint that shows the process's counters.
#pragma once

#include <condition_variable>
#include <memory>
#include <string>
#include <thread>

#include "Common/ThreadSafety.h"

class Collector;
class History;
class HttpServer;

// Has everything counted from its construction on and answers GET on threads of its own: /metrics
// with the figures in the Prometheus text format, /healthz with the lobby's condition, / with a
// page for the operator. The counters belong to the process: they outlive the endpoint, and a
// second endpoint of one process goes on where the first ended. Owned by the lobby, which makes it
// before it starts its threads. Thread: main.
class MetricsEndpoint {
  public:
    // host: a numeric address of this machine. port: 0 has the system choose one. Null, with the
    // reason in error and nothing counted, when it can never be opened. A port that is taken is
    // tried again every five seconds: error says so, and Port is 0 meanwhile.
    static std::unique_ptr<MetricsEndpoint> Open(const std::string& host, int port,
                                                 std::string& error);
    // Stops counting; waits for a request that is being answered.
    ~MetricsEndpoint();
    MetricsEndpoint(const MetricsEndpoint&) = delete;
    MetricsEndpoint& operator=(const MetricsEndpoint&) = delete;

    int Port() const { return m_iPort; }

  private:
    MetricsEndpoint();
    int Start(const std::string& host, int port);
    void Run(const std::string& host, int port, bool started);

    const std::unique_ptr<Collector> m_lpCollector;
    const std::unique_ptr<History> m_lpHistory;
    std::unique_ptr<HttpServer> m_lpServer;  // the sampling thread's, while that runs
    int m_iPort = 0;
    Mutex m_lock;
    std::condition_variable m_wake;
    bool m_bEnd GUARDED_BY(m_lock) = false;
    std::thread m_thread;
};
