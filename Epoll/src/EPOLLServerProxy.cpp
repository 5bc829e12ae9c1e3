// What trusted proxies say about their clients; message worker.
#include <arpa/inet.h>

#include "Common/Log.h"
#include "Common/Text.h"
#include "EPOLLServer.h"
#include "Epoll/NetMetrics.h"

bool EPOLLServer::IsProxy(const EPOLLReceiver* receiver) const {
    // A listener and its clients are IPv4, but what a proxy states may be IPv6.
    return !m_Trust.networks.Empty() && m_Trust.networks.Contains(receiver->Client());
}

// Takes what the bytes hold of the header; true when there is something else behind it.
bool EPOLLServer::TakeProxyHeader(EPOLLReceiver* receiver, char*& data, long& length) {
    ProxyHeader& header = receiver->m_Proxy;
    if (!header.Begun() && m_Trust.header == ProxyTrust::Header::Optional &&
        *data != ProxyHeader::kFirstByte) {
        receiver->m_bProxyHeader = false;
        return true;
    }
    const ProxyHeader::State state = header.Take(data, length);
    if (state == ProxyHeader::State::Reading) return false;
    receiver->m_bProxyHeader = false;
    if (state == ProxyHeader::State::Bad) {
        const sockaddr_in& peer = receiver->m_addrRemote;
        __log(_WARN, "EPOLLServer::DoNetMsg",
              "node[%08x] context[%08x], %s:%d sends no PROXY header, do close...",
              static_cast<unsigned>(receiver->m_ulAssociate), PtrTag(receiver),
              CIpAddress(peer.sin_addr).Format().text, ntohs(peer.sin_port));
        if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::BadMessage);
        CloseNode(receiver);
        return false;
    }
    if (header.HasSource()) SetClient(receiver, header.Source(), header.SourcePort());
    return length > 0;
}

void EPOLLServer::TakeForwardedClient(EPOLLReceiver* receiver, const char* request, long length) {
    if (!IsProxy(receiver)) return;
    CIpAddress address;
    uint16_t port = 0;
    if (FindProxiedClient(request, length, m_Trust.networks, address, port)) {
        SetClient(receiver, address, port);
    }
}

void EPOLLServer::SetClient(EPOLLReceiver* receiver, const CIpAddress& address, uint16_t port) {
    const CIpAddress::Text proxy = receiver->Client().Format();
    const int proxyPort = receiver->ClientPort();
    receiver->SetClient(address, port);
    __log(_ALL, "EPOLLServer::DoNetMsg", "node[%08x] context[%08x], %s:%d is the proxy of %s:%d",
          static_cast<unsigned>(receiver->m_ulAssociate), PtrTag(receiver), proxy.text, proxyPort,
          address.Format().text, port);
}
