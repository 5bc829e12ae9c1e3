// The tables of the client library in web/, and their TypeScript types.
#include <functional>
#include <set>

#include "Catalog.h"
#include "Text.h"

namespace catalog {
namespace {

std::string Single(std::string_view text) {
    return Quoted(text, '\'');
}

std::string Hex(uint16_t type) {
    return HexText(type, "0123456789abcdef");
}

std::string KeyValue(const char* name, const std::string& value) {
    return std::string(", ") + name + ": " + value;
}

bool IsClients(const Message& message) {
    return message.direction == Direction::ClientToLobby ||
           message.direction == Direction::LobbyToClient;
}

// Messages a client library offers: not the one that closes whoever sends it.
void ForEachMessage(const std::function<void(const Message&, const std::string& name)>& act) {
    for (const Message& message : All()) {
        if (!IsClients(message)) continue;
        if (message.layout != nullptr) {
            act(message, message.layout->name);
        } else if (message.name == "keep-alive") {
            act(message, "KeepAlive");
        }
    }
}

// Every structure once, records before those that hold them.
void ForEachLayout(const std::function<void(const Layout&)>& act) {
    std::set<std::string> seen;
    const std::function<void(const Layout*)> visit = [&](const Layout* layout) {
        if (layout == nullptr || !seen.insert(layout->name).second) return;
        for (const Field& field : layout->fields)
            visit(field.record);
        act(*layout);
    };
    ForEachMessage([&](const Message& message, const std::string&) { visit(message.layout); });
}

bool IsArray(const Field& field) {
    return field.kind != Kind::Text && field.count != 1;
}

// What one element of a field is.
std::string ItemText(const Field& field) {
    if (field.record != nullptr) {
        return "{ kind: 'record', size: " + std::to_string(field.size) +
               ", fields: " + field.record->name + " }";
    }
    return "{ kind: " + Single(NameOf(field.kind)) + ", size: " + std::to_string(field.size) + " }";
}

std::string FieldRow(const Field& field) {
    const char* const kind = field.kind == Kind::Text    ? (field.count ? "text" : "tail")
                             : !field.countField.empty() ? "list"
                             : IsArray(field)            ? "array"
                                                         : NameOf(field.kind);
    std::string row =
        "  { name: " + Single(field.name) + KeyValue("offset", std::to_string(field.offset)) +
        KeyValue("kind", Single(kind)) + KeyValue("size", std::to_string(field.size * field.count));
    if (field.kind == Kind::Text && field.count > 0)
        row += KeyValue("room", std::to_string(field.count - (field.filled ? 0 : 1)));
    if (IsArray(field)) {
        row += KeyValue("item", ItemText(field)) +
               KeyValue(field.countField.empty() ? "length" : "max", std::to_string(field.count));
    }
    if (!field.countField.empty()) row += KeyValue("count", Single(field.countField));
    if (field.secret) row += KeyValue("secret", "true");
    return row + KeyValue("meaning", Single(field.meaning)) + " },\n";
}

std::string MessageRow(const Message& message, const std::string& name) {
    const Field* const code = CodeField(message);
    return "  { direction: " +
           std::string(message.direction == Direction::ClientToLobby ? "TO_LOBBY" : "FROM_LOBBY") +
           KeyValue("type", Hex(message.type)) + KeyValue("name", Single(name)) +
           KeyValue("meaning", Single(message.name)) +
           KeyValue("size", std::to_string(message.size)) +
           KeyValue("fields", message.layout ? message.layout->name : "[]") +
           (message.answer ? KeyValue("reply", Hex(message.answer)) : "") +
           (code ? KeyValue("code", Single(code->name)) : "") + " },\n";
}

std::string CodeRows() {
    std::string out;
    for (const Code& one : Codes()) {
        out += "  { type: " + Hex(one.type) + KeyValue("code", std::to_string(one.code)) +
               KeyValue("isOwn", one.own ? "true" : "false") +
               KeyValue("sentence", Single(one.sentence)) + " },\n";
    }
    return out;
}

// A field's type as it is read; as it is given when `sent`: ids and amounts in other forms, too.
std::string TypeOf(const Field& field, bool sent) {
    std::string item;
    if (field.record != nullptr) {
        item = (sent ? "Partial<" : "") + field.record->name + (sent ? ">" : "");
    } else if (field.kind == Kind::Text) {
        return "string";
    } else if (field.kind == Kind::Bool) {
        item = "boolean";
    } else {
        item = sent ? "Integer" : field.size == 8 ? "bigint" : "number";
    }
    return IsArray(field) ? item + "[]" : item;
}

std::string Interface(const std::string& name, const Layout* layout, bool sent) {
    std::string out = "export interface " + name + " {\n";
    if (layout == nullptr) return out + "}\n\n";
    for (const Field& field : layout->fields) {
        out += "  /** " + field.meaning + " */\n  " + field.name + (sent ? "?: " : ": ") +
               TypeOf(field, sent) + ";\n";
    }
    return out + "}\n\n";
}

// A map from names and numbers of messages to the types of their fields.
std::string TypeMap(const char* name, Direction direction, const char* suffix) {
    std::string out = std::string("export interface ") + name + " {\n";
    ForEachMessage([&](const Message& message, const std::string& structure) {
        if (message.direction != direction) return;
        const std::string type = structure + (structure == "KeepAlive" ? "" : suffix);
        out += "  " + structure + ": " + type + ";\n  " + Hex(message.type) + ": " + type + ";\n";
    });
    return out + "}\n\n";
}

std::string ReplyMap() {
    std::string out = "export interface Replies {\n";
    ForEachMessage([&](const Message& message, const std::string&) {
        if (message.answer == 0) return;
        const Message* answer = Find(Direction::LobbyToClient, message.answer);
        out += "  " + Hex(message.type) + ": " +
               (answer->layout ? answer->layout->name : "KeepAlive") + ";\n";
    });
    return out + "}\n";
}

std::string Head(const char* option) {
    return std::string("// Written by `protocol_doc ") + option +
           "` from the message headers; a test compares this file with them.\n\n";
}

}  // namespace

std::string JavaScript() {
    std::string out = Head("--js");
    out += "export const TO_LOBBY = 'to-lobby';\nexport const FROM_LOBBY = 'from-lobby';\n\n";
    ForEachLayout([&](const Layout& layout) {
        out += "const " + layout.name + " = [\n";
        for (const Field& field : layout.fields)
            out += FieldRow(field);
        out += "];\n\n";
    });
    out +=
        "// A request's `reply` is the number of its answer; requests without one are never "
        "answered.\n// An answer's `code` names the field that says how it went.\n"
        "export const MESSAGES = [\n";
    ForEachMessage(
        [&](const Message& message, const std::string& name) { out += MessageRow(message, name); });
    out += "];\n\n// By answer and code. Own codes are the lobby's, others the queue server's.\n";
    return out + "export const CODES = [\n" + CodeRows() + "];\n";
}

std::string TypeScript() {
    std::string out = Head("--types");
    out +=
        "/** A whole number: 64-bit fields take a bigint, others a number; a decimal text does for "
        "both. */\nexport type Integer = number | bigint | string;\n\n";
    std::set<std::string> requests;
    ForEachMessage([&](const Message& message, const std::string& name) {
        if (message.direction == Direction::ClientToLobby && message.layout != nullptr &&
            requests.insert(name).second) {
            out += Interface(name + "Fields", message.layout, true);
        }
    });
    ForEachLayout([&](const Layout& layout) { out += Interface(layout.name, &layout, false); });
    out += Interface("KeepAlive", nullptr, false);
    out += TypeMap("Requests", Direction::ClientToLobby, "Fields");
    out += TypeMap("Answers", Direction::LobbyToClient, "");
    return out + ReplyMap();
}

}  // namespace catalog
