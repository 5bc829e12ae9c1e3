// What every kind of load has in common.
#pragma once

#include <memory>
#include <vector>

#include "Link.h"
#include "Report.h"
#include "ServerProcess.h"

// Opens the connections at their pace, tells the progress, measures the server, ends after the
// time asked for. Owns the loop and the connections. Thread: one, that of Run.
class Load : protected LinkOwner, protected Loop::Timed {
  public:
    explicit Load(const Settings& settings);
    virtual ~Load() = default;

    Result Run();

  protected:
    // Every connection was tried once: those that are open stay open.
    virtual void OnAllTried() = 0;
    virtual void OnOwnTimer(uint64_t /*token*/, Nanos /*due*/) {}
    // Once a second.
    virtual void OnSecond() {}
    // The measured time begins, or is over; figures are added at its end.
    virtual void OnMeasureBegin() {}
    virtual void OnMeasureEnd(Result&) {}
    // Interrupted before anything was measured.
    virtual void OnInterrupted(Result&) {}

    void OnOpen(Link& link) override;
    void OnDrained(Link&) override {}
    void OnLost(Link& link, const char* why) override;

    // The opening of this connection is over (only the first call counts), so that the next may
    // begin. By default said when it is open.
    void FinishOpening(const Link& link);
    // Measures after the warm-up, for the time asked for.
    void BeginMeasuring();
    // Ends it at once.
    void EndMeasuring();
    void Stop() { m_loop.Stop(); }
    // One answer came, to what should have been sent at `intended`. Counts only while measuring.
    void Complete(const char* kind, Nanos intended);
    // Takes the time of an answer that does not count among what was completed.
    void CompleteApart(const char* kind, Nanos intended);
    void Fail(const std::string& kind) { ++m_result.errors[kind]; }

    // Timers of derived classes use tokens below this.
    static constexpr uint64_t kOwnTokens = uint64_t{1} << 32;
    void After(Nanos when, uint64_t token) { m_loop.At(when, this, token); }

    bool Measuring() const { return m_measuring; }
    double MeasuredSeconds() const;
    double ServerCpu() const { return m_server.CpuSeconds() - m_cpuBefore; }
    const ServerProcess& Server() const { return m_server; }

    const Settings m_settings;
    const Source m_source;
    Loop m_loop;
    std::vector<std::unique_ptr<Link>> m_links;
    Result m_result;

  private:
    enum Token : uint64_t { kOpen = kOwnTokens, kProgress, kMeasure, kEnd };

    void OnTimer(uint64_t token, Nanos due) final;
    void OpenMore();
    void OnProgress(Nanos due);
    void PrintProgress(Nanos due) const;
    void Measure();

    ServerProcess m_server;
    size_t m_started = 0;  // connections whose opening was begun
    size_t m_tried = 0;    // ... and is over, well or not
    std::vector<bool> m_isTried;
    bool m_allTried = false;
    bool m_openTimer = false;
    Nanos m_begin = 0;
    Nanos m_lastTried = 0;
    bool m_measuring = false;
    Nanos m_measureBegin = 0;
    Nanos m_measureEnd = 0;
    double m_cpuBefore = 0;
    uint64_t m_completed = 0;
    uint64_t m_completedBefore = 0;  // at the last progress line
};
