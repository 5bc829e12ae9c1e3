// Nesting check ahead of the recursive parser.
#include "cJson/JsonPack.h"

bool JsonDepthAllowed(const char* text, size_t length) {
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < length; ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;  // the escaped character, a quote perhaps
            else
                inString = c != '"';
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > JSON_MAX_DEPTH) return false;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return true;
}
