#include "EPOLLReceiver.h"

#include <arpa/inet.h>

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
    m_Input = {};
    m_bProxyHeader = false;
    m_Proxy = {};
    m_Client6 = {};
}

void EPOLLReceiver::CloseContext() {
    m_bStopped = true;
    EPOLLConnection::CloseContext();
}

CIpAddress EPOLLReceiver::Client() const {
    return m_Client6 == CIpAddress() ? CIpAddress(m_addrRemote.sin_addr) : m_Client6;
}

int EPOLLReceiver::ClientPort() const {
    return m_Client6 == CIpAddress() ? ntohs(m_addrRemote.sin_port) : m_usPort6;
}

void EPOLLReceiver::SetClient(const CIpAddress& address, uint16_t port) {
    m_Client6 = {};
    if (address.IsIPv4()) {
        m_addrRemote.sin_addr = address.IPv4();
        m_addrRemote.sin_port = htons(port);
    } else {
        m_Client6 = address;
        m_usPort6 = port;
    }
}
