// The simulated data server: activity configuration and players' progress.
#pragma once

#include "BackEnd.h"

namespace sim {

// Keeps every player's progress across logins. Updates are written back as they come.
class DataServer : public BackEnd {
  public:
    explicit DataServer(Platform& platform);

    // Replaces or adds a configuration row and tells every lobby.
    void PutActivity(const tagDBActivityConfigData& row);
    // A global activity message with a text as its body.
    void SendGlobal(uint16_t type, std::string_view text);

  private:
    void OnConfigRequest(Link& link);
    void OnAccountTypeRequest(Link& link);
    void OnProgressRequest(Link& link, const tagDBUserActivityProgressReq& req);
    void OnUpdate(Link& link, const Message& message);
    void OnSingleUpdate(Link& link, const LobbyActivitySingleProgressUpdate& req);
    void Store(tagDBUserActivityProgressData record);
};

}  // namespace sim
