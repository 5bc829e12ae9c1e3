#include "HandShark.h"
#include "NetFixture.h"
#include "WebSocketStream.h"

namespace {

using Result = WebSocketStream::Result;
using testing::ElementsAre;
using testing::Pair;

constexpr bool kPlain = false;

// One upgraded connection.
struct Link {
    Result Read(std::string_view bytes) {
        // A heap block of the exact size shows a read past the end.
        const std::vector<char> fresh(bytes.begin(), bytes.end());
        return stream->Receive(carried.data(), length, fresh.data(), std::ssize(fresh),
                               [this](char* payload, long size) {
                                   payloads.emplace_back(payload, static_cast<size_t>(size));
                                   return payloads.size() < closeAfter;
                               });
    }
    Websocket_Request request;
    std::unique_ptr<WebSocketStream> stream = std::make_unique<WebSocketStream>(request);
    std::vector<char> carried = std::vector<char>(WEBSOCKET_BUFFER);
    long length = 0;
    std::vector<std::string> payloads;
    size_t closeAfter = 1000;
};

TEST(WebSocketStream, AnEmptyFrameEndsTheRound) {
    const std::string empty = Frame("", 0x89);
    Link link;
    EXPECT_EQ(Result::Ok, link.Read(Frame("a") + empty + Frame("b")));
    EXPECT_EQ(0, link.length);
    for (char byte : empty)
        EXPECT_EQ(Result::Ok, link.Read({&byte, 1}));
    EXPECT_EQ(Result::Ok, link.Read(empty + "rest"));
    EXPECT_EQ(Result::Ok, link.Read(Frame("c", 0x82, kPlain)));
    EXPECT_THAT(link.payloads, ElementsAre("a", "c"));
    // So does a receiver that closes.
    link.closeAfter = 3;
    EXPECT_EQ(Result::Ok, link.Read(Frame("d") + Frame("e") + "\x82"));
    EXPECT_EQ(3u, link.payloads.size());
    EXPECT_EQ(0, link.length);
}

TEST(WebSocketStream, Closes) {
    constexpr Result First = Result::CloseFirst, Later = Result::CloseLater;
    const std::string data = Frame("data"), close = Frame("\x03\xe8", 0x88);
    const std::string big("\x82\x7e\x10\x00", 4), huge("\x82\xff\x00\x01\x00\x00", 6);
    const std::string long4095 = Frame(std::string(4088, 'p')).substr(0, 4095);
    struct Row {
        const char* name;
        std::vector<std::string> reads;
        Result result;  // of the last read; Ok before
        size_t delivered;
        // What is logged about it.
        uint8_t opcode;
        uint32_t payload;
        long total;
    };
    const Row rows[] = {
        {"first", {close + data}, First, 0, 8, 2, 18},
        {"first byte", {"\x88"}, First, 0, 8, 0, 1},
        {"behind data", {data + data + close}, Later, 2, 8, 2, 28},
        {"byte behind data", {data + "\x88"}, Later, 1, 8, 0, 11},
        {"after a split", {data.substr(0, 3), data.substr(3) + close}, Later, 1, 8, 2, 18},
        {"payload 4096", {big}, First, 0, 2, 4096, 4},
        {"payload 65536", {huge}, First, 0, 2, 65536, 6},
        {"oversized later", {data + big, "x"}, First, 1, 2, 4096, 5},
        {"largest total", {Frame(std::string(4087, 'p'))}, Result::Ok, 1, 2, 4087, 4095},
        {"total 4096", {Frame(std::string(4087, 'p')) + "x"}, First, 0, 0, 0, 4096},
        {"carried total", {long4095, "x"}, First, 0, 2, 4088, 4096},
        {"full read on top", {data.substr(0, 5), std::string(4096, 'p')}, First, 0, 2, 4, 4101},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Link link;
        for (const std::string& read : row.reads)
            EXPECT_EQ(&read == &row.reads.back() ? row.result : Result::Ok, link.Read(read));
        EXPECT_EQ(row.delivered, link.payloads.size());
        EXPECT_EQ(row.opcode, link.request.get_opcode());
        EXPECT_EQ(row.payload, link.request.get_payload_length());
        EXPECT_EQ(row.total, link.stream->Total());
    }
}

HEADER_MAP Fetch(const std::string& request) {
    HEADER_MAP headers = {{"Old", "kept"}};
    const std::vector<char> bytes(request.begin(), request.end());
    FetchHttpInfo(bytes.data(), std::ssize(bytes), headers);
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
    for (const char* request : {"", "\n", "GET /\nA: 1\r\n", "Connection"})
        EXPECT_THAT(Fetch(request), ElementsAre(Pair("Old", "kept"))) << request;
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
    for (const char* bad : {"Zg", "Zg=", "Z===", "====", "Zg==Zg==", "Zm 9", " Zm9v   ", "-_8A"})
        EXPECT_EQ("", base64_decode(bad)) << bad;
}

}  // namespace
