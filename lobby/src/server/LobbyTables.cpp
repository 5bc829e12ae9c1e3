#include "LobbyTables.h"

#include "Common/Log.h"
#include "Settings.h"

void LobbyTables::loadSensitiveNameCfg() {
    m_ConfigSensitiveNameCfg.InitFile("SensitiveName.cfg");
    m_ForbiddenNames.Load(m_ConfigSensitiveNameCfg);
    m_ConfigFileDiscUserID.InitFile("disconnectuserid.cfg");
    const int count = m_DisabledUsers.Load(m_ConfigFileDiscUserID);
    __log(_WARN, "LobbyServer::loadSensitiveNameCfg", "iCount = [%d],m_vcDisconnnetUserID = [%d]",
          count, static_cast<int>(m_vcDisconnnetUserID.size()));
}

int LobbyTables::isContainSensitiveName(const char* name) {
    const std::string* fragment = m_ForbiddenNames.FindIn(name);
    if (fragment == nullptr) return 0;
    __log(_ERROR, "LobbyServer::isContainSensitiveName", "包含敏感字[%s]", fragment->c_str());
    return 1;
}
