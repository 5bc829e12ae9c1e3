// From counters to Prometheus's families.
#pragma once

#include <prometheus/collectable.h>
#include <prometheus/metric_family.h>

#include <cstdint>
#include <vector>

#include "Epoll/NetMetrics.h"
#include "LobbyMetrics.h"
#include "xredis/RedisMetrics.h"

// The counters of all layers. Made once, on first use, and never destroyed: threads of the
// framework may still count while the process ends. Thread: main.
class ProcessCounters {
  public:
    static ProcessCounters& Instance();
    // Puts the counters where the layers look for them, or takes them away.
    void Publish(bool counting);

    const TypePlaces types;  // of every message in the catalogue
    NetMetrics net;
    RedisMetrics redis;
    LobbyMetrics lobby;

  private:
    ProcessCounters();
};

// Reads the counters when it is asked, so that counting itself costs no more than the adding.
// Thread: those of the endpoint.
class Collector : public prometheus::Collectable {
  public:
    Collector();
    std::vector<prometheus::MetricFamily> Collect() const override;
    int64_t StartTime() const { return m_startTime; }

  private:
    using Types = std::vector<uint16_t>;

    void AddCondition(std::vector<prometheus::MetricFamily>& all) const;
    void AddClients(std::vector<prometheus::MetricFamily>& all) const;
    void AddRequests(std::vector<prometheus::MetricFamily>& all) const;
    void AddMessages(std::vector<prometheus::MetricFamily>& all) const;
    void AddWorker(std::vector<prometheus::MetricFamily>& all) const;
    void AddLinks(std::vector<prometheus::MetricFamily>& all) const;
    void AddRedis(std::vector<prometheus::MetricFamily>& all) const;

    const ProcessCounters& m_counters;
    // The numbers the catalogue has for each way, shown from the start.
    const Types m_clientIn, m_clientOut, m_backEndIn, m_backEndOut;
    const int64_t m_startTime;  // epoch seconds
};
