#include "LobbyHandlers.h"

#include "LobbyClientHandler.h"

LobbyPlayer* LobbyHandlers::GetPlayerByUserID(int userID) {
    return m_lpLobbyClientHandler->GetPlayerByUserID(userID);
}

LobbyPlayer* LobbyHandlers::GetClientLobbyPlayer() {
    return m_lpLobbyClientHandler->GetClientLobbyPlayer();
}

void LobbyHandlers::SendMsgToPlayerByID(int userID, unsigned short type, char* data, long length) {
    m_lpLobbyClientHandler->SendMsgToPlayerByID(userID, type, data, length);
}

void LobbyHandlers::SendMsgToAllLobbyClent(unsigned short type, void* data, long length) {
    m_lpLobbyClientHandler->SendMsgToAllLobbyClent(type, data, length);
}

void LobbyHandlers::HandleRechargeSucessNotice(void* data, long length) {
    m_lpLobbyClientHandler->HandleRechargeSucessNotice(data, length);
}

void LobbyHandlers::HandleConsumeSucessNotice(void* data, long length) {
    m_lpLobbyClientHandler->HandleConsumeSucessNotice(data, length);
}

void LobbyHandlers::HandleSychUserDataMsg(void* data, long length) {
    m_lpLobbyClientHandler->HandleSychUserDataMsg(data, length);
}

void LobbyHandlers::HandleSychUserDataMsg(IPlayerNode* node, void* data, long length) {
    m_lpLobbyClientHandler->HandleSychUserDataMsg(node, data, length);
}
