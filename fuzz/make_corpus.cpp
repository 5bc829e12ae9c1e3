// Writes the seeds and dictionaries of the fuzz targets, from the message catalogue: what the
// tables describe is reached from the first minute, and a new row needs no new seed.
// Usage: make_corpus FOLDER
#include <arpa/inet.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "Game/NetMessage.h"
#include "LobbyOps.h"

namespace {

namespace fs = std::filesystem;
using Rows = std::vector<const catalog::Message*>;

void Write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string Word(size_t value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8)};
}
std::string Text(const std::string& text) {
    return static_cast<char>(text.size()) + text.substr(0, 255);
}

std::string Message(uint16_t type, size_t size) {
    const tagMsgHeader header{MSG_IDENTITY, 0, htons(static_cast<uint16_t>(size)),
                              MSG_VERSION,  0, htons(type)};
    std::string message(reinterpret_cast<const char*>(&header), sizeof(header));
    message.resize(size, 'a');
    return message;
}

// One message of a row in the lobby's notation: exactly its size, or `off` bytes more.
std::string Op(ops::Kind kind, size_t row, uint8_t flags, const std::string& start, int off = 0) {
    std::string op{static_cast<char>(kind), static_cast<char>(row)};
    op += static_cast<char>(off != 0 ? flags | ops::SizeNear : flags);
    if (off != 0) op += static_cast<char>(off);
    return op + Text(start);
}

std::string Describe(const catalog::Message& row) {
    std::string name = row.name;
    for (char& c : name)
        c = c == ' ' ? '-' : c;
    return name;
}

void LobbySeeds(const fs::path& folder, ops::Kind kind, const Rows& rows) {
    const std::string login{static_cast<char>(ops::Login), static_cast<char>(ops::Login | 0x10)};
    const std::string later{static_cast<char>(ops::Tick), 4};
    std::string all = login;
    for (size_t i = 0; i < rows.size(); ++i) {
        const std::string ones("\1\0\0\0\1\0\0\0\1\0\0\0", 12);
        std::string seed = login + later;
        for (const std::string& op :
             {Op(kind, i, 0, ""), Op(kind, i, 0, ones), Op(kind, i, ops::FillOnes, "")}) {
            seed.append(op).append(later);
        }
        seed += Op(kind, i, ops::StaleId, ones) + Op(kind, i, ops::AsGiven | ops::KeepUser, ones);
        seed += Op(kind, i, 0, ones, -1) + Op(kind, i, 0, ones, 1);
        const auto name = std::string(catalog::NameOf(rows[i]->direction)).substr(0, 5) + "-" +
                          Describe(*rows[i]);
        Write(folder / name, (std::string(seed) += static_cast<char>(ops::CloseClient)) += later);
        if (i % 8 == 0) all = login;
        all.append(Op(kind, i, 0, ones)).append(later);
        Write(folder / ("several-" + std::to_string(kind) + "-" + std::to_string(i / 8)), all);
    }
}

// Time passes over a whole day with players in the lobby, every link drops, and Redis gives each of
// its answers to somebody who leaves and comes back.
std::string DaySeed() {
    std::string seed{static_cast<char>(ops::Login), static_cast<char>(ops::Login | 0x20)};
    for (size_t step = 0; step < std::size(ops::STEPS); ++step)
        seed += {static_cast<char>(ops::Tick), static_cast<char>(step)};
    for (char link = 0; link < 6; ++link) {
        seed += {static_cast<char>(ops::CloseLink), link,
                 static_cast<char>(ops::Disturb),   static_cast<char>(link),
                 static_cast<char>(ops::Tick),      6};
    }
    for (int redis = 0; redis < 8; ++redis) {
        seed += {static_cast<char>(ops::Disturb), static_cast<char>(0x80 | redis << 2),
                 static_cast<char>(ops::CloseClient), static_cast<char>(ops::Login)};
    }
    return seed +
           std::string{static_cast<char>(ops::Disturb), '\x81', static_cast<char>(ops::Tick), 9};
}

// Two messages around a header of any identity and length, and short messages, cut everywhere.
void CutSeeds(const fs::path& folder) {
    const std::pair<size_t, size_t> headers[] = {{4, 8},    {5, 7},     {5, 0},
                                                 {5, 4097}, {5, 65535}, {5, 8}};
    int number = 0;
    for (const auto& [identity, length] : headers) {
        std::string stream = Message(1, 8) + Message(2, 8) + Message(3, 8);
        stream[8] = static_cast<char>(identity);
        stream[10] = static_cast<char>(length >> 8);
        stream[11] = static_cast<char>(length);
        for (char cut = 0; cut < 17; ++cut)
            Write(folder / ("header-" + std::to_string(number++)),
                  Text({cut, '\xFF'}) + '\0' + stream);
    }
    const std::string stream =
        Message(1, 8) + Message(2, 9) + Message(3, 21) + Message(4, 8) + Message(5, 13);
    for (char first = 0; first < 59; ++first) {
        for (const char second : {'\0', '\5', '\7', '\xFF'})
            Write(folder / ("cut-" + std::to_string(number++)),
                  Text({first, second, '\xFF'}) + '\0' + stream);
    }
}

void StreamSeeds(const fs::path& folder) {
    CutSeeds(folder);
    std::string joined;
    for (const catalog::Message* row : ops::ClientRows())
        joined += Message(row->type, row->size);
    Write(folder / "plain", Text("") + '\0' + joined);
    Write(folder / "bytewise", Text(std::string(1, '\0')) + '\0' + joined.substr(0, 600));
    Write(folder / "largest", Text("\x7F") + '\0' + Message(1, 4096) + Message(2, 4096));
    Write(folder / "codec", Text("\x05\x40") + '\4' + '\1' + Word(0x00D5) + Text("secret") + '\0' +
                                Word(1) + Text("open") + '\1' + Word(2) +
                                Text(std::string(255, 'x')) + '\1' + Word(3) + Text(""));
}

void WebSocketSeeds(const fs::path& folder) {
    Write(folder / "upgrade", std::string("\0", 1) +
                                  "GET / HTTP/1.1\r\nHost: lobby\r\nConnection: Upgrade\r\n"
                                  "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                                  "Sec-WebSocket-Key: again\r\nX-Real-IP: 10.0.0.1\r\n"
                                  "X-Forwarded-For: 1.2.3.4:5, [::1]:6, 10.9.9.9\r\n\r\n");
    Write(folder / "frames", "\1" + Text("\1\x10\xFF") + "\x82\x07\1\2\2\x40\3\4\x01\xF9\5\6");
    for (char first = 0; first < 127; ++first) {
        for (const char second : {'\0', '\3', '\xFF'})
            Write(folder / ("cut-" + std::to_string(first) + '-' + std::to_string(second)),
                  "\1" + Text({first, second, '\xFF'}) +
                      "\x82\1\2\2\x02\x7C\3\4\x81\x7D\5\6\x02\1\7\7");
    }
    Write(folder / "close", "\2" + Text("") + "\x88\x02\x03\xE8");
    Write(folder / "lengths", "\2" + Text("\3") + std::string("\x82\x7E\1\0", 4) + Message(1, 256) +
                                  std::string("\x82\x88\1\2\3\4", 6) + Message(2, 8) +
                                  std::string("\x82\x7F\0\0\x10\0", 6));
    // A ping inside a message, a length in 8 bytes, a close.
    Write(folder / "standard", "\4" + Text("\3\1") + "\x02\x01m\x89\x81keys!\x80\x01n" +
                                   std::string("\x82\x7F\0\0\0\0\0\0\0\2op", 12) +
                                   "\x88\x02\x03\xE8");
    // TCP over IPv4 and IPv6 with something behind, and a proxy's health check.
    const std::string signature("\r\n\r\n\0\r\nQUIT\n", 12);
    Write(folder / "proxy4", "\3" + Text("\2\5") + signature + std::string("\x21\x11\0\x10", 4) +
                                 std::string(12, '4') + std::string("\4\0\1x", 4) + Message(1, 8));
    Write(folder / "proxy6",
          "\3" + Text("") + signature + std::string("\x21\x21\0\x24", 4) + std::string(36, '6'));
    Write(folder / "proxylocal", "\3" + Text("\3") + signature + std::string("\x20\0\0\0", 4));
}

void OtherSeeds(const fs::path& folder) {
    const std::string ini = "[log]\r\nLevel = ALL\r\n[s]\nk=1\nk2=a b \n; x = 1\nalone\n[t]\n";
    const auto step = [](char what, const char* section, const char* key) {
        return what + Text(section) + Text(key);
    };
    std::string edits = Word(ini.size()) + ini + step(0, "log", "level") + step(2, "s", "k") +
                        step(3, "s", "") + '\x20' + step('\x84', "s", "k2") + Text("new") +
                        step('\x84', "u", "k") + Text("v") + step(6, "s", "alone") +
                        step(5, "log", "") + step(7, "t", "n") + Word(9);
    Write(folder / "ini" / "edits", edits);
    const char* texts[] = {R"({"wsGainList":[{"type":4,"number":1}]})", R"({"wsGainList":{}})",
                           R"({"wsGainList":[1,{"type":4,"number":-2147483648},{"number":1e400}]})",
                           R"([[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]])",
                           R"({"a":"\ud83d\ude00\u0041"})"};
    int number = 0;
    for (const char* text : texts)
        Write(folder / "gains" / std::to_string(number++), text);
}

std::string Quoted(const std::string& bytes) {
    std::string text = "\"";
    for (const char c : bytes) {
        char hex[8];
        std::snprintf(hex, sizeof(hex), "\\x%02X", static_cast<unsigned char>(c));
        text += hex;
    }
    return text + "\"\n";
}

// Message numbers in both byte orders, whole headers, and the rows of the lobby's notation.
std::string Dictionary() {
    std::string words;
    for (const catalog::Message& row : catalog::All()) {
        const std::string type = Word(row.type);
        words += Quoted(type) + Quoted({type[1], type[0]});
        words += Quoted(Message(row.type, row.size).substr(0, sizeof(tagMsgHeader)));
    }
    for (size_t i = 0; i < ops::ClientRows().size(); ++i)
        words += Quoted({static_cast<char>(ops::ClientMessage), static_cast<char>(i)});
    for (size_t i = 0; i < ops::LinkRows().size(); ++i)
        words += Quoted({static_cast<char>(ops::LinkMessage), static_cast<char>(i)});
    for (const char* text :
         {"wsGainList", "\"type\":4", "\"number\":", "Connection: ", "Sec-WebSocket-Key: ",
          "X-Forwarded-For: ", "\r\n\r\n", "[section]\n", "="})
        words += Quoted(text);
    return words;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const fs::path folder = argv[1];
    LobbySeeds(folder / "lobby", ops::ClientMessage, ops::ClientRows());
    LobbySeeds(folder / "lobby", ops::LinkMessage, ops::LinkRows());
    Write(folder / "lobby" / "day", DaySeed());
    StreamSeeds(folder / "stream");
    WebSocketSeeds(folder / "websocket");
    OtherSeeds(folder);
    Write(folder / "messages.dict", Dictionary());
    return 0;
}
