#include "Commands.h"

#include <charconv>
#include <cstdio>
#include <iostream>

#include "Catalog.h"
#include "Console.h"

namespace client {
namespace {

using Words = std::vector<std::string>;

template <class T>
bool Fits(const std::string& word, T& value) {
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
    return result.ec == std::errc() && result.ptr == word.data() + word.size();
}

// Words of steps have been checked by Parse.
template <class T>
T As(const std::string& word) {
    T value{};
    Fits(word, value);
    return value;
}
int64_t Number(const std::string& word) {
    return As<int64_t>(word);
}
int32_t Number32(const std::string& word) {
    return As<int32_t>(word);
}

void ShowMessage(const char* label, wire::View bytes, const Manner& manner) {
    using catalog::Direction;
    if (manner.json) {
        std::cout << catalog::DescribeJson(Direction::LobbyToClient, bytes) << std::endl;
    } else {
        std::printf("%-14s %s\n", label,
                    catalog::Describe(Direction::LobbyToClient, bytes).c_str());
        std::fflush(stdout);
    }
}

// Prints the answer of a command; true when its code is 0.
template <class Res>
bool Show(const char* label, uint16_t type, const Res& res, const Manner& manner) {
    ShowMessage(label, wire::Pack(type, res), manner);
    return wire::CodeOf(res) == 0;
}

void ShowServers(const std::vector<tagServerInfo>& servers) {
    std::printf("%6s %6s %6s %5s %7s %9s  %-20s %s\n", "game", "server", "level", "open", "online",
                "limit", "name", "address");
    for (const tagServerInfo& one : servers) {
        std::printf("%6u %6u %6u %5s %7u %9u  %-20s %s:%u\n", one.usGameID, one.usServerID,
                    one.usLevel, one.ucOpenFlag ? "yes" : "no", one.usOnlineCount, one.ulLimitPoint,
                    TextStr(one.szServerName).c_str(), TextStr(one.szTelecomIP).c_str(),
                    one.usServerPort);
    }
    std::printf("%zu entries\n", servers.size());
    std::fflush(stdout);
}

bool ServerList(Player& player, const Words&, const Manner& manner) {
    const auto servers = player.ServerList();
    if (!manner.json) {
        ShowServers(servers);
        return true;
    }
    for (const tagServerInfo& one : servers) {
        tagGameServer part{};
        part.usListCount = 1;
        part.serverInfo[0] = one;
        ShowMessage("server-list", wire::Pack(MSG_CLIENT_SERVER_INFO_RES, part), manner);
    }
    return true;
}

}  // namespace

// One row of the command table.
struct Command {
    const char* name;
    const char*
        words;  // their names; # before one marks a number of 32 bits, + one of 64, * a secret
    const char* help;
    bool (*run)(Player&, const Words&, const Manner&);
};

namespace {

// One row per command.
// clang-format off
constexpr Command COMMANDS[] = {
    {"login", "", "log in with --user, --token and --site",
     [](Player& p, const Words&, const Manner& m) {
         return Show("login", LOBBY_AUTHEN_RES_S2C, p.Login(m.token, m.site), m); }},
    {"bank-login", "", "open the bank with --bank-password",
     [](Player& p, const Words&, const Manner& m) {
         return Show("bank-login", BANK_LOGIN_S2C, p.BankLogin(m.bankPassword), m); }},
    {"take", "+AMOUNT", "take coins out of the bank",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("take", BANK_GET_COIN_S2C, p.Take(Number(w[0]), m.bankPassword), m); }},
    {"save", "+AMOUNT", "put coins into the bank",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("save", BANK_SAVE_COIN_S2C, p.Save(Number(w[0])), m); }},
    {"bank-password", "*OLD *NEW", "change the bank password",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("bank-password", BANK_MODIFY_PASSWD_S2C, p.BankPassword(w[0], w[1]), m); }},
    {"login-password", "*OLD *NEW", "change the login password",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("login-password", MODIFY_PASSWORD_S2C, p.Password(w[0], w[1]), m); }},
    {"nickname", "NAME", "change the nickname",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("nickname", MODIFY_NICKNAME_S2C, p.Nickname(w[0]), m); }},
    {"gender", "#NUMBER", "change the gender",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("gender", MODIFY_GENDER_S2C, p.Gender(Number32(w[0])), m); }},
    {"signature", "TEXT", "change the personal signature",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("signature", MODIFY_SIGNATURE_S2C, p.Signature(w[0]), m); }},
    {"face", "#ID", "change the face",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("face", MODIFY_FACE_ID_S2C, p.FaceId(Number32(w[0])), m); }},
    {"mobile", "NUMBER", "bind a mobile number",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("mobile", BINDING_MOBILE_S2C, p.Mobile(w[0]), m); }},
    {"real-name", "NAME IDENTITY", "authenticate by real name and 18-digit identity",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("real-name", REAL_NAME_S2C, p.RealName(w[0], w[1]), m); }},
    {"refresh", "", "ask for the coin figures",
     [](Player& p, const Words&, const Manner& m) {
         return Show("refresh", REFRESH_COIN_S2C, p.Refresh(), m); }},
    {"exchange", "#RECEIVER +AMOUNT", "give coins to another player",
     [](Player& p, const Words& w, const Manner& m) {
         return Show("exchange", EXCHANGE_COIN_S2C, p.Exchange(Number32(w[0]), Number(w[1])), m); }},
    {"server-list", "", "the game servers of the site", ServerList},
    {"tournament", "", "today's tournament and one's own figures",
     [](Player& p, const Words&, const Manner& m) {
         return Show("tournament", MSG_CLIENT_COMPETE_RES, p.Tournament(), m); }},
    {"subscribe", "KEY", "subscribe to a farm key (not answered)",
     [](Player& p, const Words& w, const Manner&) { p.Subscribe(w[0]); p.KeepAlive(); return true; }},
    {"unsubscribe", "KEY", "end a subscription (not answered)",
     [](Player& p, const Words& w, const Manner&) { p.Unsubscribe(w[0]); p.KeepAlive(); return true; }},
    {"activity", "#ID #LEVEL #PROGRESS", "ask an activity; its answer is a push",
     [](Player& p, const Words& w, const Manner&) {
         p.Activity(Number32(w[0]), Number32(w[1]), Number32(w[2]));
         p.KeepAlive();
         return true; }},
    {"keep-alive", "", "send a keep-alive and wait for its echo",
     [](Player& p, const Words&, const Manner&) { p.KeepAlive(); return true; }},
    {"wait", "#SECONDS", "stay connected that long",
     [](Player& p, const Words& w, const Manner&) {
         p.Watch(Clock::now() + std::chrono::seconds(Number(w[0])));
         return true; }},
};
// clang-format on

const Command* Find(const std::string& name) {
    for (const Command& command : COMMANDS) {
        if (name == command.name) return &command;
    }
    return nullptr;
}

// The names of a command's words, as people read them.
std::string Usage(const Command& command) {
    std::string words = command.words;
    std::erase_if(words, [](char c) { return c == '#' || c == '+' || c == '*'; });
    return words;
}

Words Split(const std::string& text) {
    Words words;
    size_t at = 0;
    while (at < text.size()) {
        const size_t end = std::min(text.find(' ', at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

// What is wrong with a word, or nothing.
std::string Check(const std::string& wanted, const std::string& word) {
    int32_t narrow = 0;
    int64_t wide = 0;
    if (wanted[0] == '#' && !Fits(word, narrow)) {
        return word + " is not a number from -2147483648 to 2147483647";
    }
    if (wanted[0] == '+' && !Fits(word, wide)) return word + " is not a number of 64 bits";
    return "";
}

}  // namespace

bool Parse(const Words& words, std::vector<Step>& steps, std::string& error) {
    for (size_t at = 0; at < words.size();) {
        Step step{Find(words[at]), {}};
        if (step.command == nullptr) return error = "no command " + words[at], false;
        const std::string& name = words[at++];
        for (const std::string& wanted : Split(step.command->words)) {
            if (at == words.size()) return error = name + " needs " + Usage(*step.command), false;
            const std::string wrong = Check(wanted, words[at]);
            if (!wrong.empty()) return error.assign(name).append(": ").append(wrong), false;
            const bool isAsked = wanted[0] == '*' && words[at] == "-";
            step.words.push_back(isAsked ? AskSecret(wanted.substr(1) + " password") : words[at]);
            ++at;
        }
        steps.push_back(std::move(step));
    }
    return true;
}

bool Run(const Step& step, Player& player, const Manner& manner) {
    return step.command->run(player, step.words, manner);
}

void ShowPush(const Message& message, const Manner& manner) {
    ShowMessage("(push)", message.bytes, manner);
}

std::string CommandHelp() {
    std::string out =
        "Commands, run in order; without any they are read from the terminal or the input.\n"
        "A password given as - is asked for.\n";
    for (const Command& command : COMMANDS) {
        out += "  " + std::string(command.name) + " " + Usage(command) + "\n        " +
               command.help + "\n";
    }
    return out +
           "Exit status: 0 all commands succeeded, 1 one was refused, 2 wrong use,\n"
           "3 the lobby cannot be reached, closed the connection or did not answer.\n";
}

std::vector<std::string> CommandNames() {
    std::vector<std::string> names{"help", "quit"};
    for (const Command& command : COMMANDS)
        names.emplace_back(command.name);
    return names;
}

}  // namespace client
