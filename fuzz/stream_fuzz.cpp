// Any bytes in any reads: what is delivered depends on the bytes alone, enciphered or not.
#include <arpa/inet.h>

#include <cstring>

#include "Connection.h"
#include "FuzzInput.h"

namespace {

// The messages that a stream holds, cut in the plainest way; ends at the first fault.
std::vector<Recorder::Delivered> Expected(GameProvider& codec, std::string stream, bool& fault) {
    std::vector<Recorder::Delivered> messages;
    std::vector<char> opened(BUFFER_SIZE);
    fault = false;
    while (stream.size() >= sizeof(tagMsgHeader)) {
        tagMsgHeader header;
        std::memcpy(&header, stream.data(), sizeof(header));
        const size_t length = ntohs(header.length);
        fault = header.identity != MSG_IDENTITY || length < sizeof(header) || length > BUFFER_SIZE;
        if (fault || stream.size() < length) break;
        std::string body = stream.substr(sizeof(header), length - sizeof(header));
        if (header.encode != ENCODE_NONE && !body.empty()) {
            const long size = codec.Decode(body.data(), static_cast<long>(body.size()),
                                           header.encode, opened.data(), BUFFER_SIZE - HEADER_SIZE);
            fault = size < 0;
            if (fault) break;
            body.assign(opened.data(), static_cast<size_t>(size));
        }
        messages.push_back({ntohs(header.type), std::move(body)});
        stream.erase(0, length);
    }
    return messages;
}

// The rest of the input, some of it as whole messages of the codec that the input asks for.
std::string BuildStream(GameProvider& codec, FuzzInput& input) {
    std::string stream;
    std::vector<char> sealed(BUFFER_SIZE);
    for (unsigned count = input.Byte() % 8; count > 0; --count) {
        const uint8_t encode = input.Byte() & 1;
        const uint16_t type = input.Word();
        std::string body = input.Text();
        if (encode == ENCODE_AES && !body.empty()) {
            const long size = codec.Encode(body.data(), static_cast<long>(body.size()), encode,
                                           sealed.data(), static_cast<long>(sealed.size()));
            Require(size > 0, "a body that fits is enciphered");
            body.assign(sealed.data(), static_cast<size_t>(size));
        }
        const auto length = static_cast<uint16_t>(sizeof(tagMsgHeader) + body.size());
        const tagMsgHeader header{MSG_IDENTITY, encode, htons(length), MSG_VERSION, 0, htons(type)};
        stream.append(reinterpret_cast<const char*>(&header), sizeof(header)).append(body);
    }
    return stream.append(input.Rest());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    const std::string splits = input.Text();  // sizes of the reads, over and over
    Connection connection;
    const std::string stream = BuildStream(connection.recorder, input);
    bool fault = false;
    const auto expected = Expected(connection.recorder, stream, fault);
    for (const std::string_view read : Reads(stream, splits, 4096)) {
        if (!connection.IsClosed()) connection.Read(read);
    }
    Require(connection.recorder.delivered == expected, "every message once, whole, in order");
    Require(connection.IsClosed() == fault, "a faulty stream, and no other, is closed");
    return 0;
}
