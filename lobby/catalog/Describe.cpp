// Messages in words and as JSON.
#include <algorithm>
#include <cstdio>

#include "Catalog.h"
#include "Text.h"

namespace catalog {
namespace {

using View = std::span<const uint8_t>;

// Little-endian number at offset, or nothing when the message ends before it.
bool ReadNumber(View bytes, size_t offset, size_t size, uint64_t& value) {
    if (offset + size > bytes.size()) return false;
    value = 0;
    for (size_t i = size; i-- > 0;)
        value = value << 8 | bytes[offset + i];
    return true;
}

std::string NumberText(const Field& field, uint64_t value) {
    switch (field.kind) {
        case Kind::I8:
            return std::to_string(static_cast<int8_t>(value));
        case Kind::I16:
            return std::to_string(static_cast<int16_t>(value));
        case Kind::I32:
            return std::to_string(static_cast<int32_t>(value));
        case Kind::I64:
            return std::to_string(static_cast<int64_t>(value));
        default:
            return std::to_string(value);
    }
}

// Printable text between quotes. Bytes of multi-byte characters pass; JSON has no \x form.
std::string QuotedBytes(View text, bool json) {
    std::string out = "\"";
    for (const uint8_t c : text) {
        char escaped[8];
        if (c == '"' || c == '\\') {
            out += {'\\', static_cast<char>(c)};
        } else if (c < 0x20 || c == 0x7F) {
            std::snprintf(escaped, sizeof(escaped), json ? "\\u%04x" : "\\x%02x", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + '"';
}

View TextAt(View bytes, size_t offset, size_t size) {
    if (offset >= bytes.size()) return {};
    const View whole = bytes.subspan(offset, std::min(size, bytes.size() - offset));
    return whole.first(
        static_cast<size_t>(std::find(whole.begin(), whole.end(), 0) - whole.begin()));
}

// The two notations of a list of fields.
struct Notation {
    bool json;
    const char* open;
    const char* close;
    const char* between;
    std::string Name(const std::string& name) const {
        return json ? '"' + name + "\":" : name + '=';
    }
};
constexpr Notation WORDS{false, "{", "}", " "};
constexpr Notation JSON{true, "{", "}", ","};

std::string FieldsText(const Notation& as, View bytes, const Layout& layout, size_t start);

size_t Valid(View bytes, const Layout& layout, const Field& field, size_t start) {
    for (const Field& other : layout.fields) {
        uint64_t value = 0;
        if (other.name == field.countField &&
            ReadNumber(bytes, start + other.offset, other.size, value)) {
            return static_cast<size_t>(std::min<uint64_t>(value, bytes.size()));
        }
    }
    return field.count;
}

// One element of an array, or the field itself.
std::string ElementText(const Notation& as, View bytes, const Field& field, size_t offset) {
    if (field.record != nullptr) {
        if (offset >= bytes.size()) return "";
        return as.open + FieldsText(as, bytes, *field.record, offset) + as.close;
    }
    uint64_t value = 0;
    return ReadNumber(bytes, offset, field.size, value) ? NumberText(field, value) : "";
}

std::string ArrayText(const Notation& as, View bytes, const Field& field, size_t count,
                      size_t offset) {
    std::string out;
    for (size_t i = 0; i < count; ++i) {
        const std::string one = ElementText(as, bytes, field, offset + i * field.size);
        if (one.empty()) break;
        out += (i ? "," : "") + one;
    }
    return "[" + out + "]";
}

std::string FieldText(const Notation& as, View bytes, const Layout& layout, const Field& field,
                      size_t start) {
    const size_t offset = start + field.offset;
    if (field.kind == Kind::Text || field.kind == Kind::Bytes) {
        const size_t size = field.size * Valid(bytes, layout, field, start);
        return offset > bytes.size() ? "" : QuotedBytes(TextAt(bytes, offset, size), as.json);
    }
    if (field.count == 1 && field.countField.empty()) return ElementText(as, bytes, field, offset);
    return ArrayText(as, bytes, field, Valid(bytes, layout, field, start), offset);
}

std::string FieldsText(const Notation& as, View bytes, const Layout& layout, size_t start) {
    std::string out;
    for (const Field& field : layout.fields) {
        const std::string value = FieldText(as, bytes, layout, field, start);
        if (value.empty()) continue;  // the message ends before it
        if (!out.empty()) out += as.between;
        out += as.Name(field.name) + value;
    }
    return out;
}

uint16_t TypeOf(View message) {
    return message.size() < 8 ? 0 : static_cast<uint16_t>(message[6] << 8 | message[7]);
}

std::string HexBytes(View bytes) {
    std::string out;
    char text[4];
    for (const uint8_t byte : bytes) {
        std::snprintf(text, sizeof(text), "%02x", byte);
        out += text;
    }
    return out;
}

// What the code of an answer says when it is not 0; empty otherwise.
std::string Sentence(const Message& row, View message) {
    const Field* field = CodeField(row);
    uint64_t value = 0;
    if (field == nullptr || !ReadNumber(message, field->offset, field->size, value) || value == 0) {
        return "";
    }
    return CodeText(row.type, std::stoll(NumberText(*field, value)));
}

}  // namespace

std::string Describe(Direction direction, View message) {
    const uint16_t type = TypeOf(message);
    const Message* row = Find(direction, type);
    if (row == nullptr) {
        return "unknown type " + HexText(type) + ", " + std::to_string(message.size()) +
               " bytes: " + HexBytes(message);
    }
    if (row->layout == nullptr) return row->name;
    const std::string fields = FieldsText(WORDS, message, *row->layout, 0);
    const std::string sentence = Sentence(*row, message);
    return row->layout->name + (fields.empty() ? "" : " " + fields) +
           (sentence.empty() ? "" : " (" + sentence + ")");
}

std::string DescribeJson(Direction direction, View message) {
    const uint16_t type = TypeOf(message);
    const Message* row = Find(direction, type);
    std::string out = "{\"type\":\"" + HexText(type) + "\"";
    if (row == nullptr) return out + ",\"bytes\":\"" + HexBytes(message) + "\"}";
    out += ",\"name\":\"" + row->name + "\",\"struct\":\"" + std::string(row->StructName()) + "\"";
    if (row->layout != nullptr) {
        out += ",\"fields\":{" + FieldsText(JSON, message, *row->layout, 0) + "}";
    }
    const std::string sentence = Sentence(*row, message);
    if (!sentence.empty()) out += ",\"refused\":\"" + sentence + "\"";
    return out + "}";
}

}  // namespace catalog
