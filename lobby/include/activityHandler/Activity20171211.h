// Activity 20171211, the relief fund.
#pragma once

#include "activitySystem/ActivityHandler.h"

// Registered at start under its id. Its rules live with the game servers; in the lobby it does
// what every activity does. Thread: message worker.
class Activity20171211 : public IActivityHandler {
  public:
    static constexpr int kActivityId = 20171211;
    explicit Activity20171211(GameProvider* provider) : IActivityHandler(kActivityId, provider) {}
};
