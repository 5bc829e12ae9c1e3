// The control commands: one row and one function each.
#include <charconv>
#include <sstream>

#include "CenterServer.h"
#include "ConfigServer.h"
#include "ControlPort.h"
#include "DataServer.h"
#include "LogServer.h"
#include "Platform.h"
#include "WebServer.h"
#include "lobby_client_msg.h"

namespace sim {
namespace {

// What a command was given. The texts of wrong input are thrown as BadInput.
struct BadInput : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Args {
  public:
    explicit Args(const std::string& line) : m_stream(line) {}

    // The next word; throws when there is none.
    std::string Word(const char* what) {
        std::string word;
        if (!(m_stream >> word)) throw BadInput(std::string("missing ") + what);
        return word;
    }
    template <class N = int32_t>
    N Number(const char* what) {
        const std::string word = Word(what);
        N value{};
        const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
        if (result.ec != std::errc() || result.ptr != word.data() + word.size()) {
            throw BadInput(word + " is not a number for " + what);
        }
        return value;
    }
    template <class N = int32_t>
    N NumberOr(const char* what, N otherwise) {
        return (m_stream >> std::ws).eof() ? otherwise : Number<N>(what);
    }
    // Everything that is left.
    std::string Rest() {
        std::string rest;
        std::getline(m_stream >> std::ws, rest);
        return rest;
    }

  private:
    std::istringstream m_stream;
};

Player& PlayerOf(Platform& platform, Args& args) {
    const auto id = args.Number("player id");
    Player* player = platform.TheWorld().FindPlayer(id);
    if (player == nullptr) throw BadInput("no player " + std::to_string(id));
    return *player;
}

ServerKind KindOf(Args& args) {
    const std::string name = args.Word("server (queue, center, config, web, data, log)");
    for (const ServerKind kind : ALL_SERVERS) {
        if (name == NameOf(kind)) return kind;
    }
    throw BadInput("no server called " + name);
}

template <class T>
std::string ToLobbies(Platform& platform, uint16_t type, const T& message) {
    BackEnd& web = platform.Server(ServerKind::Web);
    web.SendAll(type, message);
    return "to " + std::to_string(web.Links()) + " lobbies\n";
}

// Players and books.

std::string ShowPlayer(Platform& platform, Args& args) {
    const Player& p = PlayerOf(platform, args);
    std::ostringstream out;
    out << "player " << p.id << " nickname=\"" << p.nickname << "\" coin=" << p.coin
        << " bank=" << p.bankCoin << " ingots=" << p.ingots << " recharged=" << p.recharged
        << " gender=" << p.gender << " face=" << p.faceId << " mobile=\"" << p.mobile
        << "\" signature=\"" << p.signature << "\" bank_password=\"" << p.bankPassword
        << "\" password=\"" << p.password << "\"\n";
    return out.str();
}

std::string ShowTotals(Platform& platform, Args&) {
    const World& world = platform.TheWorld();
    const int64_t all = world.AllCoins();
    return "players=" + std::to_string(world.players.size()) + " coins=" + std::to_string(all) +
           " created=" + std::to_string(world.created) +
           " base=" + std::to_string(all - world.created) + "\n";
}

std::string Recharge(Platform& platform, Args& args) {
    Player& player = PlayerOf(platform, args);
    const auto amount = args.Number("amount");
    if (amount <= 0) throw BadInput("the amount must be positive");
    player.coin += amount;
    player.recharged += amount;
    platform.TheWorld().created += amount;
    RechargeSucessNotice notice{};
    notice.userId = player.id;
    notice.rechargeType = 1;
    notice.rechargeCount = amount;
    return ToLobbies(platform, MSG_WEB_RECHARGE_NOTICE, notice);
}

std::string Consume(Platform& platform, Args& args) {
    const Player& player = PlayerOf(platform, args);
    std::string text = args.Rest();
    if (text.empty()) text = R"({"wsGainList":[{"type":4,"number":1}]})";
    ConsumeSucessNotice notice{};
    notice.userId = player.id;
    notice.iSize = static_cast<int32_t>(std::min(text.size(), wire::LARGEST - sizeof(notice)));
    wire::Bytes bytes(sizeof(notice) + static_cast<size_t>(notice.iSize));
    std::memcpy(bytes.data(), &notice, sizeof(notice));
    std::memcpy(bytes.data() + sizeof(notice), text.data(), static_cast<size_t>(notice.iSize));
    BackEnd& web = platform.Server(ServerKind::Web);
    web.SendAll(wire::Pack(MSG_WEB_CONSUME_NOTICE, bytes.data(), bytes.size()));
    return "";
}

std::string Sync(Platform& platform, Args& args) {
    SychUserLobbyData data{};
    data.userId = PlayerOf(platform, args).id;
    data.dataType = args.Number("data type");
    data.dataValue = args.Number("value");
    return ToLobbies(platform, MSG_WEB_SYNC_USER_DATA, data);
}

// Pushes.

std::string WinBulletin(Platform& platform, const std::string& text, uint16_t type) {
    WinCoinBulletinNotice notice{};
    notice.usBulletType = type;
    notice.iUserId = 10001;
    notice.iAwardNum = 1000;
    wire::SetText(notice.szNickName, "player10001");
    wire::SetText(notice.szUserName, "account10001");
    wire::SetText(notice.szServerName, "room 1100");
    wire::SetText(notice.szContent, text);
    return ToLobbies(platform, MSG_WEB_WIN_BULLETIN, notice);
}

std::string SysBulletin(Platform& platform, const std::string& text) {
    SysBulletinNotice notice{};
    notice.usBulletNum = 1;
    notice.bulletinItem[0].usBulletType = 2;
    wire::SetText(notice.bulletinItem[0].szContent, text);
    const size_t size = offsetof(SysBulletinNotice, bulletinItem) + sizeof(SysBulletinCommon);
    BackEnd& web = platform.Server(ServerKind::Web);
    web.SendAll(wire::Pack(MSG_WEB_SYS_BULLETIN, &notice, size));
    return "";
}

std::string Bulletin(Platform& platform, Args& args) {
    const std::string kind = args.Word("kind (win, priority, sys)");
    const std::string text = args.Rest();
    if (kind == "win") return WinBulletin(platform, text, 1);
    if (kind == "priority") return WinBulletin(platform, text, 4);
    if (kind == "sys") return SysBulletin(platform, text);
    throw BadInput("no bulletin kind " + kind);
}

std::string Farm(Platform& platform, Args& args) {
    BulletinTransferFarmNotice notice{};
    const std::string kind = args.Word("receiver (all, user, key)");
    notice.iMainID = 1;
    notice.iSubID = 1;
    if (kind == "user") {
        notice.iUserID = args.Number("player id");
    } else if (kind == "key") {
        notice.iMainID = FARM_PUBLISH_MAIN_ID;
        notice.iSubID = FARM_PUBLISH_SUB_ID;
        wire::SetText(notice.szMessageKey, args.Word("key"));
    } else if (kind != "all") {
        throw BadInput("no farm receiver " + kind);
    }
    wire::SetText(notice.szMsgContent, args.Rest());
    return ToLobbies(platform, MSG_WEB_FARM_TRANSFER, notice);
}

std::string Global(Platform& platform, Args& args) {
    const auto number = args.Number("number (1, 2 or 3)");
    if (number < 1 || number > 3) throw BadInput("global messages are 1, 2 and 3");
    platform.Data().SendGlobal(static_cast<uint16_t>(ACT_GLOBAL_1 + number - 1), args.Rest());
    return "";
}

// Directories and settings.

std::string SetStop(Platform& platform, Args& args) {
    platform.Config().SetStopSwitch(args.Number("value"));
    return "";
}

std::string Kick(Platform& platform, Args& args) {
    platform.Center().KickOut(args.Number("player id"));
    return "";
}

std::string PushKeys(Platform& platform, Args&) {
    platform.Config().SendKeysToAll();
    return "";
}

std::string PushVip(Platform& platform, Args&) {
    platform.Config().SendTablesToAll();
    return "";
}

void Found(bool found, const char* what) {
    if (!found) throw BadInput(std::string("no such ") + what);
}

std::string ServerAdd(Platform& platform, Args& args) {
    tagServerInfo server{};
    server.usGameID = args.Number<uint16_t>("game");
    server.usServerID = args.Number<uint16_t>("server id");
    server.usLevel = args.NumberOr<uint16_t>("level", 1);
    server.ucOpenFlag = 1;
    server.iMaxUserNum = 200;
    server.usServerPort = 20000;
    const std::string name = args.Rest();
    wire::SetText(server.szServerName,
                  name.empty() ? "room " + std::to_string(server.usServerID) : name);
    wire::SetText(server.szTelecomIP, "192.0.2.1");
    platform.Center().PutServer(server);
    return "";
}

std::string ServerCommand(Platform& platform, Args& args) {
    const std::string what = args.Word("what (add, online, update, open, close, remove)");
    if (what == "add") return ServerAdd(platform, args);
    auto& servers = platform.TheWorld().servers;
    const auto at = servers.find(args.Number<uint16_t>("server id"));
    Found(at != servers.end(), "server");
    tagServerInfo& server = at->second;
    if (what == "online" || what == "update") {
        const auto online = args.Number<uint16_t>("count");
        const auto open = what == "update" ? args.Number<uint8_t>("open flag") : server.ucOpenFlag;
        platform.Center().UpdateServer(server, online, open);
    } else if (what == "open" || what == "close") {
        platform.Center().SetOpen(server, what == "open");
    } else if (what == "remove") {
        platform.Center().RemoveServer(server);
    } else {
        throw BadInput("no server command " + what);
    }
    return "";
}

std::string SiteCommand(Platform& platform, Args& args) {
    const std::string what = args.Word("what (put, withdraw)");
    tagSiteMobileGameList entry{};
    entry.iSiteID = args.Number("site");
    entry.iGameID = args.Number("game");
    if (what == "withdraw") {
        Found(platform.Center().WithdrawSiteGame(entry.iSiteID, entry.iGameID), "site game");
    } else if (what == "put") {
        entry.iGameKind = args.NumberOr("kind", 1);
        wire::SetText(entry.szGameName, args.Rest());
        platform.Center().PutSiteGame(entry);
    } else {
        throw BadInput("no site command " + what);
    }
    return "";
}

std::string ActivityCommand(Platform& platform, Args& args) {
    tagDBActivityConfigData row{};
    row.iActivityId = args.Number("activity id");
    for (const auto& known : platform.TheWorld().activities) {
        if (known.iActivityId == row.iActivityId) row = known;
    }
    const std::string what = args.Word("what (open, close, hours, site)");
    if (what == "open" || what == "close") {
        row.isOpen = what == "open";
    } else if (what == "hours") {
        row.iDayBegin = args.Number("first hour");
        row.iDayEnd = args.Number("last hour");
    } else if (what == "site") {
        row.iSiteId = args.Number("site");
    } else {
        throw BadInput("no activity command " + what);
    }
    platform.Data().PutActivity(row);
    return "";
}

std::string Records(Platform& platform, Args& args) {
    const auto& records = platform.Log().Records();
    const auto last = args.NumberOr<size_t>("how many", 100);
    std::string out;
    for (size_t i = records.size() - std::min(records.size(), last); i < records.size(); ++i) {
        out += records[i] + "\n";
    }
    return out;
}

// The links.

std::string Links(Platform& platform, Args&) {
    std::string out;
    for (const ServerKind kind : ALL_SERVERS) {
        out += std::string(NameOf(kind)) + "=" + std::to_string(platform.Server(kind).Links()) +
               (kind == ALL_SERVERS.back() ? "\n" : " ");
    }
    return out;
}

std::string Drop(Platform& platform, Args& args) {
    const ServerKind kind = KindOf(args);
    platform.Server(kind).Drop(std::chrono::seconds(args.NumberOr("seconds", 3)));
    return "";
}

std::string Down(Platform& platform, Args& args) {
    platform.Server(KindOf(args)).Drop({});
    return "";
}

std::string Up(Platform& platform, Args& args) {
    platform.Server(KindOf(args)).Resume();
    return "";
}

std::string Quit(Platform& platform, Args&) {
    asio::post(platform.Io(), [&platform] { platform.Quit(); });
    return "";
}

std::string Help(Platform&, Args&);

struct Command {
    const char* name;
    const char* usage;
    const char* help;
    std::string (*run)(Platform&, Args&);
};

constexpr Command COMMANDS[] = {
    {"help", "", "list the commands", Help},
    {"player", "ID", "show a player's account", ShowPlayer},
    {"totals", "", "coins of all players; base never changes", ShowTotals},
    {"recharge", "ID AMOUNT", "pay coins in and tell the lobbies", Recharge},
    {"consume", "ID [JSON]", "send a consume notice", Consume},
    {"sync", "ID TYPE VALUE", "send a user data sync", Sync},
    {"bulletin", "win|priority|sys TEXT", "send a bulletin", Bulletin},
    {"farm", "all TEXT | user ID TEXT | key KEY TEXT", "send a farm message", Farm},
    {"keys", "", "send the list of farm keys to every lobby", PushKeys},
    {"vip", "", "send the VIP tables to every lobby", PushVip},
    {"stop", "VALUE", "set the maintenance switch: 1 empties the lobbies, 0 opens them", SetStop},
    {"kick", "ID", "order the lobbies to put a user out", Kick},
    {"server",
     "add GAME ID [LEVEL [NAME]] | online ID N | update ID N OPEN | open ID | close ID | "
     "remove ID",
     "change the game servers", ServerCommand},
    {"site", "put SITE GAME [KIND [NAME]] | withdraw SITE GAME", "change the site games",
     SiteCommand},
    {"activity", "ID open|close|hours FIRST LAST|site SITE", "change an activity's row",
     ActivityCommand},
    {"global", "1|2|3 TEXT", "send a global activity message", Global},
    {"records", "[N]", "the last records of the log server", Records},
    {"links", "", "how many lobbies each server has", Links},
    {"drop", "SERVER [SECONDS]", "close its links and refuse new ones for a while (3 s)", Drop},
    {"down", "SERVER", "close its links and refuse new ones", Down},
    {"up", "SERVER", "accept lobbies again", Up},
    {"quit", "", "end the simulator", Quit},
};

std::string Help(Platform&, Args&) {
    std::string out;
    for (const Command& command : COMMANDS) {
        out += std::string(command.name) + " " + command.usage + "\n    " + command.help + "\n";
    }
    return out;
}

}  // namespace

std::string RunCommand(Platform& platform, const std::string& line) {
    Args args(line);
    try {
        const std::string name = args.Word("command; try help");
        for (const Command& command : COMMANDS) {
            if (name == command.name) return command.run(platform, args) + "ok\n";
        }
        return "error: no command " + name + "; try help\n";
    } catch (const BadInput& error) {
        return std::string("error: ") + error.what() + "\n";
    }
}

}  // namespace sim
