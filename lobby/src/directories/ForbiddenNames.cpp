#include "ForbiddenNames.h"

#include <algorithm>
#include <numeric>

#include "Common/IniFile.h"
#include "Common/Text.h"
#include "ConfigKeys.h"

namespace {

constexpr const ConfigKey& kList = KeyOf("config", "SensitiveName");
constexpr uint32_t kNone = UINT32_MAX;
constexpr uint32_t kRoot = 0;

// Up to the first NUL, and nothing of a value that is longer than the key allows.
std::string ReadList(const CIniFile& file) {
    std::string list(static_cast<size_t>(kList.most) + 1, '\0');
    file.GetValueStr(kList.section, kList.name, list.data(), static_cast<int>(list.size()));
    list.resize(list.find('\0'));
    return list;
}

}  // namespace

void ForbiddenNames::Load(const CIniFile& file) {
    std::string list = ReadList(file);
    if (list == m_strList) return;
    m_strList = std::move(list);
    m_vecFragments.clear();
    ForEachPiece(m_strList, [this](std::string_view piece) {
        if (!piece.empty()) m_vecFragments.emplace_back(piece);
    });
    BuildIndex();
}

// Grows the tree from the ordered list: the fragments that begin with a node's text lie side by
// side there.
struct ForbiddenNames::Builder {
    struct Range {
        uint32_t from, to, depth;
    };

    explicit Builder(ForbiddenNames& owner) : names(owner), order(owner.m_vecFragments.size()) {
        std::iota(order.begin(), order.end(), 0);
        std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
            const int difference = Text(a).compare(Text(b));
            return difference != 0 ? difference < 0 : a < b;
        });
    }

    const std::string& Text(uint32_t fragment) const { return names.m_vecFragments[fragment]; }
    uint8_t Byte(uint32_t at, uint32_t depth) const {
        return static_cast<uint8_t>(Text(order[at])[depth]);
    }

    void Grow() {
        names.m_vecNodes = {{.found = kNone}};
        ranges = {{0, static_cast<uint32_t>(order.size()), 0}};
        for (uint32_t node = kRoot; node < ranges.size(); ++node)
            AddChildren(node);
        names.m_vecNodes.push_back({.children = static_cast<uint32_t>(ranges.size())});
    }

    void AddChildren(uint32_t node) {
        const Range range = ranges[node];
        names.m_vecNodes[node].children = static_cast<uint32_t>(ranges.size());
        uint32_t at = range.from;
        while (at < range.to && Text(order[at]).size() == range.depth)
            ++at;  // these end here
        while (at < range.to) {
            const uint32_t from = at;
            const uint8_t byte = Byte(from, range.depth);
            while (at < range.to && Byte(at, range.depth) == byte)
                ++at;
            AddChild(node, byte, {from, at, range.depth + 1});
        }
    }

    // What a node falls back to is shorter and has got its children before: its own parent's
    // children are being made, and levels come in order.
    void AddChild(uint32_t parent, uint8_t byte, Range range) {
        Node child{.found = kNone, .byte = byte};
        if (parent != kRoot) {
            child.fallback = names.Next(names.m_vecNodes[parent].fallback, byte);
            child.found = names.m_vecNodes[child.fallback].found;
        }
        if (Text(order[range.from]).size() == range.depth)
            child.found = std::min(child.found, order[range.from]);
        names.m_vecNodes.push_back(child);
        ranges.push_back(range);
    }

    ForbiddenNames& names;
    std::vector<uint32_t> order;  // fragments by text, equal ones in the list's order
    std::vector<Range> ranges;    // of each node
};

void ForbiddenNames::BuildIndex() {
    Builder(*this).Grow();
    m_vecNodes.shrink_to_fit();
}

uint32_t ForbiddenNames::Child(uint32_t node, uint8_t byte) const {
    const auto begin = m_vecNodes.begin() + m_vecNodes[node].children;
    const auto end = m_vecNodes.begin() + m_vecNodes[node + 1].children;
    const auto child = std::lower_bound(
        begin, end, byte, [](const Node& each, uint8_t wanted) { return each.byte < wanted; });
    if (child == end || child->byte != byte) return kRoot;
    return static_cast<uint32_t>(child - m_vecNodes.begin());
}

uint32_t ForbiddenNames::Next(uint32_t node, uint8_t byte) const {
    for (;;) {
        const uint32_t child = Child(node, byte);
        if (child != kRoot || node == kRoot) return child;
        node = m_vecNodes[node].fallback;
    }
}

const std::string* ForbiddenNames::FindIn(std::string_view name) const {
    uint32_t found = kNone;
    uint32_t node = kRoot;
    for (const char c : name) {
        node = Next(node, static_cast<uint8_t>(c));
        found = std::min(found, m_vecNodes[node].found);
    }
    return found == kNone ? nullptr : &m_vecFragments[found];
}
