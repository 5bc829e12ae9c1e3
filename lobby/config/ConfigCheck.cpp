// Lines, sections and keys.
#include "ConfigCheck.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "Common/IniFile.h"
#include "Common/Text.h"
#include "EndpointText.h"
#include "Game/NetGame.h"
#include "MessageLimits.h"

namespace check {

namespace {

constexpr long kMostOfAKind = 20;

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// Whether at most a third of the characters differ: one to change, to insert or to leave out each.
bool Resembles(const std::string& name, const char* known) {
    const std::string a = Lower(name), b = Lower(known);
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, change});
        }
    }
    return row.back() * 3 <= b.size();
}

// The number in "user12" for the pattern "user%d"; -1 when the name does not fit. Numbers are
// spelled as the lobby builds them: no leading zeros.
long NumberIn(const std::string& name, const char* pattern) {
    const size_t stem = std::strlen(pattern) - 2;  // without %d
    if (std::strcmp(pattern + stem, "%d") != 0) return -1;
    const std::string digits = name.size() > stem ? name.substr(stem) : "";
    if (strncasecmp(name.c_str(), pattern, stem) != 0 || digits.empty() || digits.size() > 9 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        return -1;
    }
    const long number = std::stol(digits);
    return std::to_string(number) == digits ? number : -1;
}

bool IsPattern(const ConfigKey& key) {
    return std::strpbrk(key.name, "%*") != nullptr;
}

bool Fits(const ConfigKey& key, const std::string& name) {
    if (std::strcmp(key.name, "*") == 0) return true;
    return IsPattern(key) ? NumberIn(name, key.name) >= 0 : SameText(name, key.name);
}

// Writers put remarks behind a semicolon or a hash, keys switched off included; the lobby reads
// them as keys that nobody asks for.
bool IsRemark(const IniEntry& entry) {
    return !entry.section && (entry.name[0] == ';' || entry.name[0] == '#');
}

// Walks one file line by line, as the lobby's look-ups would see it. Lives for one call.
class FileCheck {
  public:
    FileCheck(const ConfigFile& file, std::vector<Problem>& problems)
        : m_file(file), m_problems(problems) {}

    void Run(const CIniFile& content) {
        for (const IniEntry& entry : content.Entries()) {
            if (entry.section) {
                Section(entry);
            } else if (!IsRemark(entry)) {
                Key(entry);
            }
        }
        Missing();
        SweepGuard();
        OwnAddresses();
        ProxyHeader();
        DisabledUsers();
        TellTheRest();
    }

  private:
    enum class Place { BeforeSections, Known, Ignored };

    // A long list with the same fault on every line is told by its first ones.
    // count: for so many lines.
    void Report(int line, const std::string& section, const std::string& key, std::string reason,
                long count = 1) {
        if ((m_kinds[section + "\n " + KindOf(reason)] += count) > kMostOfAKind) return;
        m_problems.push_back({m_file.name, line, section, key, std::move(reason)});
    }

    // The reason without what differs from line to line.
    static std::string KindOf(const std::string& reason) {
        std::string kind = reason.substr(0, reason.find_first_of("\":"));
        std::erase_if(kind, [](char c) { return c >= '0' && c <= '9'; });
        return kind;
    }

    void TellTheRest() {
        for (const auto& [kind, count] : m_kinds) {
            if (count <= kMostOfAKind) continue;
            const std::string section = kind.substr(0, kind.find('\n'));
            m_problems.push_back({m_file.name, 0, section, "",
                                  std::to_string(count - kMostOfAKind) +
                                      " more of a kind:" + kind.substr(section.size() + 1)});
        }
    }

    void Section(const IniEntry& entry) {
        m_section = entry.name;
        m_place = Place::Ignored;
        if (!entry.closed) Report(entry.line, m_section, "", "the closing bracket is missing");
        if (entry.value && !entry.value->empty()) {
            Report(entry.line, m_section, "", "what follows the bracket is not read");
        }
        bool known = false;
        for (const ConfigKey& key : m_file.keys)
            known = known || SameText(m_section, key.section);
        if (!known) {
            Report(entry.line, m_section, "", "unknown section" + MeantSection());
        } else if (!m_sections.insert(Lower(m_section)).second) {
            Report(entry.line, m_section, "", "repeated; only the first is read");
        } else {
            m_place = Place::Known;
        }
    }

    void Key(const IniEntry& entry) {
        if (m_place == Place::Ignored) return;  // told once, at the section
        if (m_place == Place::BeforeSections) {
            Report(entry.line, "", entry.name, "stands before the first section, is not read");
            return;
        }
        const ConfigKey* key = Find(entry.name);
        if (!entry.value) {
            Report(entry.line, m_section, key != nullptr ? entry.name : "",
                   "a line without an equals sign is not read");
        } else if (key == nullptr) {
            Report(entry.line, m_section, entry.name, "unknown key" + MeantKey(entry.name));
        } else if (const std::string name = Lower(m_section + "/" + entry.name);
                   !m_values.emplace(name, Value{entry.line, *entry.value}).second) {
            Report(entry.line, m_section, entry.name, "repeated; only the first is read");
        } else if (const std::string fault = Fault(*key, entry); !fault.empty()) {
            Report(entry.line, m_section, entry.name, fault);
        }
    }

    std::string Fault(const ConfigKey& key, const IniEntry& entry) {
        std::string fault = FaultOf(key, *entry.value);
        if (fault.empty() && key.kind == ConfigKind::Limit) {
            // Each limit counts with the ones before it.
            if (const char* wrong = m_limits.Add(entry.name, *entry.value)) fault = wrong;
        }
        return fault;
    }

    const ConfigKey* Find(const std::string& name) const {
        for (const ConfigKey& key : m_file.keys) {
            if (SameText(m_section, key.section) && Fits(key, name)) return &key;
        }
        return nullptr;
    }

    // What was probably meant by a name nobody knows.
    std::string MeantSection() const {
        for (const ConfigKey& key : m_file.keys) {
            if (Resembles(m_section, key.section)) return Meant(key.section);
        }
        return "";
    }
    std::string MeantKey(const std::string& name) const {
        for (const ConfigKey& key : m_file.keys) {
            if (SameText(m_section, key.section) && Resembles(name, key.name))
                return Meant(key.name);
        }
        for (const ConfigKey& key : m_file.keys) {
            if (!SameText(m_section, key.section) && SameText(name, key.name))
                return std::string("; it belongs to section [") + key.section + "]";
        }
        return "";
    }
    static std::string Meant(const char* name) {
        return std::string("; is \"") + name + "\" meant?";
    }

    void Missing() {
        for (const ConfigKey& key : m_file.keys) {
            if (IsPattern(key) || Has(key.section, key.name)) continue;
            if (key.required) {
                Report(0, key.section, key.name, "missing; a host:port is needed");
            } else if (key.kind == ConfigKind::Integer &&
                       (key.defaultValue < key.least || key.defaultValue > key.most)) {
                const std::string value = std::to_string(key.defaultValue);
                Report(0, key.section, key.name, "missing, and its default " + FaultOf(key, value));
            }
        }
    }

    // Too many clients for the sweep that closes silent ones, unless there are no sweeps. The
    // listener admits one client more than its limit.
    void SweepGuard() {
        if (!SameText(m_file.name, "LobbyServer.cfg")) return;
        const std::optional<long> interval = NumberOf(KeyOf("network", "interval"));
        const std::optional<long> most = NumberOf(KeyOf("listen", "maxconnection"));
        if (!interval || !most || *interval == -1 || *most + 1 < SWEEP_GUARD) return;
        const bool given = Has("listen", "maxconnection");
        Report(given ? m_values.at("listen/maxconnection").line : 0, "listen", "maxconnection",
               (given ? "" : "missing, and its default ") + std::to_string(*most) +
                   " is too much: at " + std::to_string(SWEEP_GUARD) +
                   " clients the sweep for silent ones suspends the lobby");
    }

    // The header is taken from trusted proxies only.
    void ProxyHeader() {
        const auto header = m_values.find("listen/proxy_protocol");
        if (header == m_values.end() || NumberOf(KeyOf("listen", "proxy_protocol")) == 0) return;
        const auto proxies = m_values.find("listen/trusted_proxies");
        if (proxies != m_values.end() && !proxies->second.text.empty()) return;
        Report(header->second.line, "listen", "proxy_protocol",
               "without trusted_proxies nobody may send one");
    }

    // The lobby's two listeners cannot share a port of one address.
    void OwnAddresses() {
        const auto listen = m_values.find("listen/addr");
        const auto metrics = m_values.find("metrics/addr");
        if (listen == m_values.end() || metrics == m_values.end()) return;
        Endpoint one, other;
        if (ParseEndpoint(listen->second.text, one) || ParseEndpoint(metrics->second.text, other))
            return;
        const std::string host = one.host, any = "0.0.0.0";
        if (one.port != other.port || (host != other.host && host != any && other.host != any))
            return;
        Report(metrics->second.line, "metrics", "addr", "is taken by [listen] addr");
    }

    // The number the lobby would use; none when the file's is at fault, which was reported.
    std::optional<long> NumberOf(const ConfigKey& key) const {
        const auto found = m_values.find(Lower(std::string(key.section) + "/" + key.name));
        if (found == m_values.end()) return key.defaultValue;
        if (!FaultOf(key, found->second.text).empty()) return std::nullopt;
        return std::stol(found->second.text);
    }

    bool Has(const std::string& section, const std::string& key) const {
        return m_values.contains(Lower(section + "/" + key));
    }

    // usernum says how many of user0, user1, ... are read.
    void DisabledUsers() {
        const long users = NumberOf(KeyOf("disconnectcount", "usernum")).value_or(-1);
        if (users < 0) return;
        const std::string because = ", for usernum is " + std::to_string(users);
        long read = 0;
        for (const auto& [name, value] : m_values) {
            if (name.rfind("disconnect/", 0) != 0) continue;
            const std::string key = name.substr(name.find('/') + 1);
            if (NumberIn(key, "user%d") < users) {
                ++read;
            } else {
                Report(value.line, "disconnect", key, "is not read" + because);
            }
        }
        for (long i = 0, told = 0; i < users && read < users; ++i) {
            const std::string key = "user" + std::to_string(i);
            if (Has("disconnect", key)) continue;
            const long count = told++ < kMostOfAKind ? 1 : users - read;
            read += count;
            Report(0, "disconnect", key, "missing" + because, count);
        }
    }

    struct Value {
        int line;
        std::string text;
    };

    const ConfigFile& m_file;
    std::vector<Problem>& m_problems;
    std::string m_section;
    Place m_place = Place::BeforeSections;
    MessageLimits m_limits;
    std::map<std::string, long> m_kinds;    // "section\n kind": how many
    std::set<std::string> m_sections;       // lower case
    std::map<std::string, Value> m_values;  // lower case "section/key"
};

// What a text is that is not in bytes of ASCII and UTF-8; empty when it may be.
std::string Encoding(std::ifstream& file) {
    char begin[3] = {};
    file.read(begin, sizeof(begin));
    const std::string_view bytes(begin, static_cast<size_t>(file.gcount()));
    if (bytes == "\xEF\xBB\xBF")
        return "begins with a byte order mark, which would belong to the first line; save it "
               "without one";
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF") ||
        bytes.substr(0, 2).find('\0') != std::string_view::npos)
        return "is UTF-16, of which nothing would be read; save it as UTF-8";
    return "";
}

// Why a file cannot be read; empty when it can.
std::string Unreadable(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return "is a directory";
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::string("cannot be read: ") + std::strerror(errno);
    if (file.peek() == std::ifstream::traits_type::eof()) return "is empty";
    return Encoding(file);
}

// shown: how problems name the file.
std::vector<Problem> CheckOne(const ConfigFile& file, const std::filesystem::path& path,
                              const std::string& shown) {
    std::vector<Problem> problems;
    CIniFile content;
    std::string reason = Unreadable(path);
    if (reason.empty() && content.InitFile(path.c_str()) == 0) reason = "cannot be read";
    if (!reason.empty()) {
        problems.push_back({shown, 0, "", "", reason});
    } else {
        FileCheck(file, problems).Run(content);
        for (Problem& problem : problems)
            problem.file = shown;
    }
    return problems;
}

}  // namespace

std::string TextOf(const Problem& problem) {
    std::string text = problem.file;
    if (problem.line > 0) text += ":" + std::to_string(problem.line);
    text += ": ";
    if (!problem.section.empty()) text += "section [" + problem.section + "]";
    if (!problem.section.empty() && !problem.key.empty()) text += ", ";
    if (!problem.key.empty()) text += "key \"" + problem.key + "\"";
    if (!problem.section.empty() || !problem.key.empty()) text += ": ";
    return text + problem.reason;
}

std::vector<Problem> CheckFile(const ConfigFile& file, const std::filesystem::path& directory) {
    return CheckOne(file, directory / file.name, file.name);
}

std::vector<Problem> CheckDirectory(const std::filesystem::path& directory) {
    std::vector<Problem> all;
    for (const ConfigFile& file : kConfigFiles) {
        for (Problem& problem : CheckFile(file, directory))
            all.push_back(std::move(problem));
    }
    return all;
}

namespace {

// When there is nothing to check, fault says why and begins with the path.
std::vector<Problem> CheckPath(const std::filesystem::path& path, std::string& fault) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) {
        fault = path.string() + ": " + error.message();
        return {};
    }
    if (std::filesystem::is_directory(status)) return CheckDirectory(path);
    const std::string name = path.filename();
    std::string names;
    for (const ConfigFile& file : kConfigFiles) {
        if (name.starts_with(file.name)) return CheckOne(file, path, path);
        names += (names.empty() ? "" : ", ") + std::string(file.name);
    }
    fault = path.string() + ": by its name none of " + names;
    return {};
}

}  // namespace

int TellProblems(const char* program, const std::filesystem::path& path) {
    std::string fault;
    const auto problems = CheckPath(path, fault);
    if (!fault.empty()) {
        std::fprintf(stderr, "%s: %s\n", program, fault.c_str());
        return 2;
    }
    for (const Problem& problem : problems)
        std::fprintf(stderr, "%s\n", TextOf(problem).c_str());
    if (problems.empty()) std::puts("No problems found.");
    return problems.empty() ? 0 : 1;
}

}  // namespace check
