// What may stand behind an equals sign.
#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "Common/IpAddress.h"
#include "Common/Text.h"
#include "ConfigCheck.h"
#include "EndpointText.h"

namespace check {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr int kRoundsSent = 8;  // the rest of a schedule never reaches a client

bool EndsInBlank(std::string_view text) {
    return !text.empty() && kBlanks.find(text.back()) != std::string_view::npos;
}

bool StartsWithBlank(std::string_view text) {
    return !text.empty() && kBlanks.find(text.front()) != std::string_view::npos;
}

std::string Quoted(std::string_view text) {
    constexpr size_t kShown = 60;
    const std::string shown(text.substr(0, kShown));
    return "\"" + shown + (text.size() > kShown ? "...\"" : "\"");
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (size_t at = text.find(separator); at != std::string_view::npos;
         at = text.find(separator)) {
        pieces.push_back(text.substr(0, at));
        text.remove_prefix(at + 1);
    }
    pieces.push_back(text);
    return pieces;
}

// The lobby reads leading digits and ignores the rest; here the whole text must be the number.
// Blanks around it are harmless.
std::optional<long long> WholeNumber(std::string_view text) {
    text = Trim(text);
    long long value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end) return std::nullopt;
    return value;
}

std::string IntegerFault(std::string_view text, int least, int most) {
    const auto value = WholeNumber(text);
    if (!value) return "not a whole number: " + Quoted(text);
    if (*value >= least && *value <= most) return "";
    return std::to_string(*value) + " is out of range: " + std::to_string(least) + " to " +
           std::to_string(most);
}

// Values in range that no lobby can live with.
struct Unfit {
    const ConfigKey& key;
    int from, to;
    const char* reason;
};

constexpr const char* kAtOnce = " closes every connection at once; 0 means 100";
constexpr Unfit kUnfit[] = {
    {KeyOf("network", "interval"), 0, 0,
     " searches without a pause, which takes a core; -1: never"},
    {KeyOf("network", "MAX_SEND_COUNT"), 1, 2, kAtOnce},
    {KeyOf("network", "MAX_RECV_COUNT"), 1, 2, kAtOnce},
};

std::string NumberFault(const ConfigKey& key, std::string_view text) {
    std::string fault = IntegerFault(text, key.least, key.most);
    if (!fault.empty()) return fault;
    const long long value = *WholeNumber(text);
    for (const Unfit& unfit : kUnfit) {
        if (&unfit.key == &key && value >= unfit.from && value <= unfit.to)
            return std::to_string(value) + unfit.reason;
    }
    return "";
}

std::string HostFault(std::string_view host) {
    const std::string name(host);
    if (host.find_first_not_of("0123456789.") == std::string_view::npos) {
        in_addr address{};
        return inet_pton(AF_INET, name.c_str(), &address) == 1 ? ""
                                                               : "not an IPv4 address: " + name;
    }
    constexpr std::string_view kAllowed =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";
    return host.find_first_not_of(kAllowed) == std::string_view::npos
               ? ""
               : "neither an IPv4 address nor a host name: " + Quoted(host);
}

std::string EndpointFault(const std::string& value) {
    Endpoint endpoint;
    const bool several = std::count(value.begin(), value.end(), ':') > 1;
    if (value.starts_with('[') ||
        (several && value.find_first_not_of("0123456789abcdefABCDEF:.") == std::string::npos)) {
        return "an IPv6 address; the lobby speaks IPv4 only: " + Quoted(value);
    }
    if (const char* fault = ParseEndpoint(value, endpoint)) return fault;
    std::string fault = HostFault(endpoint.host);
    if (fault.empty()) {
        fault = IntegerFault(std::string_view(value).substr(value.find(':') + 1), 1, 65535);
        if (!fault.empty()) fault = "port " + fault;
    }
    return fault;
}

std::string LengthFault(const ConfigKey& key, std::string_view value) {
    if (value.size() > static_cast<size_t>(key.most)) {
        return std::to_string(value.size()) + " characters; at most " + std::to_string(key.most) +
               " are read, and nothing of a longer value";
    }
    if (value.size() < static_cast<size_t>(key.least)) return "empty";
    if (EndsInBlank(value)) return "ends in a blank, which belongs to the value";
    return "";
}

std::string ChoiceFault(const ConfigKey& key, const std::string& value) {
    for (const std::string_view choice : Split(key.choices, '|')) {
        if (SameText(value, choice)) return "";
    }
    return "not one of " + std::string(key.choices) + ": " + Quoted(value);
}

// Of a list of rounds. More than a message has room for is not wrong, but clients see only the
// first.
std::string NumbersFault(std::string_view value) {
    if (value.empty()) return "";
    const auto pieces = Split(value, ',');
    for (const std::string_view piece : pieces) {
        std::string fault = IntegerFault(piece, 1, config_rows::kBillion);
        if (!fault.empty()) return fault;
    }
    if (pieces.size() <= kRoundsSent) return "";
    return std::to_string(pieces.size()) + " rounds; clients are told of the first 8 only";
}

std::string FragmentsFault(std::string_view value) {
    for (const std::string_view piece : Split(value, ',')) {
        if (StartsWithBlank(piece) || EndsInBlank(piece)) {
            return "blanks beside a comma belong to the fragment: " + Quoted(piece);
        }
    }
    return "";
}

std::string NetworksFault(std::string_view value) {
    if (value.empty()) return "";
    CIpNetworks networks;
    for (const std::string_view piece : Split(value, ',')) {
        if (!networks.Add(piece)) return "not a network such as 10.0.0.0/8: " + Quoted(piece);
        const size_t slash = piece.find('/');
        if (slash != std::string_view::npos && WholeNumber(piece.substr(slash + 1)) == 0)
            return "trusts everybody, players too: " + Quoted(piece);
    }
    return "";
}

}  // namespace

std::string FaultOf(const ConfigKey& key, const std::string& value) {
    if (key.kind == ConfigKind::Integer) return NumberFault(key, value);
    if (key.kind == ConfigKind::Endpoint) {
        return value.empty() && !key.required ? "" : EndpointFault(value);
    }
    if (key.kind == ConfigKind::Choice) return ChoiceFault(key, value);
    std::string fault = LengthFault(key, value);
    if (!fault.empty()) return fault;
    if (key.kind == ConfigKind::Numbers) return NumbersFault(value);
    if (key.kind == ConfigKind::Networks) return NetworksFault(value);
    if (key.kind == ConfigKind::Fragments) return FragmentsFault(value);
    if (key.kind == ConfigKind::FileName && value.find('/') != std::string::npos) {
        return "a file name without directories is needed: " + Quoted(value);
    }
    return "";
}

}  // namespace check
