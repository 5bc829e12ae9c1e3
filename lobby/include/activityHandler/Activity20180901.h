// Activity 20180901, the daily prize.
#pragma once

#include "activitySystem/ActivityHandler.h"

// Registered at start under its id. Its rules live with the game servers; in the lobby it does
// what every activity does. Thread: message worker.
class Activity20180901 : public IActivityHandler {
  public:
    static constexpr int kActivityId = 20180901;
    explicit Activity20180901(GameProvider* provider) : IActivityHandler(kActivityId, provider) {}
};
