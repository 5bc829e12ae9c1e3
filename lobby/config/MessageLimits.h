// How often a client may send a type of message.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The rules of section [limits]: so many messages of a type per window, and what becomes of the
// ones beyond. A window begins with the first message that finds none open, and ends when its
// seconds have passed.
// Owned by the lobby; empty unless configured. Thread: Add before the rules are put to use, the
// rest on the message worker.
class MessageLimits {
  public:
    // Room for a rule per client message and one for all others.
    static constexpr size_t kMaxRules = 24;

    enum class Action : uint8_t { Drop, Close };
    struct Rule {
        bool any;  // stands for every type without a rule of its own; they share its count
        Action action;
        uint16_t type;
        uint32_t count;
        uint32_t seconds;
    };
    // What one connection has used up, by rule; all zero at its start.
    struct Usage {
        struct Window {
            uint32_t start;  // seconds since boot
            uint32_t count;  // 0: none is open
        };
        std::array<Window, kMaxRules> windows{};
        uint32_t rules = 0;  // which rules the windows belong to
    };
    // A message beyond its limit.
    struct Excess {
        const Rule* rule = nullptr;  // null: the message is within its limit
        bool first = false;          // of its window: the one to log
    };

    // Takes a line "key=value" such as "0x00D5=20/10s drop" or "any=100/1m close". The type is
    // hexadecimal behind 0x, otherwise decimal. Null when taken, else what is wrong with it.
    const char* Add(std::string_view key, std::string_view value);
    bool Empty() const { return m_ulRules == 0; }
    // Other rules from now on; what connections have used up under these is forgotten.
    void Replace(const MessageLimits& rules) {
        const uint32_t next = m_ulGeneration + 1;
        *this = rules;
        m_ulGeneration = next;
    }
    // Counts one message; now in seconds since boot.
    Excess Count(Usage& usage, uint16_t type, long now) const;

  private:
    static constexpr size_t kNone = kMaxRules;
    size_t Find(bool any, uint16_t type) const;

    std::array<Rule, kMaxRules> m_Rules{};
    size_t m_ulRules = 0;
    uint32_t m_ulGeneration = 0;
};
