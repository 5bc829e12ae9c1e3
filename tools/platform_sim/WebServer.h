// The simulated web server: notices, bulletins, farm messages.
#pragma once

#include "BackEnd.h"
#include "PublisherMsg.h"
#include "web_server_msg.h"

namespace sim {

// Answers nothing; everything it sends is a control command. It does not know in which lobby a
// player is, so every lobby gets it.
class WebServer : public BackEnd {
  public:
    explicit WebServer(Platform& platform) : BackEnd(platform, ServerKind::Web) {}
};

}  // namespace sim
