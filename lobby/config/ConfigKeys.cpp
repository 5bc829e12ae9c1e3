#include "ConfigKeys.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "Common/IniFile.h"

int ReadInt(const CIniFile& file, const ConfigKey& key) {
    return file.GetValueInt(key.section, key.name, key.defaultValue);
}

std::string RangeOf(const ConfigKey& key) {
    const std::string bounds = std::to_string(key.least) + " to " + std::to_string(key.most);
    if (key.kind == ConfigKind::Integer) {
        return "default " + std::to_string(key.defaultValue) + ", " + bounds;
    }
    const std::string standard = key.required ? "needed" : std::string("default ") + key.standard;
    if (key.kind == ConfigKind::Endpoint) {
        return standard + ", IPv4:port or name:port, at most " + std::to_string(key.most) +
               " characters";
    }
    if (key.kind == ConfigKind::Choice) {
        std::string choices(key.choices);
        std::replace(choices.begin(), choices.end(), '|', ' ');
        return standard + ", one of " + choices;
    }
    return standard + ", " + bounds + " characters";
}

void ForEachKey(const CIniFile& file, const char* section,
                const std::function<void(const char* key)>& use) {
    const int size = file.GetKeyNames(section, nullptr, 0);
    std::vector<char> names(static_cast<size_t>(size) + 1);
    file.GetKeyNames(section, names.data(), size + 1);
    for (const char* key = names.data(); *key != '\0'; key += std::strlen(key) + 1) {
        if (*key != ';' && *key != '#') use(key);
    }
}
