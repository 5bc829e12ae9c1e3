// Writes the protocol document and what else comes from the catalogue, or checks copies of them.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "Catalog.h"

namespace {

struct Writer {
    const char* option;
    std::string (*write)();
};
constexpr Writer WRITERS[] = {{"--json", catalog::Json},
                              {"--lua", catalog::Lua},
                              {"--js", catalog::JavaScript},
                              {"--types", catalog::TypeScript}};

int Usage() {
    std::fputs(
        "usage: protocol_doc [--json | --lua | --js | --types] [--check FILE]\n"
        "       protocol_doc --describe    reads lines of \"DIRECTION HEX\", as in\n"
        "                                  \"client->lobby 050000080300f0f1\", and prints each\n"
        "                                  message as JSON\n",
        stderr);
    return 2;
}

int Check(const std::string& wanted, const char* option, const char* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "protocol_doc: cannot read %s\n", path);
        return 2;
    }
    const std::string found{std::istreambuf_iterator<char>(file), {}};
    if (found == wanted) return 0;
    std::fprintf(stderr,
                 "protocol_doc: %s does not match the message headers; write it anew with\n"
                 "    protocol_doc %s > %s\n",
                 path, option, path);
    return 1;
}

bool DirectionOf(const std::string& name, catalog::Direction& direction) {
    for (size_t i = 0; i < catalog::DIRECTIONS; ++i) {
        direction = static_cast<catalog::Direction>(i);
        if (name == catalog::NameOf(direction)) return true;
    }
    return false;
}

int DescribeLines() {
    std::string name;
    std::string hex;
    while (std::cin >> name >> hex) {
        catalog::Direction direction{};
        if (!DirectionOf(name, direction)) return Usage();
        std::vector<uint8_t> message;
        for (size_t i = 0; i + 1 < hex.size(); i += 2)
            message.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
        std::cout << catalog::DescribeJson(direction, message) << '\n';
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words == std::vector<std::string>{"--describe"}) return DescribeLines();
    std::string option;
    std::string (*write)() = catalog::Markdown;
    for (const auto& [name, writer] : WRITERS) {
        if (words.empty() || words[0] != name) continue;
        option = name;
        write = writer;
    }
    if (!option.empty()) words.erase(words.begin());
    const std::string text = write();
    if (words.empty()) return std::fputs(text.c_str(), stdout) < 0;
    if (words.size() == 2 && words[0] == "--check")
        return Check(text, option.c_str(), words[1].c_str());
    return Usage();
}
