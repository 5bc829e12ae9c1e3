// The lobby's handlers by their names, and what is asked of the one for clients.
#pragma once

class CenterServerHandler;
class ConfigServerHandler;
class DataServerHandler;
class LobbyClientHandler;
class LogServerHandler;
class QueueServerHandler;
class WebServerHandler;
class IPlayerNode;
class LobbyPlayer;

// A part of LobbyServer: where its handlers find each other. Owns none of them: those of links
// belong to the lobby's LinkList. Constant once the lobby is constructed. Thread: any; what goes on
// to LobbyClientHandler, the message worker.
struct LobbyHandlers {
    CenterServerHandler* GetCenterServerHandler() const { return m_lpCenterServerHandler; }
    LobbyClientHandler* GetLobbyClientHandler() const { return m_lpLobbyClientHandler; }
    WebServerHandler* GetWebServerHandler() const { return m_lpWebServerHandler; }
    LogServerHandler* GetLogServerHandler() const { return m_lpLogServerHandler; }
    QueueServerHandler* GetQueueServerHandler() const { return m_lpQueueServerHandler; }
    DataServerHandler* GetDataServerHandler() const { return m_lpDataServerHandler; }
    ConfigServerHandler* GetConfigServerHandler() const { return m_lpConfigServerHandler; }

    LobbyPlayer* GetPlayerByUserID(int userID);  // the newest session of the user, or null
    LobbyPlayer* GetClientLobbyPlayer();         // head of the session list
    void SendMsgToPlayerByID(int userID, unsigned short type, char* data, long length);
    void SendMsgToAllLobbyClent(unsigned short type, void* data, long length);
    // Notices of the web server.
    void HandleRechargeSucessNotice(void* data, long length);
    void HandleConsumeSucessNotice(void* data, long length);
    void HandleSychUserDataMsg(void* data, long length);
    void HandleSychUserDataMsg(IPlayerNode* node, void* data, long length);

    CenterServerHandler* m_lpCenterServerHandler = nullptr;
    LobbyClientHandler* m_lpLobbyClientHandler = nullptr;
    WebServerHandler* m_lpWebServerHandler = nullptr;
    LogServerHandler* m_lpLogServerHandler = nullptr;
    QueueServerHandler* m_lpQueueServerHandler = nullptr;
    DataServerHandler* m_lpDataServerHandler = nullptr;  // lives until the process ends
    ConfigServerHandler* m_lpConfigServerHandler = nullptr;
};
