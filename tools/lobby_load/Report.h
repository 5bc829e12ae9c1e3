// What a run found out.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Histogram.h"
#include "Settings.h"

struct Result {
    std::vector<std::pair<std::string, double>> figures;  // in the order of their use
    std::map<std::string, Histogram> latency;             // nanoseconds, by operation
    std::map<std::string, uint64_t> errors;               // by kind
    std::vector<std::string> remarks;                     // sentences for people
    bool interrupted = false;

    void Add(const std::string& name, double value) { figures.emplace_back(name, value); }
};

// A table for people.
std::string TextReport(const Settings& settings, const Result& result);
// One JSON object; latencies in microseconds.
std::string JsonReport(const Settings& settings, const Result& result);
