// Public header: JSON documents.
#pragma once

#include <cjson/cJSON.h>

#include <cstddef>
#include <vector>

// Deepest nesting of objects and arrays a text may have. cJSON recurses: a level costs 96 bytes of
// stack in its parser and 128 in its printer (which the message for a missing key uses), on top of
// some 6 KiB for printing a number. This many levels stay within 8 KiB, which a framework thread
// has left when it handles a message.
inline constexpr int JSON_MAX_DEPTH = 16;

// True when no point of the text lies deeper than JSON_MAX_DEPTH. Brackets inside strings do not
// count. Needs no stack to speak of.
bool JsonDepthAllowed(const char* text, size_t length);

// One item of a JSON document: builds objects key by key, prints them, reads typed values.
//
// Who deletes what. A wrapper owns its item and deletes the whole tree below it, until the item
// becomes part of another wrapper's document: from then on the wrapper is a view, and destroying
// it never touches the item. Therefore:
//   - a wrapper given to AddJsonItem becomes a view of the receiving document;
//   - the wrappers handed out by GetJsonObj and GetJsonArray are views; the caller deletes the
//     wrapper objects (std::unique_ptr does), before or after any other, and nothing is released
//     twice. Only their items must not be used once the owning wrapper is gone;
//   - a copy owns its own root item only and shares everything below with the source, which must
//     outlive it.
// Texts returned by the printing functions belong to the wrapper.
//
// Messages go to standard output without a line break. Thread: one at a time per document;
// parsing, reading and printing fit a framework thread's stack.
class CJsonPack {
  public:
    // A new empty object. A parent given here is only remembered: AddJsonItem makes the object part
    // of a document.
    explicit CJsonPack(CJsonPack* parent = nullptr);
    // Takes the item over.
    explicit CJsonPack(cJSON* item);
    // Parses; without valid JSON, or with text nested deeper than JSON_MAX_DEPTH, every read
    // fails. The second form needs no terminator and looks at no byte past length.
    explicit CJsonPack(const char* text);
    CJsonPack(const char* text, size_t length);
    // Shallow, see above.
    CJsonPack(const CJsonPack& source);
    CJsonPack& operator=(const CJsonPack&) = delete;
    ~CJsonPack();

    // Add a member to the root object; with no root they print a message and do nothing.
    void AddString(const char* key, const char* text);
    void AddNumber(const char* key, double value);
    void AddBool(const char* key, bool value);
    // The child's item becomes part of this document. A child that already is part of one is
    // refused, and so is one without an item.
    void AddJsonItem(const char* key, CJsonPack* child);
    void AddJsonItem(const char* key, CJsonPack& child);

    // Pretty-printed and compact text; null without a root. Valid until the next print or the
    // wrapper's destruction.
    const char* ToString();
    const char* ToUnfmtString();

    // 1 on success, 0 when there is no root or no such member; keys match without regard to
    // ASCII case, as cJSON looks them up.
    //
    // The integer as cJSON holds it: beyond the int range the nearest limit, fractions cut off,
    // 1 for true, 0 for everything else that is no number.
    int GetValueInt(const char* key, int& value) const;
    int GetValueDouble(const char* key, double& value) const;
    // Copies at most size - 1 characters and NO terminator: pass a zero-filled buffer. 0 for a
    // member that is no string.
    int GetValueStr(const char* key, char* buf, int size) const;
    // Hands out a view of the member, see above.
    int GetJsonObj(const char* key, CJsonPack*& object);
    // Appends a view of each element; 1 when there was at least one. 0 for what is no array.
    int GetJsonArray(std::vector<CJsonPack*>& elements);

  private:
    CJsonPack(cJSON* item, CJsonPack* parent);
    cJSON* Find(const char* key) const;
    const char* Keep(char* text);
    void AddItem(const char* key, cJSON* item);
    CJsonPack* ViewOf(cJSON* item);

    cJSON* m_pRoot = nullptr;
    CJsonPack* m_pParent = nullptr;  // never followed; may be gone already
    char* m_szJson = nullptr;        // last printed text, from malloc
    bool m_bAdded = false;           // a view
};
