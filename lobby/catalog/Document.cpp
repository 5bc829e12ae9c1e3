// The protocol document and the machine-readable dump.
#include <set>

#include "Catalog.h"
#include "Text.h"

namespace catalog {
namespace {

std::string TypeText(const Field& field) {
    std::string element =
        field.kind == Kind::Record ? field.record->name : std::string(NameOf(field.kind));
    if (field.count == 0) return element + "[" + field.countField + "]";
    if (field.count == 1 && field.countField.empty() && field.kind != Kind::Text) return element;
    return element + "[" + std::to_string(field.count) + "]";
}

// A field's meaning, and of an array with a counter how much of it is valid.
std::string Remark(const Field& field) {
    if (field.countField.empty() || field.count == 0) return field.meaning;
    return field.meaning + "; the first `" + field.countField + "` are valid";
}

std::string FieldTable(const Layout& layout) {
    std::string out = "| Offset | Field | Type | Bytes | Meaning |\n|---|---|---|---|---|\n";
    for (const Field& field : layout.fields) {
        out += "| " + std::to_string(field.offset) + " | `" + field.name + "` | " +
               TypeText(field) + " | " +
               (field.count ? std::to_string(field.size * field.count) : "-") + " | " +
               Remark(field) + " |\n";
    }
    return out + "\n";
}

std::string SizeText(const Message& message) {
    return message.varies ? message.sizeText : std::to_string(message.size);
}

std::string Overview() {
    std::string out = "| Direction | Type | Message | Structure | Bytes |\n|---|---|---|---|---|\n";
    for (const Message& message : All()) {
        const std::string structure(message.StructName());
        out += std::string("| ") + NameOf(message.direction) + " | " + HexText(message.type) +
               " | " + message.name + " | " + (structure.empty() ? "" : "`" + structure + "`") +
               " | " + SizeText(message) + " |\n";
    }
    return out + "\n";
}

std::string CodeTable() {
    std::string out = "| Answer | Code | Meaning | Given by |\n|---|---|---|---|\n";
    for (const Code& one : Codes()) {
        const Message* answer = Find(Direction::LobbyToClient, one.type);
        out += "| " + HexText(one.type) + " " + answer->name + " | " + std::to_string(one.code) +
               " | " + one.sentence + " | " + (one.own ? "lobby" : "queue server") + " |\n";
    }
    return out + "\n";
}

// The structures of all messages and of the records inside them, each once, in table order.
void Collect(const Layout* layout, std::set<std::string>& seen, std::vector<const Layout*>& all) {
    if (layout == nullptr || !seen.insert(layout->name).second) return;
    all.push_back(layout);
    for (const Field& field : layout->fields)
        Collect(field.record, seen, all);
}

std::string JsonFields(const Layout& layout) {
    std::string out = "[";
    for (const Field& field : layout.fields) {
        if (out.size() > 1) out += ",";
        out += "{\"name\":\"" + field.name + "\",\"offset\":" + std::to_string(field.offset) +
               ",\"type\":\"" + NameOf(field.kind) + "\",\"size\":" + std::to_string(field.size) +
               ",\"count\":" + std::to_string(field.count);
        if (!field.countField.empty()) out += ",\"countField\":\"" + field.countField + "\"";
        out += ",\"meaning\":" + Quoted(field.meaning);
        if (field.record != nullptr) {
            out += ",\"record\":\"" + field.record->name +
                   "\",\"fields\":" + JsonFields(*field.record);
        }
        out += "}";
    }
    return out + "]";
}

}  // namespace

std::string Markdown() {
    std::string out =
        "# Protocol\n\n"
        "Every message of the system, written by `protocol_doc` from the message headers; a test\n"
        "compares this file with them. After a change of a header: `protocol_doc > "
        "docs/protocol.md`.\n\n"
        "A message is an 8-byte header and a body. Header: `identity` u8 (5), `encode` u8 (0 "
        "none,\n"
        "1 AES), `length` u16 big-endian (whole message, 8 to 4096), `version` u8 (3), `reserve`\n"
        "u8 (0), `type` u16 big-endian. Bodies are little-endian and packed to 4 bytes. Offsets\n"
        "count from the start of the message, in records from the start of the record; the bytes\n"
        "of a message include its header. Padding is zero. Texts end at their first zero byte and\n"
        "have none when they fill their field.\n\n";
    out += Rules();
    out += LoginInHex();
    out +=
        "## Codes\n\n"
        "What the code of an answer says; 0 is success. The queue server's are those of\n"
        "`platform_sim`; a platform may have others, which are passed on as they come.\n\n";
    out += CodeTable();
    out += "## Messages\n\n";
    out += Overview();
    out += "## Structures\n\n";
    std::set<std::string> seen;
    std::vector<const Layout*> layouts;
    for (const Message& message : All())
        Collect(message.layout, seen, layouts);
    for (const Layout* layout : layouts) {
        out += "### " + layout->name + " (" + std::to_string(layout->size) + " bytes)\n\n";
        out += FieldTable(*layout);
    }
    out.pop_back();  // one line end closes the file
    return out;
}

std::string Json() {
    std::string out;
    for (const Message& message : All()) {
        const std::string head = std::string("{\"direction\":\"") + NameOf(message.direction) +
                                 "\",\"type\":" + std::to_string(message.type) + ",\"hex\":\"" +
                                 HexText(message.type) + "\",\"name\":\"" + message.name +
                                 "\",\"struct\":\"" + std::string(message.StructName()) +
                                 "\",\"size\":" + std::to_string(message.size) +
                                 ",\"varies\":" + (message.varies ? "true" : "false");
        out += (out.empty() ? "" : ",\n") + head +
               ",\"fields\":" + (message.layout ? JsonFields(*message.layout) : "[]") + "}";
    }
    return "[" + out + "]\n";
}

}  // namespace catalog
