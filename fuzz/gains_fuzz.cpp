// The JSON text of a consume notice, and the JSON wrapper on the same text.
#include <algorithm>
#include <memory>

#include "FuzzInput.h"
#include "LobbyClientHandler.h"
#include "cJson/JsonPack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy without terminator, as the text lies in a message.
    const size_t length = std::min<size_t>(size, 4072);
    const std::unique_ptr<char[]> text(new char[length + 1]);
    std::copy_n(data, length, text.get());

    LobbyClientHandler handler(nullptr);
    LobbyPlayer player;
    player.Initialize();
    handler.CallBackRechargeSuccess(&player, text.get(), static_cast<int>(length));

    CJsonPack document(text.get(), length);
    if (const char* printed = document.ToUnfmtString()) {
        const std::string once = printed;
        Require(JsonDepthAllowed(once.data(), once.size()), "printing adds no depth");
        CJsonPack again(once.c_str());
        const char* twice = again.ToUnfmtString();
        Require(twice != nullptr && once == twice, "what was printed reads as the same");
    }
    return 0;
}
