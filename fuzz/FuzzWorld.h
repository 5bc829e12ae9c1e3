// A whole lobby on a network in memory, as the fuzzer drives it.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "ExampleActivity.h"
#include "FuzzInput.h"
#include "LobbyOps.h"
#include "MemoryLobby.h"

// Owns lobby, network and an activity. The clock is the process's, moved by Tick alone; Redis
// answers as Disturb last said.
// Thread: one; the lobby's reconnect keeper works beside it.
class FuzzWorld : MemoryLobby {
  public:
    FuzzWorld();
    ~FuzzWorld();
    FuzzWorld(const FuzzWorld&) = delete;
    FuzzWorld& operator=(const FuzzWorld&) = delete;

    // Reads one operation off the input and carries it out.
    void Step(FuzzInput& input);
    // What must hold after any input; ends the process when it does not.
    void Check();

    // Files and clock of the process, once, before the first world.
    static void PrepareProcess();

  private:
    void Connect(unsigned who);
    void LogIn(unsigned who);
    void CloseClient(unsigned who);
    void CloseLink(Port link);
    void Disturb(uint8_t what);
    void FromClient(unsigned who, uint16_t type, const std::string& message);
    void FromLink(Port link, uint16_t type, const std::string& message);
    // A message's bytes, by the row when there is one.
    std::string Body(FuzzInput& input, const catalog::Message* row, unsigned who);
    void PatchFields(std::string& message, const catalog::Message& row, uint8_t flags,
                     unsigned who);
    void PutHandle(std::string& message, size_t node, size_t id, uint8_t handle, unsigned who);
    // Reports the closes asked for, and looks at everything that was sent.
    void Settle();
    void CheckSent(IPlayerNode* node, catalog::Direction direction);
    void CheckSessions();

    static Port LinkOf(catalog::Direction direction);

    std::unique_ptr<ExampleActivity> m_activity;
    std::array<LobbyPlayer*, ops::CLIENTS> m_clients{};  // null when closed
    std::atomic<int> m_failSends{0};
};
