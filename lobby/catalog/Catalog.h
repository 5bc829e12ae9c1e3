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

enum class Kind : uint8_t { I8, U8, I16, U16, I32, U32, I64, U64, Text, Bytes, Record };

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

    std::string_view StructName() const { return layout ? std::string_view(layout->name) : ""; }
};

// All messages, ordered by direction and type. Ends the process when two rows describe the same
// message: that is a mistake in the table.
std::span<const Message> All();

// Null when no such message exists. The keep-alive is known in every direction.
const Message* Find(Direction direction, uint16_t type);

// "Name field=value ..." of a whole message (header included), for people. Unknown types give
// their number, short messages what came of them, texts end at their first NUL, bytes that do not
// print are shown as \xNN.
std::string Describe(Direction direction, std::span<const uint8_t> message);

// The fields of a message as one JSON object, texts as strings, 64-bit numbers as numbers.
std::string DescribeJson(Direction direction, std::span<const uint8_t> message);

// The protocol document, the machine-readable dump of the same, and the tables of the dissector in
// tools/wireshark.
std::string Markdown();
const char* Rules();  // the part of the document that the structures cannot tell
std::string Json();
std::string Lua();

}  // namespace catalog
