#include "cJson/JsonPack.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

CJsonPack::CJsonPack(CJsonPack* parent) : m_pRoot(cJSON_CreateObject()), m_pParent(parent) {
    if (m_pRoot == nullptr) std::printf("create json root error!");
}

CJsonPack::CJsonPack(cJSON* item) : m_pRoot(item) {}

CJsonPack::CJsonPack(cJSON* item, CJsonPack* parent)
    : m_pRoot(item), m_pParent(parent), m_bAdded(true) {}

CJsonPack::CJsonPack(const char* text) : CJsonPack(text, text ? std::strlen(text) : 0) {}

// Text of a peer: what nests too deeply is not parsed at all, for the parser recurses on a small
// stack.
CJsonPack::CJsonPack(const char* text, size_t length) {
    if (text != nullptr && JsonDepthAllowed(text, length))
        m_pRoot = cJSON_ParseWithLength(text, length);
}

// The copy's item is marked as a reference with a constant key, so that deleting it leaves the
// children and strings to the source. The sibling links are not taken over: deleting an item
// deletes what follows it.
CJsonPack::CJsonPack(const CJsonPack& source) : m_pRoot(cJSON_CreateObject()) {
    if (m_pRoot == nullptr) {
        std::printf("create json root error!");
        return;
    }
    if (source.m_pRoot == nullptr) return;
    *m_pRoot = *source.m_pRoot;
    m_pRoot->next = nullptr;
    m_pRoot->prev = nullptr;
    m_pRoot->type |= cJSON_IsReference | cJSON_StringIsConst;
}

// What was added to a parent is the parent's to delete.
CJsonPack::~CJsonPack() {
    if (m_pRoot != nullptr && !m_bAdded) cJSON_Delete(m_pRoot);
    std::free(m_szJson);
}

void CJsonPack::AddItem(const char* key, cJSON* item) {
    if (m_pRoot->child == nullptr)
        m_pRoot->type &= ~cJSON_IsReference;  // a copy of an empty object: the member is its own
    if (!cJSON_AddItemToObject(m_pRoot, key, item)) cJSON_Delete(item);
}

void CJsonPack::AddString(const char* key, const char* text) {
    if (m_pRoot == nullptr) {
        std::printf("m_pRoot is nil!");  // the only one with the exclamation mark
        return;
    }
    AddItem(key, cJSON_CreateString(text));
}

void CJsonPack::AddNumber(const char* key, double value) {
    if (m_pRoot == nullptr) {
        std::printf("m_pRoot is nil");
        return;
    }
    AddItem(key, cJSON_CreateNumber(value));
}

void CJsonPack::AddBool(const char* key, bool value) {
    if (m_pRoot == nullptr) {
        std::printf("m_pRoot is nil");
        return;
    }
    AddItem(key, cJSON_CreateBool(value));
}

// The child gives its item to the parent and stays usable as a view of it; added twice, or to
// itself, it would be deleted twice.
void CJsonPack::AddJsonItem(const char* key, CJsonPack* child) {
    if (m_pRoot == nullptr || child == nullptr) {
        std::printf("m_pRoot is nil");
        return;
    }
    if (child == this || child->m_bAdded || child->m_pRoot == nullptr) return;
    if (m_pRoot->child == nullptr) m_pRoot->type &= ~cJSON_IsReference;
    child->m_bAdded = cJSON_AddItemToObject(m_pRoot, key, child->m_pRoot);
    if (child->m_bAdded) child->m_pParent = this;
}

void CJsonPack::AddJsonItem(const char* key, CJsonPack& child) {
    AddJsonItem(key, &child);
}

// The text belongs to the object until the next is made.
const char* CJsonPack::Keep(char* text) {
    std::free(m_szJson);
    m_szJson = text;
    return m_szJson;
}

const char* CJsonPack::ToString() {
    return Keep(m_pRoot ? cJSON_Print(m_pRoot) : nullptr);
}

const char* CJsonPack::ToUnfmtString() {
    return Keep(m_pRoot ? cJSON_PrintUnformatted(m_pRoot) : nullptr);
}

// The member, or null after the message that fits.
cJSON* CJsonPack::Find(const char* key) const {
    if (m_pRoot == nullptr) {
        std::printf("root is nil");
        return nullptr;
    }
    cJSON* item = cJSON_GetObjectItem(m_pRoot, key);
    if (item == nullptr) {
        char* document = cJSON_Print(m_pRoot);
        std::printf("{%s} not in {%s}", key ? key : "", document ? document : "");
        std::free(document);
    }
    return item;
}

int CJsonPack::GetValueInt(const char* key, int& value) const {
    const cJSON* item = Find(key);
    if (item == nullptr) return 0;
    value = item->valueint;
    return 1;
}

int CJsonPack::GetValueDouble(const char* key, double& value) const {
    const cJSON* item = Find(key);
    if (item == nullptr) return 0;
    value = item->valuedouble;
    return 1;
}

int CJsonPack::GetValueStr(const char* key, char* buf, int size) const {
    const cJSON* item = Find(key);
    if (item == nullptr || item->valuestring == nullptr || buf == nullptr) return 0;
    int length = static_cast<int>(std::strlen(item->valuestring));
    if (length >= size) {
        std::printf("ilen[%d] >= iLength[%d]", length, size);
        length = std::max(size - 1, 0);
    }
    std::memcpy(buf, item->valuestring, static_cast<size_t>(length));
    return 1;
}

CJsonPack* CJsonPack::ViewOf(cJSON* item) {
    return new CJsonPack(item, this);
}

int CJsonPack::GetJsonObj(const char* key, CJsonPack*& object) {
    if (m_pRoot == nullptr) {
        std::printf("root is nil");
        return 0;
    }
    cJSON* item = cJSON_GetObjectItem(m_pRoot, key);
    if (item == nullptr) return 0;  // silently, unlike the value reads
    object = ViewOf(item);
    return 1;
}

int CJsonPack::GetJsonArray(std::vector<CJsonPack*>& elements) {
    if (m_pRoot == nullptr) {
        std::printf("root is nil");
        return 0;
    }
    if (!cJSON_IsArray(m_pRoot)) return 0;  // an object's members are no elements
    for (cJSON* item = m_pRoot->child; item != nullptr; item = item->next)
        elements.push_back(ViewOf(item));
    return m_pRoot->child != nullptr ? 1 : 0;
}
