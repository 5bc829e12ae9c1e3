// Writes the protocol document, or checks a copy of it.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "Catalog.h"

namespace {

int Check(const char* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "protocol_doc: cannot read %s\n", path);
        return 2;
    }
    const std::string found{std::istreambuf_iterator<char>(file), {}};
    if (found == catalog::Markdown()) return 0;
    std::fprintf(stderr,
                 "protocol_doc: %s does not match the message headers; write it anew with\n"
                 "    protocol_doc > %s\n",
                 path, path);
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) return std::fputs(catalog::Markdown().c_str(), stdout) < 0;
    if (argc == 2 && std::strcmp(argv[1], "--json") == 0) {
        return std::fputs(catalog::Json().c_str(), stdout) < 0;
    }
    if (argc == 3 && std::strcmp(argv[1], "--check") == 0) return Check(argv[2]);
    std::fprintf(stderr, "usage: protocol_doc [--json | --check FILE]\n");
    return 2;
}
