// Every key of the four configuration files: one row each.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

class CIniFile;

// The one place that knows the keys. The lobby takes names and defaults from here, lobby_check
// everything, so that the two cannot disagree; a test holds the tables of the documents and the
// samples against it. A new key gets a row here first.
// Thread: any; all of it is constant.

enum class ConfigKind : unsigned char {
    Integer,   // least to most
    Endpoint,  // host:port, at most 31 characters
    Text,      // least to most characters
    FileName,  // a name without directories, least to most characters
    Choice,    // one of `choices`, case-blind
    Numbers,   // positive whole numbers separated by commas, at most `most` characters
    Networks,  // separated by commas, see CIpNetworks; at most `most` characters
    Limit,     // of a message type, see MessageLimits::Add; the key is the type
    Fragments  // texts separated by commas, at most `most` characters
};

struct ConfigKey {
    const char* section;
    const char* name;  // a trailing %d stands for any number: user%d; * for any key
    ConfigKind kind;
    bool required;     // the lobby does not start, or not fully, without it
    int defaultValue;  // of an Integer
    int least;
    int most;
    const char* choices;  // "A|B|C"
    const char* meaning;
    const char* standard = "none";  // the default of what is no Integer
};

struct ConfigFile {
    const char* name;
    std::span<const ConfigKey> keys;
};

namespace config_rows {

consteval ConfigKey Int(const char* section, const char* name, int defaultValue, int least,
                        int most, const char* meaning) {
    return {section, name, ConfigKind::Integer, false, defaultValue, least, most, "", meaning};
}

consteval ConfigKey Flag(const char* section, const char* name, const char* meaning) {
    return Int(section, name, 0, 0, 1, meaning);
}

consteval ConfigKey Address(const char* section, const char* name, const char* meaning,
                            bool required = true) {
    return {section, name, ConfigKind::Endpoint, required, 0, 0, 31, "", meaning};
}

consteval ConfigKey Characters(const char* section, const char* name, ConfigKind kind, int least,
                               int most, const char* meaning) {
    return {section, name, kind, false, 0, least, most, "", meaning};
}

consteval ConfigKey Default(ConfigKey key, const char* standard) {
    key.standard = standard;
    return key;
}

consteval ConfigKey OneOf(const char* section, const char* name, const char* choices,
                          const char* meaning) {
    return {section, name, ConfigKind::Choice, false, 0, 0, 0, choices, meaning};
}

inline constexpr int kDay = 86400;
inline constexpr int kBillion = 1'000'000'000;

// Bounds are where a value stops making sense, not where the lobby stops accepting it: it takes
// any number.
inline constexpr ConfigKey kLobbyServer[] = {
    Int("network", "interval", 20, -1, kDay, "seconds between sweeps for silent clients; -1: none"),
    Int("network", "timeout", 120, 1, kDay, "seconds of silence that close a client"),
    Int("network", "MAX_SEND_COUNT", 0, 0, 1'000'000,
        "messages that may wait on one connection; 0: 100"),
    Int("network", "MAX_RECV_COUNT", 0, 0, 1'000'000,
        "received blocks of one connection that may wait; 0: 100"),
    Int("network", "CLIENT_SEND_COUNT", 0, 0, 1'000'000,
        "MAX_SEND_COUNT of clients alone; 0: the same"),
    Int("network", "CLIENT_RECV_COUNT", 0, 0, 1'000'000,
        "MAX_RECV_COUNT of clients alone; 0: the same"),
    Int("network", "link_reserve", 0, 0, 1'000'000,
        "messages of a link's MAX_SEND_COUNT that clients' requests leave free; 0: none"),
    Int("network", "stranger_rate", 0, 0, 1'000'000,
        "requests a second of all clients without a login together; 0: any number"),
    Int("network", "buffer_budget", 0, 0, 1'000'000,
        "MiB of buffers that may be in use before the largest holders are closed; 0: any"),
    Flag("network", "wakeup", "1 wakes the worker when data arrives"),
    Int("network", "receive_buffer", 0, 0, 32768, "bytes of a socket's receive buffer; 0: 4096"),
    Int("init", "sendbulletintime", 30, 1, kDay, "seconds between two bulletin broadcasts"),
    Int("init", "draintime", 3600, 1, 7 * kDay, "seconds that players may stay after SIGUSR1"),
    Address("connect", "center_server", "center server"),
    Address("connect", "bulletin_server", "web server"),
    Address("connect", "queue_server", "queue server"),
    Address("connect", "data_server", "data server"),
    Address("connect", "config_server", "config server"),
    Address("connect", "log_server", "log server"),
    Address("listen", "addr", "where clients connect"),
    Int("listen", "maxconnection", 10000, 1, 1'000'000, "connection limit of the listener"),
    Characters("listen", "trusted_proxies", ConfigKind::Networks, 0, 1023,
               "proxies that may name their clients' addresses"),
    Int("listen", "proxy_protocol", 0, 0, 2,
        "PROXY header from trusted_proxies; 1: required, 2: optional"),
    Flag("listen", "reuse_port", "1 lets a second lobby share the port, for upgrades"),
    Flag("listen", "websocket", "1 serves WebSocket clients as their libraries expect it"),
    Address("Redis", "redis_server", "registry of players online"),
    Int("Redis", "timeout", 30, 1, 3600, "connect time-out in seconds"),
    Characters("Redis", "szPasswd", ConfigKind::Text, 0, 31, "password"),
    Int("Redis", "msgque_size", 200, 0, kBillion, "logged only"),
    Default(OneOf("log", "level", "ALL|DEBUG|WARN|ERROR", "lowest level that is written"), "ALL"),
    Default(Characters("log", "FileName", ConfigKind::FileName, 1, 253, "file in log/"),
            "test.log"),
    Flag("log", "json", "1 writes every line also as JSON to a file beside"),
    Int("log", "most_lines", 0, 0, 1'000'000, "most lines written in a second; 0: any number"),
    Flag("log", "warnings", "1 warns at start when maxconnection reaches the sweep's guard"),
    Address("metrics", "addr", "where figures are served over HTTP; missing or empty: nowhere",
            false),
    Characters("limits", "*", ConfigKind::Limit, 0, 63,
               "most messages of a type per connection and window"),
};

inline constexpr ConfigKey kSensitiveName[] = {
    Characters("config", "SensitiveName", ConfigKind::Fragments, 0, 1'023'999,
               "fragments that names must not contain"),
};

inline constexpr ConfigKey kDisabledUsers[] = {
    Int("disconnectcount", "usernum", 0, 0, 1'000'000, "number of disabled accounts"),
    Int("disconnect", "user%d", 0, 1, 2'147'483'647, "a disabled account; user0, user1, ..."),
};

inline constexpr ConfigKey kTournament[] = {
    Int("compete_info", "month_open_day", 0, 0, 31, "day of the monthly tournament; 0: never"),
    Int("compete_info", "month_open_hour", 0, 0, 23, "its hour"),
    Int("compete_info", "month_open_minute", 0, 0, 59, "its minute"),
    Int("compete_info", "month_award_coin", 0, 0, kBillion, "its award in coins"),
    Characters("compete_info", "month_user_num", ConfigKind::Numbers, 0, 64,
               "players that each of its rounds keeps"),
    Int("compete_info", "day_open_hour", 0, 0, 23, "hour of the daily tournament"),
    Int("compete_info", "day_open_minute", 0, 0, 59, "its minute"),
    Int("compete_info", "day_award_coin", 0, 0, kBillion, "its award in coins"),
    Int("compete_info", "day_max_free_count", 0, 0, 65535, "free entries per player"),
    Int("compete_info", "day_compete_cost_coin", 1000, 0, kBillion, "coins of a paid entry"),
    Characters("compete_info", "day_user_num", ConfigKind::Numbers, 0, 64,
               "players that each of its rounds keeps"),
};

}  // namespace config_rows

inline constexpr ConfigFile kConfigFiles[] = {
    {"LobbyServer.cfg", config_rows::kLobbyServer},
    {"SensitiveName.cfg", config_rows::kSensitiveName},
    {"disconnectuserid.cfg", config_rows::kDisabledUsers},
    {"compete_info.cfg", config_rows::kTournament},
};

// The row of a key. A key without a row does not compile. No section name stands in two files.
consteval const ConfigKey& KeyOf(std::string_view section, std::string_view name) {
    for (const ConfigFile& file : kConfigFiles) {
        for (const ConfigKey& key : file.keys) {
            if (section == key.section && name == key.name) return key;
        }
    }
    throw "this key has no row in ConfigKeys.h";
}

// Calls use(key) for every key of the section that is not switched off by a ';' or '#' before it.
void ForEachKey(const CIniFile& file, const char* section,
                const std::function<void(const char* key)>& use);

// The default and what may stand behind the equals sign: "default 20, -1 to 86400".
std::string RangeOf(const ConfigKey& key);

// The value of an Integer key, its default when the file has none.
int ReadInt(const CIniFile& file, const ConfigKey& key);
