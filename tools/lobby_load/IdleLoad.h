// Connections that do nothing: what they cost the server in memory, and in CPU time.
#pragma once

#include "Load.h"

// Each connection sends one echo first, so that the server has had to do with it; the measured
// time begins when all have been answered. Thread: as Load.
class IdleLoad : public Load {
  public:
    explicit IdleLoad(const Settings& settings);

  private:
    void OnAllTried() override;
    void OnOpen(Link& link) override;
    void OnMessage(Link& link, uint16_t type, std::string_view message) override;
    void OnMeasureEnd(Result& result) override;

    std::string m_message;
    double m_before;  // resident bytes without connections
};
