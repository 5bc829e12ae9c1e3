// The client's side of the WebSocket framing, on byte strings.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace websocket {

// The upgrade request; the key is the same for all, which the protocol allows.
std::string_view UpgradeRequest();

enum class Upgrade { Incomplete, Accepted, Refused };
// Looks at what a server answered; `size` receives the length of an accepting answer.
Upgrade ReadUpgrade(std::string_view answer, size_t& size);

// Appends one masked binary frame.
void AppendFrame(std::string& to, std::string_view payload);

// Opens the frames at the start of `raw` and appends their payloads to `payload`. Returns the
// bytes used up, which leaves an incomplete frame; sets `closed` at a close frame.
size_t OpenFrames(std::string_view raw, std::string& payload, bool& closed);

}  // namespace websocket
