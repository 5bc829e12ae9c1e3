// The simulated config server: VIP tables, stop switch, farm keys.
#pragma once

#include "BackEnd.h"
#include "PublisherMsg.h"
#include "config_server_msg.h"

namespace sim {

// Tables travel in parts; the control commands push them and the stop switch without being asked.
class ConfigServer : public BackEnd {
  public:
    explicit ConfigServer(Platform& platform);

    void SetStopSwitch(int32_t value);
    void SendTablesToAll();
    void SendKeysToAll();

  private:
    void OnFrameRequest(Link& link);
    void OnStopRequest(Link& link);
    void OnKeyRequest(Link& link);
};

}  // namespace sim
