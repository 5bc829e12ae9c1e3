#include "Load.h"

#include <algorithm>
#include <cstdio>

namespace {
// Without an answer to any connect for so long, the rest is given up.
constexpr Nanos kConnectPatience = 15 * kSecond;

Nanos FromSeconds(double seconds) {
    return static_cast<Nanos>(seconds * static_cast<double>(kSecond));
}
}  // namespace

Load::Load(const Settings& settings)
    : m_settings(settings),
      m_source(settings.host, settings.port),
      m_server(static_cast<pid_t>(settings.serverPid)),
      m_isTried(settings.connections) {
    AllowDescriptors(settings.connections);
    m_links.reserve(settings.connections);
    LinkOwner& owner = *this;
    for (uint32_t i = 0; i < settings.connections; ++i)
        m_links.push_back(std::make_unique<Link>(m_loop, owner, i, settings.webSocket));
}

Result Load::Run() {
    m_begin = m_lastTried = Loop::Now();
    m_loop.At(m_begin, this, kOpen);
    m_openTimer = true;
    m_loop.At(m_begin + kSecond, this, kProgress);
    m_loop.Run();
    m_result.interrupted = Loop::Interrupted();
    if (m_measuring) {
        EndMeasuring();
    } else if (m_result.interrupted) {
        OnInterrupted(m_result);
    }
    return std::move(m_result);
}

void Load::OnTimer(uint64_t token, Nanos due) {
    switch (token) {
        case kOpen:
            m_openTimer = false;
            return OpenMore();
        case kProgress:
            return OnProgress(due);
        case kMeasure:
            return Measure();
        case kEnd:
            EndMeasuring();
            return Stop();
        default:
            return OnOwnTimer(token, due);
    }
}

void Load::OpenMore() {
    while (m_started < m_links.size() && m_started - m_tried < m_settings.connecting) {
        const Nanos now = Loop::Now();
        if (m_settings.ramp > 0) {
            const Nanos due =
                m_begin + FromSeconds(static_cast<double>(m_started) / m_settings.ramp);
            if (due > now) {
                if (!m_openTimer) m_loop.At(due, this, kOpen);
                m_openTimer = true;
                return;
            }
        }
        Link& link = *m_links[m_started++];
        link.Open(m_source, link.Index());
    }
}

void Load::FinishOpening(const Link& link) {
    if (m_isTried[link.Index()]) return;
    m_isTried[link.Index()] = true;
    ++m_tried;
    m_lastTried = Loop::Now();
    if (m_tried == m_links.size() && !m_allTried) {
        m_allTried = true;
        return OnAllTried();
    }
    if (m_started < m_links.size() && !m_openTimer) {
        m_loop.At(0, this, kOpen);
        m_openTimer = true;
    }
}

void Load::OnOpen(Link& link) {
    FinishOpening(link);
}

void Load::OnLost(Link& link, const char* why) {
    Fail(why);
    FinishOpening(link);
}

void Load::PrintProgress(Nanos due) const {
    uint64_t errors = 0, refused = 0;
    for (const auto& [kind, count] : m_result.errors) {
        const bool isConnect = kind == "refused" || kind == "connect";
        (isConnect ? refused : errors) += count;
    }
    const auto open = std::count_if(m_links.begin(), m_links.end(),
                                    [](const auto& link) { return link->IsOpen(); });
    std::fprintf(stderr, "%4.0f s  %6ld open  %6llu refused  %9llu/s  %llu errors%s\n",
                 static_cast<double>(due - m_begin) / static_cast<double>(kSecond), open,
                 static_cast<unsigned long long>(refused),
                 static_cast<unsigned long long>(m_completed - m_completedBefore),
                 static_cast<unsigned long long>(errors), m_measuring ? "" : "  (warming up)");
}

void Load::OnProgress(Nanos due) {
    m_loop.At(due + kSecond, this, kProgress);
    if (!m_settings.quiet) PrintProgress(due);
    m_completedBefore = m_completed;
    if (!m_allTried && Loop::Now() - m_lastTried > kConnectPatience) {
        Fail("connections given up");
        m_allTried = true;
        OnAllTried();
    }
    OnSecond();
}

void Load::BeginMeasuring() {
    m_loop.At(Loop::Now() + FromSeconds(m_settings.warmup), this, kMeasure);
}

void Load::Measure() {
    m_result.latency.clear();
    m_completed = m_completedBefore = 0;
    m_measuring = true;
    m_measureBegin = Loop::Now();
    m_cpuBefore = m_server.CpuSeconds();
    m_loop.At(m_measureBegin + FromSeconds(m_settings.seconds), this, kEnd);
    OnMeasureBegin();
}

void Load::EndMeasuring() {
    m_measureEnd = Loop::Now();
    m_measuring = false;
    m_result.Add("seconds", MeasuredSeconds());
    m_result.Add("completed", static_cast<double>(m_completed));
    m_result.Add("per_second", static_cast<double>(m_completed) / MeasuredSeconds());
    if (m_server.Watched()) {
        const double cpu = ServerCpu();
        m_result.Add("server_cpu_seconds", cpu);
        if (m_completed > 0) {
            m_result.Add("cpu_per_million", cpu * 1e6 / static_cast<double>(m_completed));
        }
        m_result.Add("server_rss_kib", m_server.ResidentBytes() / 1024);
    }
    OnMeasureEnd(m_result);
}

double Load::MeasuredSeconds() const {
    return static_cast<double>(m_measureEnd - m_measureBegin) / static_cast<double>(kSecond);
}

void Load::Complete(const char* kind, Nanos intended) {
    ++m_completed;
    CompleteApart(kind, intended);
}

void Load::CompleteApart(const char* kind, Nanos intended) {
    if (!m_measuring) return;
    const Nanos now = Loop::Now();
    m_result.latency[kind].Add(now > intended ? now - intended : 0);
}
