// The message catalogue: the one place that knows every message of every link.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Describes messages for tools and documents: names for the simulator's and the client's output,
// the protocol document, the layouts the browser library is checked against, the message numbers
// that metrics count one by one. The lobby's handlers do not use it. Offsets, sizes and types are
// deduced from the structures of the message headers, so that a description cannot drift from what
// is sent.
// Thread: any; everything is built on first use and constant from then on.
namespace catalog {

// Who sends a message to whom. One type number means different messages on different links.
enum class Direction : uint8_t {
    ClientToLobby,
    LobbyToClient,
    LobbyToQueue,
    QueueToLobby,
    LobbyToCenter,
    CenterToLobby,
    LobbyToConfig,
    ConfigToLobby,
    LobbyToWeb,
    WebToLobby,
    LobbyToLog,
    LobbyToData,
    DataToLobby,
};
inline constexpr size_t DIRECTIONS = 13;

// "client->lobby" and so on.
const char* NameOf(Direction direction);

enum class Kind : uint8_t { Bool, I8, U8, I16, U16, I32, U32, I64, U64, Text, Bytes, Record };

// "i32", "char", "record" and so on.
const char* NameOf(Kind kind);

struct Layout;

struct Field {
    std::string name;
    size_t offset;  // from the start of the message (of the record, within one)
    Kind kind;
    size_t size;                     // bytes of one element
    size_t count;                    // elements of an array, bytes of a text, else 1
    std::string countField;          // name of the field that says how many elements are valid
    const Layout* record = nullptr;  // layout of one element of kind Record; constant, not owned
    std::string meaning = "";
    bool secret = false;  // belongs into no log
    bool filled = false;  // a text that has no terminator when it fills its field

    size_t End() const { return offset + size * count; }
};

// One structure. The header of a message is not among the fields.
struct Layout {
    std::string name;
    size_t size;
    std::vector<Field> fields;
};

struct Message {
    Direction direction;
    uint16_t type;
    std::string name;      // in words; unique within a direction
    const Layout* layout;  // null for messages that are a header only or have no fixed body
    size_t size;           // whole message, header included; the largest one when it varies
    bool varies;           // shorter (or, with an open end, longer) messages are legal
    std::string sizeText;  // how the size comes about when it varies
    uint16_t answer = 0;   // to a client's request: the number of its answer, 0 when it has none

    std::string_view StructName() const { return layout ? std::string_view(layout->name) : ""; }
};

// All messages, ordered by direction and type. Ends the process when two rows describe the same
// message: that is a mistake in the table.
std::span<const Message> All();

// Null when no such message exists. The keep-alive is known in every direction.
const Message* Find(Direction direction, uint16_t type);

// A result code in an answer to a client, and what it means in the player's words.
struct Code {
    uint16_t type;  // of the answer
    int32_t code;
    const char* sentence;
    bool own;  // given by the lobby itself; else by the queue server, as platform_sim has them
};
std::span<const Code> Codes();
// The sentence for a code that is not 0. A code nobody here knows has one, too.
std::string CodeText(uint16_t type, int64_t code);
// The field of an answer that holds its result code; null in messages without one.
const Field* CodeField(const Message& message);

// "Name field=value ..." of a whole message (header included), for people; an answer that refuses
// ends with its sentence. Unknown types give their number and their bytes in hex, short messages
// what came of them, texts end at their first NUL, bytes that do not print are shown as \xNN.
std::string Describe(Direction direction, std::span<const uint8_t> message);

// The fields of a message as one JSON object, texts as strings, 64-bit numbers as numbers; of
// an unknown message its bytes in hex.
std::string DescribeJson(Direction direction, std::span<const uint8_t> message);

// The protocol document, the machine-readable dump of the same, the tables of the dissector in
// tools/wireshark, and those of the client library in web/ with their TypeScript types.
std::string Markdown();
const char* Rules();  // the part of the document that the structures cannot tell
std::string LoginInHex();
std::string Json();
std::string Lua();
std::string JavaScript();
std::string TypeScript();

}  // namespace catalog
