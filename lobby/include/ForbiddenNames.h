// The texts that names and signatures must not contain.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CIniFile;

// The list of forbidden fragments and an index over it, so that a look costs time by the name's
// length and not by the list's: whoever sends names cannot make them dear. Owns both.
// Thread: one at a time; the lobby's message worker, and its constructor on main.
class ForbiddenNames {
  public:
    ForbiddenNames() { BuildIndex(); }

    // Takes the list from SensitiveName.cfg: fragments between commas, empty ones left out; none
    // when the key is missing or its value too long. The index is made anew only for a new list.
    void Load(const CIniFile& file);

    // In the order of the file.
    const std::vector<std::string>& Fragments() const { return m_vecFragments; }

    // Of the fragments that lie anywhere in the name, the first of the list; null when none does.
    const std::string* FindIn(std::string_view name) const;

  private:
    // The fragments as a tree of bytes: a node is what a fragment begins with. Nodes lie level by
    // level, so that a node's children are neighbours, ordered by byte, and end where the next
    // node's begin.
    struct Node {
        uint32_t children = 0;  // the first of them
        uint32_t fallback = 0;  // the longest proper end of this text that is a node, too
        uint32_t found = 0;     // the first of the list that this text ends with, or kNone
        uint8_t byte = 0;
    };
    struct Builder;

    void BuildIndex();
    // The node of this text and one byte more; 0 when there is none.
    uint32_t Child(uint32_t node, uint8_t byte) const;
    // The longest end of node's text and byte that is a node.
    uint32_t Next(uint32_t node, uint8_t byte) const;

    std::string m_strList;  // as it stands in the file
    std::vector<std::string> m_vecFragments;
    std::vector<Node> m_vecNodes;  // the root first; one behind the last ends its children
};
