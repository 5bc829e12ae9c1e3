#include "ConfigKeys.h"

#include "Common/IniFile.h"

int ReadInt(const CIniFile& file, const ConfigKey& key) {
    return file.GetValueInt(key.section, key.name, key.defaultValue);
}
