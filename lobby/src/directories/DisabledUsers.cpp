#include "DisabledUsers.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "Common/IniFile.h"
#include "Common/Text.h"
#include "ConfigKeys.h"

namespace {

constexpr std::string_view kUserSection = KeyOf("disconnect", "user%d").section;
constexpr std::string_view kPrefix = "user";

// The number behind "user", spelled as "%d" spells it.
std::optional<size_t> IndexOf(std::string_view key) {
    if (!SameText(key.substr(0, kPrefix.size()), kPrefix)) return std::nullopt;
    key.remove_prefix(kPrefix.size());
    if (key.empty() || (key.size() > 1 && key[0] == '0')) return std::nullopt;
    size_t index = 0;
    const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), index);
    if (error != std::errc() || end != key.data() + key.size()) return std::nullopt;
    return index;
}

// As single look-ups would find them: the first section and the first key of a name count.
std::vector<int32_t> ReadUsers(const CIniFile& file, size_t count) {
    std::vector<int32_t> users(count, 0);
    std::vector<bool> seen(count, false);
    const auto lines = file.Entries();
    auto line = std::find_if(lines.begin(), lines.end(), [](const IniEntry& entry) {
        return entry.section && SameText(entry.name, kUserSection);
    });
    while (line != lines.end() && ++line != lines.end() && !line->section) {
        const auto index = IndexOf(line->name);
        if (!line->value || !index || *index >= count || seen[*index]) continue;
        seen[*index] = true;
        users[*index] = static_cast<int32_t>(std::strtol(line->value->c_str(), nullptr, 10));
    }
    return users;
}

}  // namespace

int DisabledUsers::Load(const CIniFile& file) {
    const int count = ReadInt(file, KeyOf("disconnectcount", "usernum"));
    for (const int32_t userID : ReadUsers(file, static_cast<size_t>(std::max(count, 0)))) {
        m_vecUsers.push_back(userID);
        m_setUsers.insert(userID);
        std::printf("userid = [%d]", userID);
    }
    return count;
}
