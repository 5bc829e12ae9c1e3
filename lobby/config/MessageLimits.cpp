#include "MessageLimits.h"

#include <charconv>

#include "Common/Text.h"

namespace {

constexpr uint32_t kMostMessages = 1000000;
constexpr uint32_t kLongestWindow = 86400;
constexpr uint32_t kMinute = 60;

// The number `rest` begins with, cut off it; 0 when there is none or it does not fit.
uint32_t TakeNumber(std::string_view& rest, int base = 10) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number, base);
    if (error != std::errc()) return 0;
    rest.remove_prefix(static_cast<size_t>(end - rest.data()));
    return number;
}

bool TakeChar(std::string_view& rest, char c) {
    if (!rest.starts_with(c)) return false;
    rest.remove_prefix(1);
    return true;
}

const char* ParseType(std::string_view key, MessageLimits::Rule& rule) {
    rule.any = SameText(key, "any");
    if (rule.any) return nullptr;
    const bool hex = key.starts_with("0x") || key.starts_with("0X");
    if (hex) key.remove_prefix(2);
    const uint32_t type = TakeNumber(key, hex ? 16 : 10);
    if (!key.empty() || type == 0 || type > 0xFFFF) return "not a message type nor \"any\"";
    rule.type = static_cast<uint16_t>(type);
    return nullptr;
}

// "20/10s drop": count, window, what happens to the message beyond. Null when the value is well
// formed, else the sentence for the operator.
const char* ParseValue(std::string_view value, MessageLimits::Rule& rule) {
    constexpr const char* kForm = "not of the form 20/10s drop or 100/1m close";
    while (value.ends_with(' ') || value.ends_with('\t') || value.ends_with('\r'))
        value.remove_suffix(1);
    rule.count = TakeNumber(value);
    if (!TakeChar(value, '/')) return kForm;
    rule.seconds = TakeNumber(value);
    if (TakeChar(value, 'm')) {
        rule.seconds = rule.seconds <= kLongestWindow ? rule.seconds * kMinute : 0;
    } else if (!TakeChar(value, 's')) {
        return kForm;
    }
    if (!value.starts_with(' ')) return kForm;
    while (TakeChar(value, ' ')) {
    }
    if (!SameText(value, "drop") && !SameText(value, "close")) return kForm;
    rule.action =
        SameText(value, "drop") ? MessageLimits::Action::Drop : MessageLimits::Action::Close;
    if (rule.count == 0 || rule.count > kMostMessages) return "a count is 1 to 1000000";
    if (rule.seconds == 0 || rule.seconds > kLongestWindow) return "a window is 1 s to 1 day";
    return nullptr;
}

}  // namespace

const char* MessageLimits::Add(std::string_view key, std::string_view value) {
    Rule rule{};
    if (const char* fault = ParseType(key, rule)) return fault;
    if (const char* fault = ParseValue(value, rule)) return fault;
    if (Find(rule.any, rule.type) != kNone) return "a second limit for this type";
    if (m_ulRules == kMaxRules) return "more than 24 limits";
    m_Rules[m_ulRules++] = rule;
    return nullptr;
}

MessageLimits::Excess MessageLimits::Count(Usage& usage, uint16_t type, long now) const {
    size_t found = Find(false, type);
    if (found == kNone) found = Find(true, 0);
    if (found == kNone) return {};
    if (usage.rules != m_ulGeneration) {
        usage = {};
        usage.rules = m_ulGeneration;
    }
    const Rule& rule = m_Rules[found];
    Usage::Window& window = usage.windows[found];
    const auto second = static_cast<uint32_t>(now);
    if (window.count == 0 || second - window.start >= rule.seconds) window = {second, 0};
    // The count stops one beyond the limit, so that it never wraps.
    if (window.count > rule.count) return {&rule, false};
    return ++window.count > rule.count ? Excess{&rule, true} : Excess{};
}

size_t MessageLimits::Find(bool any, uint16_t type) const {
    for (size_t i = 0; i < m_ulRules; ++i) {
        if (m_Rules[i].any == any && m_Rules[i].type == type) return i;
    }
    return kNone;
}
