#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "HandShark.h"
#include "WebSocketStream.h"

namespace {

using Result = WebSocketStream::Result;
using testing::ElementsAre;
using testing::Pair;

constexpr bool kMasked = true;
constexpr bool kPlain = false;

std::string Payload(size_t length) {
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i)
        text[i] = static_cast<char>(i * 31 + length);
    return text;
}

std::string Frame(const std::string& payload, bool masked, uint8_t opcode = 2) {
    uint8_t head[WEBSOCKET_MAX_HEAD];
    const size_t size = BuildWebSocketHead(payload.size(), head);
    std::string frame(reinterpret_cast<char*>(head), size);
    frame[0] = static_cast<char>(0x80 | opcode);
    if (!masked) return frame + payload;
    const std::string key = "\x37\xfa\x21\x3d";
    frame[1] = static_cast<char>(frame[1] | 0x80);
    frame += key;
    for (size_t i = 0; i < payload.size(); ++i) {
        frame += static_cast<char>(payload[i] ^ key[i % 4]);
    }
    return frame;
}

// One upgraded connection.
class Link {
  public:
    Result Read(std::string_view bytes) {
        // A heap block of the exact size shows a read past the end.
        const std::vector<char> fresh(bytes.begin(), bytes.end());
        return stream.Receive(carried.data(), length, fresh.data(), static_cast<long>(fresh.size()),
                              [this](char* payload, long size) {
                                  payloads.emplace_back(payload, static_cast<size_t>(size));
                                  return payloads.size() < closeAfter;
                              });
    }
    Websocket_Request request;
    std::unique_ptr<WebSocketStream> owned = std::make_unique<WebSocketStream>(request);
    WebSocketStream& stream = *owned;
    std::vector<char> carried = std::vector<char>(WEBSOCKET_BUFFER);
    long length = 0;
    std::vector<std::string> payloads;
    size_t closeAfter = 1000;
};

TEST(WebSocketStream, EverySplitYieldsTheSamePayloads) {
    const std::vector<std::string> payloads = {Payload(1), Payload(125), Payload(126), Payload(2)};
    const std::string stream = Frame(payloads[0], kMasked) + Frame(payloads[1], kPlain, 1) +
                               Frame(payloads[2], kMasked, 9) + Frame(payloads[3], kPlain);
    Link link;
    for (size_t first = 1; first < stream.size(); ++first) {
        for (size_t second = first + 1; second < stream.size(); ++second) {
            link.payloads.clear();
            ASSERT_EQ(Result::Ok, link.Read({stream.data(), first}));
            ASSERT_EQ(Result::Ok, link.Read({stream.data() + first, second - first}));
            ASSERT_EQ(Result::Ok, link.Read({stream.data() + second, stream.size() - second}));
            ASSERT_EQ(payloads, link.payloads) << first << " " << second;
            ASSERT_EQ(0, link.length);
        }
    }
}

TEST(WebSocketStream, LargeFramesComeTogetherFromSmallReads) {
    const std::vector<std::string> payloads = {Payload(4000), Payload(126), Payload(4000),
                                               Payload(125)};
    std::string stream;
    for (const std::string& payload : payloads)
        stream += Frame(payload, kMasked);
    for (size_t step : {1, 3}) {
        Link link;
        for (size_t at = 0; at < stream.size(); at += step) {
            ASSERT_EQ(Result::Ok, link.Read(std::string_view(stream).substr(at, step)));
        }
        EXPECT_EQ(payloads, link.payloads) << step;
    }
}

TEST(WebSocketStream, AnEmptyFrameEndsTheRound) {
    const std::string empty = Frame("", kMasked, 9);
    Link link;
    EXPECT_EQ(Result::Ok, link.Read(Frame("a", kMasked) + empty + Frame("b", kMasked)));
    EXPECT_EQ(0, link.length);
    for (char byte : empty)
        EXPECT_EQ(Result::Ok, link.Read({&byte, 1}));
    EXPECT_EQ(0, link.length);
    EXPECT_EQ(Result::Ok, link.Read(empty + "rest"));
    EXPECT_EQ(Result::Ok, link.Read(Frame("c", kPlain)));
    EXPECT_THAT(link.payloads, ElementsAre("a", "c"));
}

TEST(WebSocketStream, AClosingReceiverDropsTheRest) {
    Link link;
    link.closeAfter = 2;
    const std::string frame = Frame("a", kMasked);
    EXPECT_EQ(Result::Ok, link.Read(frame + frame + frame + "\x82"));
    EXPECT_EQ(2u, link.payloads.size());
    EXPECT_EQ(0, link.length);
}

TEST(WebSocketStream, Closes) {
    const std::string data = Frame("data", kMasked);
    const std::string close = Frame("\x03\xe8", kMasked, 8);
    const std::string big("\x82\x7e\x10\x00", 4);
    const std::string huge("\x82\xff\x00\x01\x00\x00", 6);
    struct Row {
        const char* name;
        std::vector<std::string> reads;
        Result result;  // of the last read; Ok before
        size_t delivered;
        uint8_t opcode;
        uint32_t payload;
        long total;
    };
    const Row rows[] = {
        {"first", {close + data}, Result::CloseFirst, 0, 8, 2, 18},
        {"first byte", {"\x88"}, Result::CloseFirst, 0, 8, 0, 1},
        {"behind data", {data + data + close}, Result::CloseLater, 2, 8, 2, 28},
        {"byte behind data", {data + "\x88"}, Result::CloseLater, 1, 8, 0, 11},
        {"after a split",
         {data.substr(0, 3), data.substr(3) + close},
         Result::CloseLater,
         1,
         8,
         2,
         18},
        {"payload 4096", {big}, Result::CloseFirst, 0, 2, 4096, 4},
        {"payload 65536", {huge}, Result::CloseFirst, 0, 2, 65536, 6},
        {"oversized later", {data + big, "x"}, Result::CloseFirst, 1, 2, 4096, 5},
        {"largest total", {Frame(Payload(4087), kMasked)}, Result::Ok, 1, 2, 4087, 4095},
        {"total 4096", {Frame(Payload(4087), kMasked) + "x"}, Result::CloseFirst, 0, 0, 0, 4096},
        {"carried total",
         {Frame(Payload(4088), kMasked).substr(0, 4095), "x"},
         Result::CloseFirst,
         0,
         2,
         4088,
         4096},
        {"full read on top", {data.substr(0, 5), Payload(4096)}, Result::CloseFirst, 0, 2, 4, 4101},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Link link;
        for (size_t i = 0; i + 1 < row.reads.size(); ++i) {
            EXPECT_EQ(Result::Ok, link.Read(row.reads[i]));
        }
        EXPECT_EQ(row.result, link.Read(row.reads.back()));
        EXPECT_EQ(row.delivered, link.payloads.size());
        EXPECT_EQ(row.opcode, link.request.get_opcode());
        EXPECT_EQ(row.payload, link.request.get_payload_length());
        EXPECT_EQ(row.total, link.stream.Total());
    }
}

TEST(WebsocketRequest, ReadsNoFurtherThanWhatCame) {
    struct Row {
        std::string head;
        uint32_t payload;
    };
    const Row rows[] = {
        {std::string("\x82\x05", 2), 5},
        {std::string("\x82\x85keyk", 6), 5},
        {std::string("\x82\x7e\xff\xff", 4), 65535},
        {std::string("\x02\xfe\x00\x7ekeyk", 8), 126},
        // Four bytes of length, whatever the other four are.
        {std::string("\x82\xff\x00\x00\x01\x02keyk", 10), 258},
    };
    for (const Row& row : rows) {
        Websocket_Request request;
        for (size_t came = 0; came <= row.head.size(); ++came) {
            const std::vector<char> bytes(row.head.begin(),
                                          row.head.begin() + static_cast<long>(came));
            EXPECT_EQ(came == row.head.size(),
                      request.fetch_websocket_info(bytes.data(), static_cast<long>(came)));
            EXPECT_EQ(came > 0 ? 2 : 0, request.get_opcode());
        }
        const long size = static_cast<long>(row.head.size());
        EXPECT_EQ(row.payload, request.get_payload_length());
        EXPECT_EQ(size, request.get_pos());
        EXPECT_FALSE(request.has_frame(size + row.payload - 1));
        EXPECT_TRUE(request.has_frame(size + row.payload));
    }
}

TEST(WebsocketRequest, LeavesPayloadsAboveItsLimit) {
    std::string frame = Frame(Payload(8192), kPlain);
    const std::string before = frame;
    Websocket_Request request;
    ASSERT_TRUE(request.fetch_websocket_info(frame.data(), static_cast<long>(frame.size())));
    request.fetch_payload(frame.data());
    EXPECT_EQ(before, frame);
    EXPECT_EQ(4, request.get_pos());
}

TEST(WebSocketHead, UsesTheShortestForm) {
    const std::pair<uint64_t, std::string> rows[] = {
        {0, std::string("\x82\x00", 2)},
        {125, "\x82\x7d"},
        {126, std::string("\x82\x7e\x00\x7e", 4)},
        {65535, "\x82\x7e\xff\xff"},
        {65536, std::string("\x82\x7f\x00\x00\x00\x00\x00\x01\x00\x00", 10)},
    };
    for (const auto& [length, expected] : rows) {
        uint8_t head[WEBSOCKET_MAX_HEAD];
        const size_t size = BuildWebSocketHead(length, head);
        EXPECT_EQ(expected, std::string(reinterpret_cast<char*>(head), size)) << length;
    }
}

HEADER_MAP Fetch(const std::string& request) {
    HEADER_MAP headers = {{"Old", "kept"}};
    const std::vector<char> bytes(request.begin(), request.end());
    FetchHttpInfo(bytes.data(), static_cast<long>(bytes.size()), headers);
    return headers;
}

TEST(FetchHttpInfo, SplitsHeaderLines) {
    EXPECT_THAT(Fetch("GET / HTTP/1.1\r\nA: 1\r\na: 2\r\nA: 3\r\nno colon:x\r\nlf only: 4\n"
                      "B: x: y\r\nEmpty: \r\n: none\r\n\r\nBody: 5\r\n"),
                ElementsAre(Pair("", "none"), Pair("A", "1"), Pair("B", "x: y"), Pair("Empty", ""),
                            Pair("a", "2")));
    EXPECT_THAT(Fetch("GET /\r\nA: 1\r\nCut: of"), ElementsAre(Pair("A", "1")));
    EXPECT_THAT(Fetch("GET /\r\nCut: off\r"), ElementsAre(Pair("Cut", "off")));
    EXPECT_TRUE(Fetch("GET /\r").empty());
    for (const char* request : {"", "\n", "GET /\nA: 1\r\n", "Connection"}) {
        EXPECT_THAT(Fetch(request), ElementsAre(Pair("Old", "kept"))) << request;
    }
}

TEST(ParseStr, AnswersWithTheAcceptKey) {
    // The last two: nothing to hash but the suffix, and a key as long as a whole read.
    const std::pair<HEADER_MAP, std::string> rows[] = {
        {{{"Sec-WebSocket-Key", "dGhlIHNhbXBsZSBub25jZQ=="}}, "s3pPLMBiTxaQ9kYGzzhZRbK+xOo="},
        {{}, "Kfh9QIsMVZcl6xEPYxPHzW8SZ8w="},
        {{{"Sec-WebSocket-Key", std::string(4096, 'k')}}, "ly3NAYZBo0MwUXO0Wdyw9Zqq4Tg="},
    };
    SHA1 sha1;
    for (const auto& [headers, key] : rows) {
        char response[WEBSOCKET_RESPONSE_SIZE];
        std::fill(std::begin(response), std::end(response), 'x');
        const long length = ParseStr(sha1, headers, response);
        EXPECT_EQ(
            "HTTP/1.1 101 Switching Protocols\r\nConnection: upgrade\r\n"
            "Sec-WebSocket-Accept: " +
                key + "\r\nUpgrade: websocket\r\n\r\n",
            std::string(response, static_cast<size_t>(length)));
        EXPECT_EQ('\0', response[length]);
        EXPECT_EQ('\0', response[WEBSOCKET_RESPONSE_SIZE - 1]);
    }
}

TEST(Sha1, HashesPiecesAndNeedsAReset) {
    SHA1 sha1;
    uint32_t words[SHA1::kWords];
    sha1.Input("a", 1);
    sha1.Input("bc", 2);
    ASSERT_TRUE(sha1.Result(words));
    EXPECT_THAT(words, ElementsAre(0xA9993E36, 0x4706816A, 0xBA3E2571, 0x7850C26C, 0x9CD0D89D));
    EXPECT_FALSE(sha1.Result(words));
    sha1.Reset();
    ASSERT_TRUE(sha1.Result(words));
    EXPECT_EQ(0xDA39A3EEu, words[0]);
}

TEST(Base64, EncodesAndDecodes) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
        {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {std::string("\xfb\xff\x00", 3), "+/8A"},
    };
    for (const auto& [data, text] : rows) {
        EXPECT_EQ(text, base64_encode(data.data(), data.size()));
        EXPECT_EQ(data, base64_decode(text));
    }
    for (const char* bad : {"Zg", "Zg=", "Z===", "====", "Zg==Zg==", "Zm 9", " Zm9v   ", "-_8A"}) {
        EXPECT_EQ("", base64_decode(bad)) << bad;
    }
}

}  // namespace
