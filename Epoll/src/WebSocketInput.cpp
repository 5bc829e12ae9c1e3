#include "WebSocketInput.h"

#include <algorithm>
#include <cstring>

#include "websocket_request.h"

namespace {

constexpr uint8_t kFinal = 0x80, kReserved = 0x70, kMasked = 0x80;

}  // namespace

WebSocketInput::Event WebSocketInput::Next(char*& data, long& length, char*& piece,
                                           long& pieceLength) {
    for (;;) {
        if (!m_bOpen) {
            const Event event = TakeHead(data, length);
            if (event == Event::Fault || !m_bOpen) return event;
        }
        piece = data;
        pieceLength = TakePayload(data, length);
        const bool whole = m_ulLeft == 0;
        if (whole) {
            m_bOpen = false;
            m_ucHead = 0;
        }
        if (!IsControl()) {
            if (pieceLength > 0) return Event::Payload;
        } else {
            std::memcpy(m_szControl + m_ucControl, piece, static_cast<size_t>(pieceLength));
            m_ucControl = static_cast<uint8_t>(m_ucControl + pieceLength);
            if (whole && Opcode() != WEBSOCKET_PONG) return EndControl(piece, pieceLength);
        }
        if (!whole) return Event::Nothing;
    }
}

WebSocketInput::Event WebSocketInput::TakeHead(char*& data, long& length) {
    while (m_ucHead < HeadSize()) {
        if (length == 0) return Event::Nothing;
        m_szHead[m_ucHead++] = static_cast<uint8_t>(*data++);
        --length;
        // A fault shows as soon as these two are there, whether the rest ever comes or not.
        if (m_ucHead == 2 && Open() == Event::Fault) return Event::Fault;
    }
    const uint8_t width = static_cast<uint8_t>(m_szHead[1] & 0x7F);
    const int bytes = width == 126 ? 2 : width == 127 ? 8 : 0;
    m_ulLeft = bytes == 0 ? width : 0;
    for (int i = 0; i < bytes; ++i)
        m_ulLeft = m_ulLeft << 8 | m_szHead[2 + i];
    if (m_ulLeft >> 63 != 0) return Fail(WEBSOCKET_PROTOCOL_ERROR);
    std::memset(m_szMask, 0, sizeof(m_szMask));
    if ((m_szHead[1] & kMasked) != 0) std::memcpy(m_szMask, m_szHead + 2 + bytes, sizeof(m_szMask));
    m_ucControl = 0;
    m_bOpen = true;
    return Event::Nothing;
}

uint8_t WebSocketInput::HeadSize() const {
    if (m_ucHead < 2) return 2;
    const int width = m_szHead[1] & 0x7F;
    return static_cast<uint8_t>(2 +
                                (width == 126   ? 2
                                 : width == 127 ? 8
                                                : 0) +
                                ((m_szHead[1] & kMasked) != 0 ? 4 : 0));
}

// Whether a frame may begin with these two bytes.
WebSocketInput::Event WebSocketInput::Open() {
    const bool final = (m_szHead[0] & kFinal) != 0;
    const uint8_t opcode = Opcode();
    if (opcode == WEBSOCKET_TEXT) return Fail(WEBSOCKET_UNSUPPORTED_DATA);
    if ((m_szHead[0] & kReserved) != 0) return Fail(WEBSOCKET_PROTOCOL_ERROR);
    if (IsControl()) {
        const bool fits = final && (m_szHead[1] & 0x7F) <= kControl && opcode <= WEBSOCKET_PONG;
        return fits ? Event::Nothing : Fail(WEBSOCKET_PROTOCOL_ERROR);
    }
    // A message goes on if, and only if, its last frame was not the final one.
    const uint8_t wanted = m_bFragmented ? WEBSOCKET_CONTINUATION : WEBSOCKET_BINARY;
    if (opcode != wanted) return Fail(WEBSOCKET_PROTOCOL_ERROR);
    m_bFragmented = !final;
    return Event::Nothing;
}

WebSocketInput::Event WebSocketInput::Fail(uint16_t status) {
    m_usStatus = status;
    return Event::Fault;
}

long WebSocketInput::TakePayload(char*& data, long& length) {
    const long taken = static_cast<long>(std::min(m_ulLeft, static_cast<uint64_t>(length)));
    UnmaskPayload(data, data, static_cast<size_t>(taken), m_szMask);
    std::rotate(m_szMask, m_szMask + taken % 4, m_szMask + 4);
    m_ulLeft -= static_cast<uint64_t>(taken);
    data += taken;
    length -= taken;
    return taken;
}

WebSocketInput::Event WebSocketInput::EndControl(char*& piece, long& pieceLength) {
    piece = m_szControl;
    pieceLength = m_ucControl;
    return Opcode() == WEBSOCKET_PING ? Event::Ping : Event::Close;
}
