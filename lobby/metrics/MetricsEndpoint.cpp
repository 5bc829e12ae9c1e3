#include "MetricsEndpoint.h"

#include <prometheus/exposer.h>

#include <exception>
#include <vector>

#include "Collector.h"

namespace {

// A scraper that reads slowly, or never, holds one of the two threads for so long at most.
constexpr const char* kRequestTimeoutMs = "5000";

}  // namespace

std::unique_ptr<MetricsEndpoint> MetricsEndpoint::Open(const std::string& host, int port,
                                                       std::string& error) {
    if (port < 0 || port > 65535) {
        error = "the port is not between 0 and 65535";
        return nullptr;
    }
    try {
        return std::unique_ptr<MetricsEndpoint>(
            new MetricsEndpoint(host + ":" + std::to_string(port)));
    } catch (const std::exception& failure) {
        error = failure.what();
        return nullptr;
    }
}

MetricsEndpoint::MetricsEndpoint(const std::string& address)
    : m_lpExposer(std::make_unique<prometheus::Exposer>(
          std::vector<std::string>{"listening_ports", address, "num_threads", "2",
                                   "request_timeout_ms", kRequestTimeoutMs})),
      m_lpCollector(std::make_shared<Collector>()) {
    ProcessCounters::Instance().Publish(true);
    m_lpExposer->RegisterCollectable(m_lpCollector);
}

MetricsEndpoint::~MetricsEndpoint() {
    ProcessCounters::Instance().Publish(false);
}

int MetricsEndpoint::Port() const {
    const std::vector<int> ports = m_lpExposer->GetListeningPorts();
    return ports.empty() ? 0 : ports.front();
}
