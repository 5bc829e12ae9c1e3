// The HTTP endpoint that shows the process's counters.
#pragma once

#include <memory>
#include <string>

namespace prometheus {
class Collectable;
class Exposer;
}  // namespace prometheus

// Has everything counted from its construction on and answers GET /metrics with the figures, in
// the Prometheus text format, on threads of its own. The counters belong to the process: they
// outlive the endpoint, and a second endpoint of one process goes on where the first ended.
// Owned by the lobby, which makes it before it starts its threads. Thread: main.
class MetricsEndpoint {
  public:
    // host: a numeric address of this machine. port: 0 has the system choose one. Null, with the
    // reason in error and nothing counted, when it cannot be opened.
    static std::unique_ptr<MetricsEndpoint> Open(const std::string& host, int port,
                                                 std::string& error);
    // Stops counting; waits for a request that is being answered.
    ~MetricsEndpoint();
    MetricsEndpoint(const MetricsEndpoint&) = delete;
    MetricsEndpoint& operator=(const MetricsEndpoint&) = delete;

    int Port() const;

  private:
    explicit MetricsEndpoint(const std::string& address);

    std::unique_ptr<prometheus::Exposer> m_lpExposer;
    std::shared_ptr<prometheus::Collectable> m_lpCollector;
};
