// Prints the table of configuration keys as JSON, for the test of the documents.
#include "ConfigKeys.h"

#include <cstdio>

int main() {
    const char* between = "[";
    for (const ConfigFile& file : kConfigFiles) {
        for (const ConfigKey& key : file.keys) {
            std::printf(
                "%s{\"file\":\"%s\",\"section\":\"%s\",\"name\":\"%s\",\"required\":%s,"
                "\"integer\":%s,\"default\":%d,\"least\":%d,\"most\":%d,\"choices\":\"%s\"}",
                between, file.name, key.section, key.name, key.required ? "true" : "false",
                key.kind == ConfigKind::Integer ? "true" : "false", key.defaultValue, key.least,
                key.most, key.choices);
            between = ",\n";
        }
    }
    std::printf("]\n");
}
