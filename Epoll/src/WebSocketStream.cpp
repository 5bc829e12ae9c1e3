#include "WebSocketStream.h"

#include <cstring>

namespace {

constexpr long kMaxTotal = WEBSOCKET_BUFFER - 1;

}  // namespace

WebSocketStream::Step WebSocketStream::Begin(char* carried, long& carriedLength, const char* fresh,
                                             long length) {
    m_lTotal = carriedLength + length;
    m_lLeft = carriedLength;
    m_lpFrame = m_szWork;
    std::memcpy(m_szWork, carried, static_cast<size_t>(carriedLength));
    if (m_lTotal <= kMaxTotal) {
        std::memcpy(m_szWork + carriedLength, fresh, static_cast<size_t>(length));
        m_lLeft = m_lTotal;
    }
    const bool headWhole = m_Request.fetch_websocket_info(m_szWork, m_lLeft);
    if (m_Request.get_opcode() == WEBSOCKET_OPCODE_CLOSE || m_lTotal > kMaxTotal ||
        m_Request.get_payload_length() > kMaxTotal) {
        return Step::CloseFirst;
    }
    if (!headWhole || !m_Request.has_frame(m_lLeft)) {
        std::memcpy(carried + carriedLength, fresh, static_cast<size_t>(length));
        carriedLength = m_lTotal;
        return Step::Done;
    }
    return Open(carriedLength);
}

WebSocketStream::Step WebSocketStream::Next(char* carried, long& carriedLength) {
    m_lpFrame += m_Request.get_pos();
    m_lLeft -= m_Request.get_pos();
    if (m_lLeft == 0) {
        carriedLength = 0;
        return Step::Done;
    }
    const bool headWhole = m_Request.fetch_websocket_info(m_lpFrame, m_lLeft);
    if (m_Request.get_opcode() == WEBSOCKET_OPCODE_CLOSE) return Step::CloseLater;
    if (!headWhole || !m_Request.has_frame(m_lLeft)) {
        // An oversized length is found out here only with the next read, as a first frame.
        std::memcpy(carried, m_lpFrame, static_cast<size_t>(m_lLeft));
        carriedLength = m_lLeft;
        return Step::Done;
    }
    return Open(carriedLength);
}

WebSocketStream::Step WebSocketStream::Open(long& carriedLength) {
    if (m_Request.get_payload_length() == 0) {
        carriedLength = 0;
        return Step::Done;
    }
    m_Request.fetch_payload(m_lpFrame);
    return Step::Payload;
}

size_t BuildWebSocketHead(uint64_t payloadLength, uint8_t (&head)[WEBSOCKET_MAX_HEAD]) {
    const size_t width = payloadLength < 126 ? 0 : payloadLength <= 0xFFFF ? 2 : 8;
    head[0] = WEBSOCKET_DATA_FRAME;
    head[1] = static_cast<uint8_t>(width == 0 ? payloadLength : width == 2 ? 126 : 127);
    for (size_t i = 0; i < width; ++i) {
        head[2 + i] = static_cast<uint8_t>(payloadLength >> 8 * (width - 1 - i));
    }
    return 2 + width;
}
