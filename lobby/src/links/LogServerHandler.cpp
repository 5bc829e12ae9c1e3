#include "LogServerHandler.h"

#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "LobbyServer.h"

int64_t LogServerHandler::ConnectServer() {
    return Open();
}

bool LogServerHandler::OnNetMessage(IPlayerNode*, uint16_t, void*, long) {
    return false;
}

// No queue while the link is down: the line below is all that remains of the record.
void LogServerHandler::SendMsgToLogServer(uint16_t type, void* data, long length) {
    AssertWorker();
    if (IPlayerNode* const link = m_lpLogServer) {
        m_lpLobbyServer->SendData(link, type, data, length, ENCODE_NONE);
        return;
    }
    __log(_ERROR, "LogServerHandler::SendMsgToLogServer",
          "send msg to logserver type[%d] length[%d] failed.", type, static_cast<int>(length));
}
