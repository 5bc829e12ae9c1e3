// What recharging players are entitled to.
#pragma once

#include <map>

#include "config_server_msg.h"

// The tables of the config server. Those with suffix 1 are filled while a transfer runs and
// swapped in when it is finished. Owned by LobbyServer, filled by ConfigServerHandler.
// Thread: message worker.
class VipTables {
  public:
    // The VIP level of a recharge amount. At or above the last threshold it is 0, not the top
    // level; reading adds missing levels with threshold 0.
    int Level(int value);

    std::map<int, int> m_mapConfigVipLevel, m_mapConfigVipLevel1;
    std::map<int, tagVipPhotoItem> m_mapConfigVipPhoto, m_mapConfigVipPhoto1;
    std::map<int, tagVipFrameItem> m_mapConfigVipFrame, m_mapConfigVipFrame1;
};
