// Messages on a byte stream, as every peer of the platform writes them. Deliberately not the
// lobby's own framing code, so that a mistake in one is not mirrored in the other.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "MsgView.h"

namespace wire {

using Bytes = std::vector<uint8_t>;
using View = std::span<const uint8_t>;

inline constexpr size_t HEADER = 8;
inline constexpr size_t LARGEST = 4096;

// One whole message, header included.
struct Message {
    uint16_t type = 0;
    Bytes bytes;

    // The message as a structure; a short message reads as zeros past its end.
    template <class T>
    T As() const {
        return ReadMsg<T>(bytes.data(), static_cast<long>(bytes.size()));
    }
    // Record `index` of the records that start at byte `offset`.
    template <class T>
    T Item(size_t offset, size_t index) const {
        return ReadItem<T>(bytes.data(), static_cast<long>(bytes.size()), offset, index);
    }
};

// The first `size` bytes of a message structure with its header filled in; size 0 gives a message
// that is a header only.
Bytes Pack(uint16_t type, const void* message, size_t size);
inline Bytes Pack(uint16_t type) {
    return Pack(type, nullptr, 0);
}
template <class T>
Bytes Pack(uint16_t type, const T& message) {
    return Pack(type, &message, sizeof(message));
}

// The messages in which a list travels: a head and as many records as there is room for behind it;
// at least one message. finish(head, begin, end) fills in which records follow the head.
template <class Head, class Record>
std::vector<Bytes> Lists(uint16_t type, const Head& start, const std::vector<Record>& records,
                         auto finish) {
    constexpr size_t perMessage = (LARGEST - sizeof(Head)) / sizeof(Record);
    std::vector<Bytes> parts;
    size_t begin = 0;
    do {
        const size_t end = std::min(begin + perMessage, records.size());
        Head head = start;
        finish(head, begin, end);
        Bytes bytes(sizeof(Head) + (end - begin) * sizeof(Record));
        std::memcpy(bytes.data(), &head, sizeof(Head));
        if (begin < end) {
            std::memcpy(bytes.data() + sizeof(Head), &records[begin],
                        (end - begin) * sizeof(Record));
        }
        parts.push_back(Pack(type, bytes.data(), bytes.size()));
        begin = end;
    } while (begin < records.size());
    return parts;
}

// Cuts a byte stream into messages.
class Splitter {
  public:
    // Appends the messages completed by these bytes. False when the stream is broken: wrong
    // identity, impossible length or an enciphered body. Nothing more is taken then.
    bool Feed(View bytes, std::vector<Message>& messages);

  private:
    Bytes m_held;
};

// Fills a text field: cut to its size, zero-filled, terminated unless it fills the field.
template <size_t N>
void SetText(char (&field)[N], std::string_view text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(N, text.size()));
}

// The field of a message that names its player; of a wrapped message, the client's.
auto& UserOf(auto& message) {
    if constexpr (requires { message.base; }) {
        return UserOf(message.base);
    } else if constexpr (requires { message.iUserID; }) {
        return message.iUserID;
    } else if constexpr (requires { message.iUserId; }) {
        return message.iUserId;
    } else {
        return message.userID;
    }
}

// The field of an answer that says how it went.
auto& CodeOf(auto& answer) {
    if constexpr (requires { answer.base; }) {
        return CodeOf(answer.base);
    } else if constexpr (requires { answer.ucResultType; }) {
        return answer.ucResultType;
    } else if constexpr (requires { answer.iError; }) {
        return answer.iError;
    } else if constexpr (requires { answer.iErrorCode; }) {
        return answer.iErrorCode;
    } else if constexpr (requires { answer.usErrorCode; }) {
        return answer.usErrorCode;
    } else if constexpr (requires { answer.ucErrNo; }) {
        return answer.ucErrNo;
    } else {
        return answer.cError;
    }
}

// Keeps a socket out of the programs this one starts: they would hold it open.
void KeepPrivate(int fd);

}  // namespace wire
