// A hand-made WebSocket client, for the tests of the framework.
#pragma once

#include "net_fixture.h"

inline const std::string kRequest =
    "GET / HTTP/1.1\r\nHost: x\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";

// A masked client frame.
inline std::string Frame(const std::string& payload, uint8_t first = 0x82) {
    const char key[4] = {1, 2, 3, 4};
    std::string frame(1, static_cast<char>(first));
    if (payload.size() < 126) {
        frame += static_cast<char>(0x80 | payload.size());
    } else {
        frame += static_cast<char>(0x80 | 126);
        frame += static_cast<char>(payload.size() >> 8);
        frame += static_cast<char>(payload.size() & 0xFF);
    }
    frame.append(key, sizeof(key));
    for (size_t i = 0; i < payload.size(); ++i)
        frame += static_cast<char>(payload[i] ^ key[i % 4]);
    return frame;
}

class WebClient : public Client {
  public:
    explicit WebClient(uint16_t port, int rcvbuf = 0)
        : WebClient(port, rcvbuf, [](Client& client) { client.Send(kRequest); }) {}
    // request sends what ends with a request; the answer is read.
    template <class Request>
    WebClient(uint16_t port, int rcvbuf, Request request) : Client(port, rcvbuf) {
        request(*this);
        while (response.find("\r\n\r\n") == std::string::npos) {
            const std::string byte = Read(1);
            if (byte.empty()) break;
            response += byte;
        }
    }
    // The payload of the next frame, which must be whole, final, binary and unmasked.
    std::string ReadFrame() {
        const std::string head = Read(2);
        if (head.size() < 2 || head[0] != static_cast<char>(0x82)) return "no frame";
        size_t length = static_cast<uint8_t>(head[1]);
        if (length == 126) {
            const std::string more = Read(2);
            length = static_cast<uint8_t>(more[0]) * 256u + static_cast<uint8_t>(more[1]);
        }
        return Read(length);
    }
    std::string response;
};
