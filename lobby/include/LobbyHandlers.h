// The lobby's handlers by their names.
#pragma once

class CenterServerHandler;
class ConfigServerHandler;
class DataServerHandler;
class LobbyClientHandler;
class LogServerHandler;
class QueueServerHandler;
class WebServerHandler;

// A part of LobbyServer: where its handlers find each other. Owns none of them: those of links
// belong to the lobby's LinkList. Constant once the lobby is constructed. Thread: any.
struct LobbyHandlers {
    CenterServerHandler* GetCenterServerHandler() const { return m_lpCenterServerHandler; }
    LobbyClientHandler* GetLobbyClientHandler() const { return m_lpLobbyClientHandler; }
    WebServerHandler* GetWebServerHandler() const { return m_lpWebServerHandler; }
    LogServerHandler* GetLogServerHandler() const { return m_lpLogServerHandler; }
    QueueServerHandler* GetQueueServerHandler() const { return m_lpQueueServerHandler; }
    DataServerHandler* GetDataServerHandler() const { return m_lpDataServerHandler; }
    ConfigServerHandler* GetConfigServerHandler() const { return m_lpConfigServerHandler; }

    CenterServerHandler* m_lpCenterServerHandler = nullptr;
    LobbyClientHandler* m_lpLobbyClientHandler = nullptr;
    WebServerHandler* m_lpWebServerHandler = nullptr;
    LogServerHandler* m_lpLogServerHandler = nullptr;
    QueueServerHandler* m_lpQueueServerHandler = nullptr;
    DataServerHandler* m_lpDataServerHandler = nullptr;  // lives until the process ends
    ConfigServerHandler* m_lpConfigServerHandler = nullptr;
};
