#include "GameSiteList.h"

#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "MsgView.h"

int32_t GameSiteList::InsertInfo(tagSiteMobileGameList& entry) {
    AssertWorker();
    const GameSiteInfo key{entry.iSiteID, entry.iGameID};
    if (m_gameSiteMap.find(key) == m_gameSiteMap.end()) {
        if (LogEnabled(_DEBUG)) {
            __log(_DEBUG, "InsertInfo",
                  "siteId[%d], gameID[%d], gamekind[%d], typeID[%d], gameName[%s], szTypeName[%s]!",
                  entry.iSiteID, entry.iGameID, entry.iGameKind, entry.iTypeID,
                  TextStr(entry.szGameName).c_str(), TextStr(entry.szTypeName).c_str());
        }
    } else {
        // Replacing leaves no line: the center repeats its whole list on every registration.
        TerminateGameSiteInfo old{entry.iSiteID, entry.iGameID};
        DeleteInfo(old);
    }
    m_gameSiteMap[key] = entry;
    return 1;
}

int32_t GameSiteList::DeleteInfo(TerminateGameSiteInfo& key) {
    AssertWorker();
    const auto it = m_gameSiteMap.find({key.iSiteID, key.iGameID});
    if (it == m_gameSiteMap.end()) {
        __log(_ERROR, "GameSiteList::DeleteInfo:", "GameID[%d] SiteID[%d] delete fail! ",
              key.iGameID, key.iSiteID);
        return 0;
    }
    m_gameSiteMap.erase(it);
    return 1;
}
