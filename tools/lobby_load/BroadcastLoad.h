// One message to every client: how long until the last has its last byte.
#pragma once

#include "Load.h"

// For servers that answer message 0x00B4 of any client by sending one of that type to all.
// Thread: as Load.
class BroadcastLoad : public Load {
  public:
    explicit BroadcastLoad(const Settings& settings) : Load(settings) {}

  private:
    enum Token : uint64_t { kRound };

    void OnAllTried() override;
    void OnOwnTimer(uint64_t token, Nanos due) override;
    void OnOpen(Link& link) override;
    void OnMessage(Link& link, uint16_t type, std::string_view message) override;
    void OnMeasureBegin() override;
    void OnMeasureEnd(Result& result) override;

    size_t m_awaited = 0;
    uint32_t m_rounds = 0;
    Nanos m_begun = 0;
    size_t m_bytes = 0;
};
