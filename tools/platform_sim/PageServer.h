// Serves the player's page on a loopback port.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace sim {

// What config.json tells the page: where the lobby is ("ws://host:port", or empty), and whom to
// log in as when the visitor types nothing.
struct PageConfig {
    std::string lobbyAddress;
    int32_t userId = 0;
    std::string token;
    std::string bankPassword;
};

// An HTTP server of its own thread on 127.0.0.1: the files of a folder, and config.json. Ends
// with the object.
class PageServer {
  public:
    // Port 0 takes a free one. Throws std::runtime_error when the folder or the port cannot be
    // used.
    PageServer(const std::string& folder, uint16_t port, const PageConfig& config);
    ~PageServer();
    uint16_t Port() const;

  private:
    struct Server;
    std::unique_ptr<Server> m_server;
};

}  // namespace sim
