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
#include "NodeSet.h"
#include "RewardAccount.h"
#include "VipTables.h"

// A part of LobbyServer: what the config server and the files beside LobbyServer.cfg tell, who
// subscribed to what, which nodes there are and whose sessions have closed lately. The maps and
// lists can also be reached by the names they always had.
// Thread: message worker, and the lobby's constructor; the two that find nodes: any.
class LobbyTables {
  public:
    VipTables& Vip() { return m_Vip; }
    FarmKeys& Farm() { return m_Farm; }
    ClosedAccounts& Closed() { return m_closedAccounts; }

    // See NodeSet.
    LobbyPlayer* FindPlayerByHandle(uint64_t handle, uint64_t nodeId) {
        return m_Nodes.Find(handle, nodeId);
    }
    LobbyPlayer* FindNodeByHandle(uint64_t handle) { return m_Nodes.Find(handle); }

    // Reads the forbidden name fragments anew and appends the disabled user ids: the latter are
    // cleared only at construction, so every reload lists them once more.
    void loadSensitiveNameCfg();
    // 1 when a forbidden fragment lies anywhere in the name, else 0.
    int isContainSensitiveName(const char* name);
    int GetVipLevel(int value) { return m_Vip.Level(value); }  // see VipTables
    bool IsExistSubscribeKey(const std::string& key) { return m_Farm.IsAllowed(key); }

  protected:
    VipTables m_Vip;
    FarmKeys m_Farm;
    ForbiddenNames m_ForbiddenNames;
    DisabledUsers m_DisabledUsers;
    ClosedAccounts m_closedAccounts;
    NodeSet m_Nodes;

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
