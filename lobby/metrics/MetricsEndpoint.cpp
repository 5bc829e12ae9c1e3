// The endpoint's life: Open looks whether the address can be had at all, has everything counted and
// starts the thread that samples. Where another program has the port the same thread tries again,
// so that a lobby which takes over from another gets the port once that has gone. The destructor
// ends the thread first, which may be making the server at that moment.
#include "MetricsEndpoint.h"

#include <prometheus/text_serializer.h>
#include <pthread.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <vector>

#include "Collector.h"
#include "Common/Log.h"
#include "History.h"
#include "HttpServer.h"
#include "Status.h"

std::unique_ptr<MetricsEndpoint> MetricsEndpoint::Open(const std::string& host, int port,
                                                       std::string& error) {
    if (port < 0 || port > 65535) {
        error = "the port is not between 0 and 65535";
        return nullptr;
    }
    std::unique_ptr<MetricsEndpoint> endpoint(new MetricsEndpoint);
    const int fault = endpoint->Start(host, port);
    if (fault != 0) error = std::strerror(fault);
    if (fault != 0 && fault != EADDRINUSE) return nullptr;
    if (fault != 0) error += ": another program has this port, tried again every 5 seconds";
    ProcessCounters::Instance().Publish(true);
    endpoint->m_thread = std::thread(
        [self = endpoint.get(), host, port, fault] { self->Run(host, port, fault == 0); });
    return endpoint;
}

MetricsEndpoint::MetricsEndpoint()
    : m_lpCollector(std::make_unique<Collector>()),
      m_lpHistory(std::make_unique<History>(ProcessCounters::Instance())) {}

MetricsEndpoint::~MetricsEndpoint() {
    {
        const LockGuard lock(m_lock);
        m_bEnd = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable()) m_thread.join();
    m_lpServer.reset();
    ProcessCounters::Instance().Publish(false);
}

int MetricsEndpoint::Start(const std::string& host, int port) {
    const ProcessCounters& counters = ProcessCounters::Instance();
    auto server = std::make_unique<HttpServer>(std::vector<HttpPage>{
        {"/metrics",
         [this] {
             return HttpAnswer{200, "text/plain; version=0.0.4; charset=utf-8",
                               prometheus::TextSerializer().Serialize(m_lpCollector->Collect())};
         }},
        {"/healthz", [&counters] { return Health(counters); }},
        {"/status.json",
         [this, &counters] { return Status(counters, *m_lpHistory, m_lpCollector->StartTime()); }},
        {"/", [] {
             return HttpAnswer{200, "text/html; charset=utf-8", OPERATOR_PAGE};
         }}});
    const int error = server->Start(host, port);
    if (error != 0) return error;
    m_iPort = server->Port();
    m_lpServer = std::move(server);
    return 0;
}

// Samples, and waits for a port that another program has.
void MetricsEndpoint::Run(const std::string& host, int port, bool started) {
    pthread_setname_np(pthread_self(), "metrics");
    WaitLock lock(m_lock);
    while (!m_bEnd) {
        m_lpHistory->Take();
        m_wake.wait_for(lock, std::chrono::seconds(History::kPeriod),
                        [this]() NEEDS_LOCK(m_lock) { return m_bEnd; });
        if (m_bEnd || started || Start(host, port) != 0) continue;
        started = true;
        LogAlways("MetricsEndpoint", "metrics success, host[%s], port[%d] !", host.c_str(), port);
    }
}
