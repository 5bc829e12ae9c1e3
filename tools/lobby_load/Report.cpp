#include "Report.h"

#include <cstdarg>
#include <cstdio>

namespace {

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string Format(const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    return text;
}

double Micros(uint64_t nanos) {
    return static_cast<double>(nanos) / 1000.0;
}

std::string JsonLatency(const Histogram& values) {
    return Format(
        "{\"count\":%llu,\"mean_us\":%.2f,\"p50_us\":%.2f,\"p90_us\":%.2f,\"p99_us\":%.2f,"
        "\"p999_us\":%.2f,\"max_us\":%.2f}",
        static_cast<unsigned long long>(values.Count()), values.Mean() / 1000.0,
        Micros(values.Percentile(0.5)), Micros(values.Percentile(0.9)),
        Micros(values.Percentile(0.99)), Micros(values.Percentile(0.999)), Micros(values.Max()));
}

// Texts here are the generator's own; none needs escaping.
std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

void Append(std::string& list, const std::string& item) {
    list += (list.empty() ? "" : ",") + item;
}

}  // namespace

std::string TextReport(const Settings& settings, const Result& result) {
    std::string text = Format("%s, %u connections over %s\n", settings.mode.c_str(),
                              settings.connections, settings.webSocket ? "WebSocket" : "TCP");
    for (const auto& [name, value] : result.figures)
        text += Format("  %-28s %14.3f\n", name.c_str(), value);
    if (!result.latency.empty()) {
        text += Format("  %-16s %10s %10s %10s %10s %10s %10s  (us)\n", "latency", "count", "p50",
                       "p90", "p99", "p99.9", "max");
    }
    for (const auto& [name, values] : result.latency) {
        text +=
            Format("  %-16s %10llu %10.0f %10.0f %10.0f %10.0f %10.0f\n", name.c_str(),
                   static_cast<unsigned long long>(values.Count()), Micros(values.Percentile(0.5)),
                   Micros(values.Percentile(0.9)), Micros(values.Percentile(0.99)),
                   Micros(values.Percentile(0.999)), Micros(values.Max()));
    }
    for (const auto& [kind, count] : result.errors)
        text +=
            Format("  error %-22s %14llu\n", kind.c_str(), static_cast<unsigned long long>(count));
    if (result.errors.empty()) text += "  no errors\n";
    for (const std::string& remark : result.remarks)
        text += "  " + remark + "\n";
    if (result.interrupted) text += "  interrupted: the figures are those of the time until then\n";
    return text;
}

std::string JsonReport(const Settings& settings, const Result& result) {
    std::string figures, latency, errors;
    for (const auto& [name, value] : result.figures)
        Append(figures, Quoted(name) + Format(":%.6g", value));
    for (const auto& [name, values] : result.latency)
        Append(latency, Quoted(name) + ":" + JsonLatency(values));
    for (const auto& [kind, count] : result.errors)
        Append(errors, Quoted(kind) + ":" + std::to_string(count));
    return "{\"mode\":" + Quoted(settings.mode) +
           ",\"transport\":" + Quoted(settings.webSocket ? "ws" : "tcp") +
           ",\"connections\":" + std::to_string(settings.connections) + ",\"figures\":{" + figures +
           "},\"latency\":{" + latency + "},\"errors\":{" + errors +
           "},\"interrupted\":" + (result.interrupted ? "true" : "false") + "}\n";
}
