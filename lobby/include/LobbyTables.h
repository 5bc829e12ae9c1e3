// The lobby's tables, each a class of its own.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "DisabledUsers.h"
#include "FarmKeys.h"
#include "ForbiddenNames.h"
#include "RewardAccount.h"
#include "VipTables.h"

// A part of LobbyServer: what the config server and the files beside LobbyServer.cfg tell, who
// subscribed to what, and whose sessions have closed lately. The maps and lists can also be reached
// by the names they always had. Thread: message worker, and the lobby's constructor.
class LobbyTables {
  public:
    VipTables& Vip() { return m_Vip; }
    FarmKeys& Farm() { return m_Farm; }
    ClosedAccounts m_closedAccounts;

  protected:
    VipTables m_Vip;
    FarmKeys m_Farm;
    ForbiddenNames m_ForbiddenNames;
    DisabledUsers m_DisabledUsers;

  public:
    std::map<int, int>& m_mapConfigVipLevel = m_Vip.m_mapConfigVipLevel;
    std::map<int, int>& m_mapConfigVipLevel1 = m_Vip.m_mapConfigVipLevel1;
    std::map<int, tagVipPhotoItem>& m_mapConfigVipPhoto = m_Vip.m_mapConfigVipPhoto;
    std::map<int, tagVipPhotoItem>& m_mapConfigVipPhoto1 = m_Vip.m_mapConfigVipPhoto1;
    std::map<int, tagVipFrameItem>& m_mapConfigVipFrame = m_Vip.m_mapConfigVipFrame;
    std::map<int, tagVipFrameItem>& m_mapConfigVipFrame1 = m_Vip.m_mapConfigVipFrame1;
    std::map<std::string, std::vector<PublishPlayer>>& m_mapStrKeyToPlayer =
        m_Farm.m_mapStrKeyToPlayer;
    std::map<int32_t, std::vector<std::string>>& m_mapPlayerToStrKey = m_Farm.m_mapPlayerToStrKey;
    std::list<WebFarmSubscribeKeyInfo>& m_lSubscribeKeyInfo = m_Farm.m_lSubscribeKeyInfo;
    const std::vector<std::string>& m_vecStrSensitiveName = m_ForbiddenNames.Fragments();
    const std::vector<int32_t>& m_vcDisconnnetUserID = m_DisabledUsers.List();
};
