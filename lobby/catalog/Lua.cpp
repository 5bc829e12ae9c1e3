// The tables of the Wireshark dissector.
#include <set>

#include "Catalog.h"
#include "Text.h"

namespace catalog {
namespace {

// {"name", offset, "kind", element size, count[, counting field[, record]], means = "..."}
std::string LuaFieldRow(const Field& field) {
    std::string row = "    {" + Quoted(field.name) + ", " + std::to_string(field.offset) + ", " +
                      Quoted(NameOf(field.kind)) + ", " + std::to_string(field.size) + ", " +
                      std::to_string(field.count);
    if (!field.countField.empty() || field.record != nullptr)
        row += ", " + Quoted(field.countField);
    if (field.record != nullptr) row += ", " + Quoted(field.record->name);
    return row + ", means = " + Quoted(field.meaning) + "},\n";
}

// Records first: a table names only what stands above it.
void Write(const Layout* layout, std::set<std::string>& seen, std::string& out) {
    if (layout == nullptr || !seen.insert(layout->name).second) return;
    for (const Field& field : layout->fields)
        Write(field.record, seen, out);
    out += "  " + layout->name + " = {\n";
    for (const Field& field : layout->fields)
        out += LuaFieldRow(field);
    out += "  },\n";
}

std::string MessageRow(const Message& message) {
    const std::string_view structure = message.StructName();
    return "    [" + HexText(message.type) + "] = {" + Quoted(message.name) + ", " +
           (structure.empty() ? "nil" : Quoted(structure)) + ", " + std::to_string(message.size) +
           (message.varies ? ", true" : "") + "},\n";
}

}  // namespace

std::string Lua() {
    std::string out =
        "-- Every message, written by `protocol_doc --lua` from the message headers; a test "
        "compares\n"
        "-- this file with them. lobby.lua reads it; loaded on its own it does nothing.\n"
        "local layouts = {\n";
    std::set<std::string> seen;
    for (const Message& message : All())
        Write(message.layout, seen, out);
    out += "}\nlocal messages = {\n";
    const char* direction = "";
    for (const Message& message : All()) {
        if (direction != NameOf(message.direction)) {
            if (*direction != '\0') out += "  },\n";
            direction = NameOf(message.direction);
            out += "  [" + Quoted(direction) + "] = {\n";
        }
        out += MessageRow(message);
    }
    return out + "  },\n}\nreturn {layouts = layouts, messages = messages}\n";
}

}  // namespace catalog
