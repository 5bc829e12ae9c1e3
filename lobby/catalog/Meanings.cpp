// What a field of a given name usually means, and what result codes mean.
#include <algorithm>

#include "BankInfoDef.h"
#include "Layouts.h"
#include "lobby_client_msg.h"

namespace catalog {
namespace {

struct Meaning {
    const char* text;
    std::vector<std::string_view> names;
};

// clang-format off
const std::vector<Meaning>& Meanings() {
    static const std::vector<Meaning> all = {
        // Who and where.
        {"the player's user id; in a client's request his own", {"iUserID", "iUserId", "userID", "userId"}},
        {"handle of the session, sent back as it came", {"ulPlayerNode"}},
        {"node id of the session; after its end an answer finds nobody", {"ulPlayerNodeId"}},
        {"site, see the glossary", {"iSiteID", "iSiteId"}},
        {"site to log in at: decides whose game servers are listed", {"iLobbySiteID"}},
        {"game; 0 for none", {"iGameID", "iGameId", "iGameid", "gameId", "gameID", "usGameID"}},
        {"game server (room); 0 for none", {"iServerID", "iServerId", "serverId", "serverID", "usServerID"}},
        {"distribution channel of the client; any text", {"szChannelID"}},
        {"channel the bulletin is for; empty for all", {"cChannelId"}},
        {"the player's address, dotted", {"szClientIP"}},
        {"name of the account with its external provider", {"szOutAccount"}},
        {"team tag of the account", {"iTeamTag"}},
        {"joint-operation flag of the account", {"iLianyunFlag"}},
        {"how the account was registered", {"usRegisterType"}},
        {"reserve, as the queue server sent it", {"szReserve1", "szReserve3"}},
        {"kind of client the account came from", {"iAccountsourceid", "iClientSiteType"}},
        // Results and secrets.
        {"0 success, else see the codes", {"ucResultType", "iError", "iErrorCode", "usErrorCode", "ucErrNo", "cError"}},
        {"the platform's token for this login", {"szToken", "szPasswdToken"}},
        {"the bank password", {"szBankPass", "szBankerPwd"}},
        {"the password until now", {"szOldPassWd"}},
        {"the password from now on", {"szNewPassWd"}},
        {"confirmation code, when the platform asks for one", {"szCode"}},
        // Coins.
        {"coins given", {"llExhangeCoin", "llExchangeCoin"}},
        {"coins in hand", {"llGameCoin", "llCurGameCoin"}},
        {"coins in the bank", {"llBankCoin"}},
        {"control number of the account, the platform's own", {"llControlNum"}},
        {"all ingots the player ever bought", {"iAllYuanBaoAmount"}},
        {"friend props the player has", {"iFriendPropNum"}},
        {"the giver", {"iUserIDFrom", "iSenderID"}},
        {"the receiver", {"iUserIDRecv", "iReceiverID"}},
        {"kind of transfer, the log server's own", {"cTransferType"}},
        {"region, for the log server; empty", {"szRegionName"}},
        {"what was used: JSON text {\"wsGainList\":[{\"type\":n,\"number\":n},...]}", {"szConsumeNotice"}},
        // Profile.
        {"nickname", {"szNickName"}},
        {"account name", {"szUserName"}},
        {"gender, as the platform numbers it", {"iGender"}},
        {"the player's own words beside his name", {"szPersonalSignature"}},
        {"picture of the player, as the platform numbers it", {"iFaceId"}},
        {"frame around the picture, as the platform numbers it", {"iFrameId", "iFrameID"}},
        {"mobile number, digits", {"szMobileNumber"}},
        {"name by the papers", {"szRealName"}},
        {"identity number, 18 characters", {"szIdentity"}},
        {"1 when a mobile number is bound", {"isBindingmobile"}},
        {"machine index of the account", {"iMachineIndex"}},
        {"time played", {"iPlayGameTime"}},
        // Directories.
        {"records in this message", {"usListCount", "iListCount", "iSiteGameListCount", "usItemCount", "iCount", "usBulletNum"}},
        {"1 in the last message of the list", {"isFinished", "iIsFinish", "iFinished"}},
        {"the records", {"serverInfo", "ServerInfoList", "GameList", "siteGameInfo", "item", "rows", "records", "bulletinItem"}},
        {"the keys", {"subscribeKeyInfo"}},
        {"name of the game server", {"szServerName"}},
        {"players in it", {"usOnlineCount"}},
        {"0 closed, else open", {"ucOpenFlag"}},
        {"name of the game", {"szGameName"}},
        {"kind of game", {"iTypeID"}},
        {"name of that kind", {"szTypeName"}},
        {"VIP level it takes", {"iLimitLv"}},
        {"picture, as the platform numbers it", {"iPhotoID"}},
        // Bulletins and farm.
        {"kind of bulletin; 4 goes before others", {"usBulletType"}},
        {"kind of prize, as the platform numbers it", {"iAwardType"}},
        {"how much was won", {"iAwardNum"}},
        {"text of the bulletin", {"szContent"}},
        {"kind of farm message, the farm's own", {"iMainID", "iSubID"}},
        {"farm key", {"szKey", "szMessageKey"}},
        {"text of the message", {"szMsgContent"}},
        {"port of the lobby that delivered it", {"iTransferPort"}},
        // Tournament.
        {"free entries the player has left today", {"iFreeCount"}},
        {"tickets for the daily tournament", {"iDayTicketCount"}},
        {"tickets for the monthly tournament", {"iMonthTicketCount"}},
        {"the player's score this month", {"iCompeteMonthScore"}},
        {"the player's rank this month", {"iCompeteMonthRank"}},
        {"coins the winner gets", {"iAwardCoin"}},
        {"day of the month it opens; 0 for the daily one", {"usOpenDay"}},
        {"hour it opens", {"usOpenHour"}},
        {"minute it opens", {"usOpenMinute"}},
        {"rounds; may be more than the 8 below", {"usTurnNum"}},
        {"players kept in each round", {"iTurnsUsers"}},
        {"free daily entries a player gets", {"usDayMaxFreeCount"}},
        {"coins an entry costs", {"iDayCompeteCostCoin"}},
        {"1: the player left a tournament that goes on and may return", {"ucIsDisconnect", "bDisconnect"}},
        {"address of the server it is on, dotted", {"szServerIp"}},
        {"port of that server", {"usServerPort"}},
        // Activities.
        {"the activity's id", {"iActivityId", "iActivityID"}},
        {"the activity's own", {"iOther1", "iOther2", "iOther3", "iProgress", "iLevel", "iConfig",
          "iProgress1", "iProgress2", "iProgress3", "iProgress4", "iProgress5", "iProgress6", "iProgress7",
          "iProgress8", "iProgress9", "iProgress10", "iCondition1", "iCondition2", "iCondition3",
          "iCondition4", "iCondition5", "iCondition6", "iCondition7", "iCondition8", "iCondition9",
          "iCondition10", "iGamecoin", "iLotterynum", "iDiamondnum", "iRedpacketnum", "lDateTime"}},
        {"the player's record as it is to be", {"progress"}},
        {"coins granted; the lobby books them", {"iGameCoin"}},
        {"source the coins are booked under", {"iGameCoinSourceId"}},
        {"ingots granted; the lobby books them", {"iYuanBaoNum"}},
        {"source the ingots are booked under", {"iYuanBaoNumSourceId"}},
        {"1 coins, 2 ingots", {"iType"}},
        {"how many", {"iValue"}},
        {"source they are booked under", {"iSourceID"}},
        {"when it was last changed, seconds since 1970", {"updateTime"}},
        {"not 0: changed, to be written back", {"isUpdate"}},
        {"platforms it runs on", {"usOpenPlatform"}},
        {"kind of activity", {"usActivityType"}},
        {"not 0: over several games; the lobby makes no record", {"isMultiGame"}},
        {"0: closed whatever the window says", {"isOpen"}},
        {"first hour of the daily window", {"iDayBegin"}},
        {"hour the daily window ends; as the first: no window", {"iDayEnd"}},
        {"first second it is open, since 1970; 0: no limit", {"ulTimeBegin"}},
        {"first second it no longer is, since 1970; 0: no limit", {"ulTimeEnd"}},
        {"threshold of the account types", {"iHighPayamount", "iHighYbamount", "iLowPayamount", "iLowYbamount", "iPlayTimes"}},
    };
    return all;
}

constexpr const char* kNotYours = "This request named another player.";
constexpr const char* kTooSoon = "Too soon after the last one. Wait two seconds and try again.";
constexpr const char* kBadAmount = "The amount must be at least 1.";
constexpr const char* kFewCoins = "There are not enough coins for this.";
constexpr const char* kBadBankPassword = "The bank password is wrong.";

// By answer; those of the queue server are platform_sim's.
constexpr Code CODES[] = {
    {LOBBY_AUTHEN_RES_S2C,   1, "There is no such player.", false},
    {LOBBY_AUTHEN_RES_S2C,   2, "The token is wrong. Get a new one from the platform.", false},
    {BANK_LOGIN_S2C,         BANK_RESULT_OTHER_USER, kNotYours, true},
    {BANK_LOGIN_S2C,         BANK_RESULT_LOGIN_RETRY, kBadBankPassword, false},
    {BANK_GET_COIN_S2C,      BANK_RESULT_OTHER_USER, kNotYours, true},
    {BANK_GET_COIN_S2C,      151, kBadBankPassword, false},
    {BANK_GET_COIN_S2C,      152, kFewCoins, false},
    {BANK_GET_COIN_S2C,      BANK_RESULT_TOO_SOON, kTooSoon, true},
    {BANK_GET_COIN_S2C,      BANK_RESULT_BAD_VALUE, kBadAmount, true},
    {BANK_SAVE_COIN_S2C,     BANK_RESULT_OTHER_USER, kNotYours, true},
    {BANK_SAVE_COIN_S2C,     152, kFewCoins, false},
    {BANK_SAVE_COIN_S2C,     BANK_RESULT_TOO_SOON, kTooSoon, true},
    {BANK_SAVE_COIN_S2C,     BANK_RESULT_BAD_VALUE, kBadAmount, true},
    {BANK_MODIFY_PASSWD_S2C, BANK_RESULT_OTHER_USER, kNotYours, true},
    {BANK_MODIFY_PASSWD_S2C, 151, kBadBankPassword, false},
    {BANK_MODIFY_PASSWD_S2C, BANK_RESULT_TOO_SOON, kTooSoon, true},
    {MODIFY_PASSWORD_S2C,    PASSWORD_OTHER_USER, "This is not your account.", true},
    {MODIFY_PASSWORD_S2C,    3, "The old password is wrong.", false},
    {MODIFY_PASSWORD_S2C,    PASSWORD_TOO_SOON, "Too soon after the last change. Wait six seconds and try again.", true},
    {MODIFY_NICKNAME_S2C,    1, "This nickname is not allowed.", true},
    {MODIFY_NICKNAME_S2C,    5, "This nickname is taken.", false},
    {MODIFY_NICKNAME_S2C,    6, "This nickname is not allowed.", false},
    {MODIFY_SIGNATURE_S2C,   1, "This text is not allowed.", true},
    {BINDING_MOBILE_S2C,     6, "This is not a mobile number.", false},
    {REAL_NAME_S2C,          6, "The name is missing, or the identity number has not 18 characters.", false},
    {EXCHANGE_COIN_S2C,      EXCHANGE_BAD_AMOUNT, "The amount must be at least 1 and no more than the coins in hand.", true},
    {EXCHANGE_COIN_S2C,      EXCHANGE_TO_SELF, "Coins cannot be sent to oneself.", true},
    {EXCHANGE_COIN_S2C,      EXCHANGE_TOO_SOON, "Too soon after the last transfer. Wait five seconds and try again.", true},
    {EXCHANGE_COIN_S2C,      20, kFewCoins, false},
    {EXCHANGE_COIN_S2C,      21, "There is no such player.", false},
};
// clang-format on

}  // namespace

const char* UsualMeaning(std::string_view name) {
    for (const Meaning& one : Meanings()) {
        if (std::find(one.names.begin(), one.names.end(), name) != one.names.end()) return one.text;
    }
    return "";
}

std::span<const Code> Codes() {
    return CODES;
}

std::string CodeText(uint16_t type, int64_t code) {
    for (const Code& one : CODES) {
        if (one.type == type && one.code == code) return one.sentence;
    }
    return "This was refused (code " + std::to_string(code) + ").";
}

const Field* CodeField(const Message& message) {
    if (message.direction != Direction::LobbyToClient || message.layout == nullptr) return nullptr;
    const std::string_view marked = UsualMeaning("iError");
    for (const Field& field : message.layout->fields) {
        if (field.meaning == marked) return &field;
    }
    return nullptr;
}

}  // namespace catalog
