// The WebSocket path: any upgrade request, any frames in any reads; and frames well made, which
// must carry their bytes through whatever the reads. And the header a TCP proxy puts before all.
#include <cstring>

#include "Connection.h"
#include "FuzzInput.h"
#include "HandShark.h"
#include "ProxyHeader.h"
#include "WebSocketInput.h"
#include "WebSocketStream.h"

namespace {

// What the message worker keeps for its upgraded connections.
struct Worker {
    SHA1 sha1;
    HEADER_MAP headers;
    CIpNetworks proxies;
    Websocket_Request request;
    WebSocketStream stream{request};
    char response[WEBSOCKET_RESPONSE_SIZE];
    char carried[WEBSOCKET_BUFFER];
    long carriedLength = 0;

    Worker() { proxies.Add("10.0.0.0/8"); }
    void Upgrade(std::string_view bytes) {
        const std::unique_ptr<char[]> block(new char[bytes.size()]);
        bytes.copy(block.get(), bytes.size());
        FetchHttpInfo(block.get(), static_cast<long>(bytes.size()), headers);
        const long length = ParseStr(sha1, headers, response);
        const std::string_view answer(response, static_cast<size_t>(length));
        Require(answer.starts_with("HTTP/1.1 101 ") && answer.ends_with("\r\n\r\n"),
                "every request is answered whole");
        CIpAddress address;
        uint16_t port = 0;
        static_cast<void>(FindProxiedClient(block.get(), static_cast<long>(bytes.size()), proxies,
                                            address, port));
    }
    // One read of an upgraded connection; false when it is closed.
    bool Frames(Connection& connection, std::string& payloads, std::string_view bytes) {
        const std::unique_ptr<char[]> block(new char[bytes.size()]);
        bytes.copy(block.get(), bytes.size());
        const auto result = stream.Receive(
            carried, carriedLength, block.get(), static_cast<long>(bytes.size()),
            [&](char* payload, long size) {
                Require(size > 0 && size < WEBSOCKET_BUFFER, "a payload has a possible size");
                payloads.append(payload, static_cast<size_t>(size));
                connection.Deliver(payload, size);
                return !connection.IsClosed();
            });
        Require(carriedLength >= 0 && carriedLength < WEBSOCKET_BUFFER, "what is carried fits");
        return result == WebSocketStream::Result::Ok && !connection.IsClosed();
    }
};

std::string Frame(std::string payload, bool masked, uint32_t key, uint8_t opcode) {
    uint8_t head[WEBSOCKET_MAX_HEAD];
    const size_t size = BuildWebSocketHead(payload.size(), head);
    head[0] = static_cast<uint8_t>((head[0] & 0xF0) | opcode);
    if (masked) head[1] |= 0x80;
    std::string frame(reinterpret_cast<char*>(head), size);
    if (masked) {
        char mask[4];
        std::memcpy(mask, &key, sizeof(mask));
        frame.append(mask, sizeof(mask));
        for (size_t i = 0; i < payload.size(); ++i)
            payload[i] = static_cast<char>(payload[i] ^ mask[i % 4]);
    }
    return frame + payload;
}

// Feeds a stream in reads of the sizes given; false when the connection was closed.
bool Feed(Worker& worker, Connection& connection, std::string& payloads, const std::string& stream,
          const std::string& splits) {
    for (const std::string_view read : Reads(stream, splits, 4096)) {
        if (!worker.Frames(connection, payloads, read)) return false;
    }
    return true;
}

// Frames of at most 263 bytes in reads of at most 256 never reach a limit. Their payloads are
// header-only messages, so that the messages' own framing closes nothing.
void WellMade(Worker& worker, FuzzInput& input, const std::string& splits) {
    const std::string message("\x05\0\0\x08\x03\0\xF0\xF1", 8);
    Connection connection;
    std::string stream, expected, payloads;
    size_t taken = 0;
    for (unsigned count = 0; count < 64 && !input.Empty(); ++count) {
        const uint8_t how = input.Byte();
        std::string payload;
        for (size_t left = input.Byte() % 250 + 1u; left > 0; --left)
            payload += message[taken++ % message.size()];
        expected += payload;
        const uint8_t opcode = how & 7;  // 8 closes
        stream += Frame(payload, (how & 0x80) != 0, input.Word() * 65537u, opcode);
    }
    Require(Feed(worker, connection, payloads, stream, splits.empty() ? "\xFF" : splits),
            "good frames close nothing");
    Require(payloads == expected, "payloads arrive as they were sent");
    Require(connection.recorder.delivered.size() == taken / message.size(),
            "and the messages in them");
}

// What a header comes to: everything the lobby asks of it, and the bytes behind it.
std::string ReadHeader(std::string_view stream, const std::string& splits) {
    ProxyHeader header;
    std::string behind;
    for (const std::string_view read : Reads(stream, splits, stream.size())) {
        std::string piece(read);
        char* data = piece.data();
        long length = static_cast<long>(piece.size());
        const auto state = header.Take(data, length);
        Require(state != ProxyHeader::State::Reading || length == 0, "it takes all it may");
        if (state == ProxyHeader::State::Bad) return "bad";
        behind.append(data, static_cast<size_t>(length));
    }
    char none = 0, *data = &none;
    long length = 0;
    if (header.Take(data, length) == ProxyHeader::State::Reading) return "unfinished";
    if (!header.HasSource()) return "local " + behind;
    return header.Source().Format().text + (":" + std::to_string(header.SourcePort())) + behind;
}

// What frames come to as their senders mean them: payload, control frames, and how they end.
std::string ReadInput(std::string_view stream, const std::string& splits) {
    using Event = WebSocketInput::Event;
    WebSocketInput input;
    std::string payload, control;
    for (const std::string_view part : Reads(stream, splits, stream.size())) {
        const std::unique_ptr<char[]> block(new char[part.size()]);
        part.copy(block.get(), part.size());
        char *data = block.get(), *piece = nullptr;
        long length = static_cast<long>(part.size()), size = 0;
        for (Event event = Event::Payload; event != Event::Nothing;) {
            event = input.Next(data, length, piece, size);
            if (event == Event::Fault) return payload + control + std::to_string(input.Status());
            if (event == Event::Payload) payload.append(piece, static_cast<size_t>(size));
            if (event != Event::Ping && event != Event::Close) continue;
            Require(size <= 125, "a control frame is short");
            control.append(piece, static_cast<size_t>(size)) += ';';
            if (event == Event::Close) return payload + control;
        }
        Require(length == 0, "it takes all it may");
    }
    return payload + control;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Worker worker;  // one serves all connections, as in the process
    worker.carriedLength = 0;
    FuzzInput input(data, size);
    const uint8_t mode = input.Byte() % 5;
    if (mode == 0) {
        worker.Upgrade(input.Rest().substr(0, 4096));
        return 0;
    }
    const std::string splits = input.Text();
    if (mode == 3) {
        const std::string_view stream = input.Rest();
        Require(ReadHeader(stream, splits) == ReadHeader(stream, ""), "cuts make no difference");
    } else if (mode == 4) {
        const std::string_view stream = input.Rest();
        Require(ReadInput(stream, splits) == ReadInput(stream, ""), "cuts make no difference");
    } else if (mode == 1) {
        WellMade(worker, input, splits);
    } else {
        Connection connection;
        std::string payloads;
        Feed(worker, connection, payloads, std::string(input.Rest()), splits);
    }
    return 0;
}
