#include "Wire.h"

#include <fcntl.h>

namespace wire {

Bytes Pack(uint16_t type, const void* message, size_t size) {
    Bytes bytes(std::max(size, HEADER));
    if (size > 0) std::memcpy(bytes.data(), message, size);
    const size_t length = bytes.size();
    const uint8_t header[HEADER] = {
        5, 0, static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length),
        3, 0, static_cast<uint8_t>(type >> 8),   static_cast<uint8_t>(type)};
    std::memcpy(bytes.data(), header, HEADER);
    return bytes;
}

bool Splitter::Feed(View bytes, std::vector<Message>& messages) {
    m_held.insert(m_held.end(), bytes.begin(), bytes.end());
    size_t at = 0;
    while (m_held.size() - at >= HEADER) {
        const uint8_t* head = m_held.data() + at;
        const size_t length = static_cast<size_t>(head[2] << 8 | head[3]);
        if (head[0] != 5 || head[1] != 0 || length < HEADER || length > LARGEST) return false;
        if (m_held.size() - at < length) break;
        messages.push_back(
            {static_cast<uint16_t>(head[6] << 8 | head[7]), Bytes(head, head + length)});
        at += length;
    }
    m_held.erase(m_held.begin(), m_held.begin() + static_cast<long>(at));
    return true;
}

void KeepPrivate(int fd) {
    fcntl(fd, F_SETFD, FD_CLOEXEC);
}

}  // namespace wire
