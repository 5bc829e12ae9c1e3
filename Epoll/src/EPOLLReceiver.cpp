#include "EPOLLReceiver.h"

void EPOLLReceiver::Initialize() {
    EPOLLConnection::Initialize();
    m_lRecvTime = 0;
    m_bStopped = false;
    m_lRecvCount = 0;
    m_lpNext = nullptr;
    m_lpPrior = nullptr;
    m_bListed = false;
    m_bFirstData = true;
    m_bCallClosed = false;
}

void EPOLLReceiver::CloseContext() {
    m_bStopped = true;
    EPOLLConnection::CloseContext();
}
