// WebSocket clients as their libraries expect to be served; message worker.
#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "Common/Log.h"
#include "Common/Text.h"
#include "EPOLLServer.h"
#include "Epoll/NetMetrics.h"
#include "Game/NetGame.h"

namespace {

constexpr std::string_view kEndOfRequest = "\r\n\r\n";

}  // namespace

// A client that begins with a capital letter speaks HTTP: no message of the lobby's own protocol
// does. What came of its request is carried where an upgraded connection carries its frames.
bool EPOLLServer::BeginsRequest(const EPOLLReceiver* receiver, const char* data) const {
    if (!receiver->m_bAcceptClient) return false;
    if (receiver->m_lLength > 0) return true;
    return receiver->m_bFirstData && *data >= 'A' && *data <= 'Z';
}

void EPOLLServer::TakeRequest(EPOLLReceiver* receiver, char* data, long length) {
    char* request = receiver->m_szBuffer;
    const long held = receiver->m_lLength;
    const long taken = std::min(length, static_cast<long>(sizeof(receiver->m_szBuffer)) - held);
    std::memcpy(request + held, data, static_cast<size_t>(taken));
    receiver->m_lLength += taken;
    const std::string_view bytes(request, static_cast<size_t>(receiver->m_lLength));
    const size_t end = bytes.find(kEndOfRequest, static_cast<size_t>(std::max(held - 3, 0L)));
    if (end == std::string_view::npos) {
        constexpr size_t kMost = sizeof(receiver->m_szBuffer);
        if (bytes.size() == kMost) RefuseRequest(receiver, "The request is too long.");
        return;
    }
    const long size = static_cast<long>(end + kEndOfRequest.size());
    HandShark(receiver, request, size);
    receiver->m_lLength = 0;
    const long used = size - held;
    if (length > used && !receiver->IsStopped()) TakeFrames(receiver, data + used, length - used);
}

void EPOLLServer::RefuseRequest(EPOLLReceiver* receiver, const char* reason) {
    const int size = std::snprintf(m_szResponse, sizeof(m_szResponse),
                                   "HTTP/1.1 400 Bad Request\r\nContent-Type: text/plain\r\n"
                                   "Content-Length: %zu\r\nConnection: close\r\n\r\n%s\n",
                                   std::strlen(reason) + 1, reason);
    receiver->SendWebSocketData(m_szResponse, size, size, false, nullptr);
    if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::BadFrame);
    __log(_WARN, "EPOLLServer::DoNetMsg", "node[%08x] context[%08x], no WebSocket request: %s",
          static_cast<unsigned>(receiver->m_ulAssociate), PtrTag(receiver), reason);
    CloseNode(receiver);
}

void EPOLLServer::TakeFrames(EPOLLReceiver* receiver, char* data, long length) {
    using Event = WebSocketInput::Event;
    WebSocketInput& input = receiver->m_Input;
    char* piece = nullptr;
    long size = 0;
    while (!receiver->IsStopped()) {
        const Event event = input.Next(data, length, piece, size);
        if (event == Event::Nothing) return;
        if (event == Event::Fault) return EndWebSocket(receiver, input.Status());
        if (event == Event::Payload && m_lpNetMessager != nullptr) {
            m_lpNetMessager->OnReadCompleted(receiver, piece, size);
        }
        if (event == Event::Ping) Answer(receiver, WEBSOCKET_PONG, piece, size);
        if (event == Event::Close) {
            // The status comes back without the words behind it.
            Answer(receiver, WEBSOCKET_CLOSE, piece, std::min(size, 2L));
            return CloseNode(receiver);
        }
    }
}

void EPOLLServer::Answer(EPOLLReceiver* receiver, uint8_t opcode, const void* data, long length) {
    auto* node = reinterpret_cast<IPlayerNode*>(receiver->m_ulAssociate);
    if (m_lpGameProvider == nullptr || node == nullptr) return;
    m_lpGameProvider->SendControl(node, opcode, data, length);
}

void EPOLLServer::EndWebSocket(EPOLLReceiver* receiver, uint16_t status) {
    __log(_WARN, "EPOLLServer::DoNetMsg",
          "node[%08x] context[%08x] opcode[%d] status[%d], no WebSocket frame, do close...",
          static_cast<unsigned>(receiver->m_ulAssociate), PtrTag(receiver),
          receiver->m_Input.Opcode(), status);
    if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::BadFrame);
    const uint16_t bytes = htons(status);
    Answer(receiver, WEBSOCKET_CLOSE, &bytes, sizeof(bytes));
    CloseNode(receiver);
}
