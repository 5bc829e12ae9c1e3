// Building Prometheus's families.
#pragma once

#include <prometheus/metric_family.h>

#include <utility>
#include <vector>

#include "Common/Metrics.h"

using Labels = std::vector<prometheus::ClientMetric::Label>;

// Fills one family of the given list, which must stay as it is meanwhile. Thread: one.
class Family {
  public:
    Family(std::vector<prometheus::MetricFamily>& all, const char* name, const char* help,
           prometheus::MetricType type)
        : m_family(all.emplace_back()) {
        m_family.name = name;
        m_family.help = help;
        m_family.type = type;
    }
    // A counter's or gauge's value.
    void Add(double value, Labels labels = {}) {
        prometheus::ClientMetric& metric = m_family.metric.emplace_back();
        metric.label = std::move(labels);
        metric.counter.value = value;
        metric.gauge.value = value;
    }
    void Add(const Counter& counter, Labels labels = {}) {
        Add(static_cast<double>(counter.Value()), std::move(labels));
    }
    // A histogram's.
    void Add(const DurationCounter& durations);

  private:
    prometheus::MetricFamily& m_family;
};

inline Family CounterFamily(std::vector<prometheus::MetricFamily>& all, const char* name,
                            const char* help) {
    return {all, name, help, prometheus::MetricType::Counter};
}
inline Family GaugeFamily(std::vector<prometheus::MetricFamily>& all, const char* name,
                          const char* help) {
    return {all, name, help, prometheus::MetricType::Gauge};
}
inline Family HistogramFamily(std::vector<prometheus::MetricFamily>& all, const char* name,
                              const char* help) {
    return {all, name, help, prometheus::MetricType::Histogram};
}

double ResidentBytes();

// Memory, descriptors and CPU time of the process, under the names every exporter gives them.
void AddProcessFigures(std::vector<prometheus::MetricFamily>& all, double startTime);
