// The protocol for servers that only move bytes: plain messages, or the same in WebSocket frames.
#pragma once

#include <arpa/inet.h>
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "Game/NetMessage.h"

// One connection's bytes: checks every message, answers it by itself, and gathers the answers to
// what one read brought. Thread: one.
class EchoStream {
  public:
    // Appends the answers to out; false ends the connection.
    bool Take(const char* data, size_t length, std::string& out) {
        // Mostly nothing is held, and what came is looked at where it is.
        if (!m_held.empty()) {
            m_held.append(data, length);
            m_work.swap(m_held);
            m_held.clear();
            data = m_work.data();
            length = m_work.size();
        }
        size_t used = 0;
        if (std::exchange(m_first, false) && length >= 3 && std::memcmp(data, "GET", 3) == 0) {
            used = Upgrade(data, length, out);
        }
        if (!Messages(data, length, used, out)) return false;
        m_held.assign(data + used, length - used);
        return true;
    }

  private:
    // The request is assumed to come in one piece.
    size_t Upgrade(const char* data, size_t length, std::string& out) {
        static const std::string kKey = "Sec-WebSocket-Key: ";
        const std::string request(data, length);
        const size_t key = request.find(kKey);
        const size_t end = request.find("\r\n\r\n");
        if (key == std::string::npos || end == std::string::npos) return 0;
        const size_t begin = key + kKey.size();
        const std::string salted = request.substr(begin, request.find('\r', begin) - begin) +
                                   "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
        unsigned char digest[SHA_DIGEST_LENGTH];
        unsigned char accept[32] = {};
        SHA1(reinterpret_cast<const unsigned char*>(salted.data()), salted.size(), digest);
        EVP_EncodeBlock(accept, digest, sizeof(digest));
        out += "HTTP/1.1 101 Switching Protocols\r\nConnection: upgrade\r\nSec-WebSocket-Accept: ";
        out += reinterpret_cast<const char*>(accept);
        out += "\r\nUpgrade: websocket\r\n\r\n";
        m_web = true;
        return end + 4;
    }

    bool Messages(const char* data, size_t length, size_t& used, std::string& out) {
        while (m_web ? Frame(data, length, used, out) : Message(data, length, used, out)) {
        }
        return !m_bad;
    }

    // These two answer what stands at `used` and go behind it; false when it is not whole, or bad.
    bool Message(const char* data, size_t length, size_t& used, std::string& out) {
        const size_t size = Check(data + used, length - used);
        if (size == 0 || length - used < size) return false;
        out.append(data + used, size);
        used += size;
        return true;
    }
    bool Frame(const char* data, size_t length, size_t& used, std::string& out) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(data + used);
        const size_t left = length - used;
        if (left < 6) return false;
        size_t payload = bytes[1] & 0x7F, head = 6;
        if (payload == 126) {
            payload = bytes[2] * 256u + bytes[3];
            head = 8;
        }
        m_bad = m_bad || (bytes[0] & 0x0F) == 8 || (bytes[1] & 0x80) == 0 || payload > BUFFER_SIZE;
        if (m_bad || left < head + payload) return false;
        const uint8_t* mask = bytes + head - 4;
        m_payload.resize(payload);
        for (size_t i = 0; i < payload; ++i)
            m_payload[i] = static_cast<char>(bytes[head + i] ^ mask[i % 4]);
        if (Check(m_payload.data(), payload) != payload) m_bad = true;
        out += static_cast<char>(0x82);
        if (payload < 126) {
            out += static_cast<char>(payload);
        } else {
            out += {126, static_cast<char>(payload >> 8), static_cast<char>(payload)};
        }
        out += m_payload;
        used += head + payload;
        return !m_bad;
    }
    // The length a header states; 0: not all there, or none.
    size_t Check(const char* data, size_t length) {
        tagMsgHeader header;
        if (length < sizeof(header)) return 0;
        std::memcpy(&header, data, sizeof(header));
        const size_t size = ntohs(header.length);
        m_bad =
            m_bad || header.identity != MSG_IDENTITY || size < HEADER_SIZE || size > BUFFER_SIZE;
        return m_bad ? 0 : size;
    }

    bool m_first = true;
    bool m_web = false;
    bool m_bad = false;
    std::string m_held;  // the begin of a message or frame
    std::string m_work;
    std::string m_payload;
};
