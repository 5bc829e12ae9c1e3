// Connect, one echo, close; over and over.
#pragma once

#include "Load.h"

// Keeps `connections` cycles running at a time. Latency: from the begin of the connect to the
// echo. Thread: as Load.
class CycleLoad : public Load {
  public:
    explicit CycleLoad(const Settings& settings);

  private:
    void OnAllTried() override {}
    // The token is the link's index.
    void OnOwnTimer(uint64_t token, Nanos due) override;
    void OnOpen(Link& link) override;
    void OnMessage(Link& link, uint16_t type, std::string_view message) override;
    void OnLost(Link& link, const char* why) override;

    std::string m_message;
    std::vector<Nanos> m_begun;
    uint64_t m_number = 0;  // connections opened so far; spreads them over source addresses
    bool m_running = false;
};
