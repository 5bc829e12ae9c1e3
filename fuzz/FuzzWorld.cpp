#include "FuzzWorld.h"

#include <algorithm>
#include <cctype>

#include "QueueServerHandler.h"
#include "activitySystem/ActivitySystem.h"
#include "eventSystem/EventDispatcher.h"
#include "lobby_client_msg.h"
#include "queue_server_msg.h"

namespace {

namespace fs = std::filesystem;
using catalog::Direction;

constexpr time_t kBegin = 1'700'000'000;
std::atomic<time_t> g_now{kBegin};

struct LinkEnds {
    MemoryLobby::Port port;
    Direction toLobby, fromLobby;
};
constexpr LinkEnds LINK_ENDS[] = {
    {MemoryLobby::CENTER, Direction::CenterToLobby, Direction::LobbyToCenter},
    {MemoryLobby::WEB, Direction::WebToLobby, Direction::LobbyToWeb},
    {MemoryLobby::QUEUE, Direction::QueueToLobby, Direction::LobbyToQueue},
    {MemoryLobby::DATA, Direction::DataToLobby, Direction::LobbyToData},
    {MemoryLobby::CONFIG, Direction::ConfigToLobby, Direction::LobbyToConfig},
    {MemoryLobby::LOG, Direction::LobbyToLog, Direction::LobbyToLog},  // never sends
};

void Put64(std::string& message, size_t at, uint64_t value) {
    if (at + sizeof(value) <= message.size()) std::memcpy(&message[at], &value, sizeof(value));
}

bool IsUserField(const catalog::Field& field) {
    std::string name;
    for (const char c : field.name)
        name += static_cast<char>(std::tolower(c));
    return name.find("userid") != std::string::npos && field.size == 4;
}

bool HasItsLength(Direction direction, const MemoryNet::Sent& sent) {
    const catalog::Message* row = catalog::Find(direction, sent.type);
    return row == nullptr || row->varies || row->size == sent.bytes.size();
}

// What Redis answers; it is away unless it says so.
struct {
    bool online = false, stored = false, deleted = false;
} g_redis;

int UserOf(unsigned who) {
    return ops::FIRST_USER + static_cast<int>(who);
}

}  // namespace

// In the place of the lobby's own, see CMakeLists.txt.
extern "C" int32_t __wrap__ZN16LobbyRedisServer13IsLobbyOnlineEi(LobbyRedisServer*, int) {
    return g_redis.online;
}
extern "C" int32_t __wrap__ZN16LobbyRedisServer17InsertLobbyOnlineEi(LobbyRedisServer*, int) {
    return g_redis.stored;
}
extern "C" int32_t __wrap__ZN16LobbyRedisServer14DelLobbyOnlineEi(LobbyRedisServer*, int) {
    return g_redis.deleted;
}

void FuzzWorld::PrepareProcess() {
    // The log's lines are made, and thrown away.
    const fs::path home = fs::read_symlink("/proc/self/exe").parent_path();
    std::error_code exists;
    fs::create_directory(home / "log", exists);
    fs::create_symlink("/dev/null", home / "log" / "fuzz_null.log", exists);
    Require(std::freopen("/dev/null", "w", stdout) != nullptr, "no standard output");
    InitializeLog("none.cfg", "fuzz_null.log");

    static const WorkingFolder folder;
    Configure("[init]\nsendbulletintime=5\n");
    WriteFile("SensitiveName.cfg", "[config]\nSensitiveName=bad,,worse\n");
    WriteFile("disconnectuserid.cfg", "[disconnectcount]\nusernum=1\n[disconnect]\nuser0=10008\n");
    WriteFile("compete_info.cfg", "");
    SetClockSource({[] { return g_now.load(); }, [] { return static_cast<long>(g_now.load()); }});
}

FuzzWorld::FuzzWorld() {
    g_now = kBegin;
    g_redis = {};
    net.failSend = [this](IPlayerNode*, uint16_t) {
        int left = m_failSends;
        while (left > 0 && !m_failSends.compare_exchange_weak(left, left - 1)) {
        }
        return left > 0;
    };
    Start();
    m_activity = std::make_unique<ExampleActivity>(lobby.get());
    lobby->m_pActivitySystem->AddActivityHandler(m_activity.get());
}

FuzzWorld::~FuzzWorld() {
    m_activity->removeAllEventListener();
    lobby->m_pActivitySystem->RemoveActivityHandler(m_activity.get());
    lobby.reset();
    ActivitySystem::destroyInstance();
}

MemoryLobby::Port FuzzWorld::LinkOf(Direction direction) {
    return std::find_if(std::begin(LINK_ENDS), std::end(LINK_ENDS),
                        [&](const LinkEnds& link) { return link.toLobby == direction; })
        ->port;
}

void FuzzWorld::Step(FuzzInput& input) {
    const uint8_t first = input.Byte();
    const unsigned who = (first >> 4) % ops::CLIENTS;
    const uint8_t kind = first & 0x0F;
    if (kind == ops::Connect) {
        Connect(who);
    } else if (kind == ops::Login) {
        LogIn(who);
    } else if (kind < ops::LinkMessage) {
        const auto& rows = ops::ClientRows();
        const catalog::Message* row = rows[input.Byte() % rows.size()];
        FromClient(who, row->type, Body(input, row, who));
    } else if (kind < ops::ClientRaw) {
        const auto& rows = ops::LinkRows();
        const catalog::Message* row = rows[input.Byte() % rows.size()];
        FromLink(LinkOf(row->direction), row->type, Body(input, row, who));
    } else if (kind == ops::ClientRaw) {
        const uint16_t type = input.Word();
        FromClient(who, type, Body(input, nullptr, who));
    } else if (kind == ops::LinkRaw) {
        const auto link = static_cast<Port>(CENTER + input.Byte() % 6);
        const uint16_t type = input.Word();
        FromLink(link, type, Body(input, nullptr, who));
    } else if (kind == ops::CloseClient) {
        CloseClient(who);
    } else if (kind == ops::CloseLink) {
        CloseLink(static_cast<Port>(CENTER + input.Byte() % 6));
    } else if (kind == ops::Tick) {
        g_now += ops::STEPS[input.Byte() % std::size(ops::STEPS)];
        net.Tick(g_now);
    } else {
        Disturb(input.Byte());
    }
    Settle();
}

void FuzzWorld::Connect(unsigned who) {
    if (m_clients[who] == nullptr) m_clients[who] = static_cast<LobbyPlayer*>(net.Connect());
}

// Confirmed as the queue server would, so that the requests behind it find an online player.
void FuzzWorld::LogIn(unsigned who) {
    Connect(who);
    Notice(m_clients[who], UserOf(who));
    Settle();
    if (m_clients[who] == nullptr) return;
    UserInfoRes info{};
    info.llGameCoin = 1000;
    info.llBankCoin = 500;
    SetSession(info, m_clients[who]);
    FromLink(QUEUE, USER_INFO_Q2L, std::string(reinterpret_cast<const char*>(&info), sizeof(info)));
}

void FuzzWorld::CloseClient(unsigned who) {
    if (m_clients[who] != nullptr) net.Hangup(std::exchange(m_clients[who], nullptr));
}

void FuzzWorld::CloseLink(Port link) {
    IPlayerNode* node = Link(link);
    if (node == nullptr) return;
    net.Hangup(node);
    // The keeper opens it anew, at once.
    for (int i = 0; i < 2000 && Link(link) == nullptr; ++i)
        usleep(50);
}

void FuzzWorld::Disturb(uint8_t what) {
    if (what < 128) {
        m_failSends = what % 8;
    } else {
        g_redis = {(what & 4) != 0, (what & 8) != 0, (what & 16) != 0};
        WriteFile("compete_info.cfg",
                  what % 2 != 0
                      ? "[compete_info]\nmonth_open_day=14\nmonth_user_num=9,8,7,6,5,4,3,2,"
                        "1\nday_user_num=4,x\nday_open_hour=2147483647\n"
                      : std::string_view());
        WriteFile("SensitiveName.cfg",
                  what % 4 < 2 ? "[config]\nSensitiveName=,a,\n" : std::string_view());
    }
}

void FuzzWorld::FromClient(unsigned who, uint16_t type, const std::string& message) {
    if (m_clients[who] != nullptr) net.Deliver(m_clients[who], type, message);
}

void FuzzWorld::FromLink(Port link, uint16_t type, const std::string& message) {
    IPlayerNode* node = Link(link);
    if (node != nullptr) net.Deliver(node, type, message);
}

std::string FuzzWorld::Body(FuzzInput& input, const catalog::Message* row, unsigned who) {
    const uint8_t flags = input.Byte();
    long size = row != nullptr ? static_cast<long>(row->size) : input.Byte() + HEADER_SIZE;
    if ((flags & ops::SizeAny) != 0) {
        size = input.Word() % (BUFFER_SIZE + 1);
    } else if ((flags & ops::SizeNear) != 0) {
        size += static_cast<int8_t>(input.Byte());
    }
    size = std::clamp(size, HEADER_SIZE, BUFFER_SIZE);
    std::string message(static_cast<size_t>(size), (flags & ops::FillOnes) != 0 ? '\xFF' : '\0');
    const std::string start = input.Text();
    start.copy(&message[HEADER_SIZE], message.size() - HEADER_SIZE);
    if ((flags & ops::SecondPatch) != 0) {
        const size_t at = HEADER_SIZE + input.Word() % (message.size() - HEADER_SIZE + 1);
        const std::string patch = input.Text();
        patch.copy(&message[at], message.size() - at);
    }
    if (row != nullptr && row->layout != nullptr) PatchFields(message, *row, flags, who);
    return message;
}

void FuzzWorld::PatchFields(std::string& message, const catalog::Message& row, uint8_t flags,
                            unsigned who) {
    size_t node = message.size();
    for (const catalog::Field& field : row.layout->fields) {
        if (field.name == "ulPlayerNode") node = field.offset;
        if (field.name == "ulPlayerNodeId") {
            PutHandle(message, node, field.offset, flags & ops::HandleMask, who);
        }
        const int user = UserOf(who);
        if ((flags & ops::KeepUser) == 0 && IsUserField(field) &&
            field.offset + sizeof(user) <= message.size()) {
            std::memcpy(&message[field.offset], &user, sizeof(user));
        }
    }
}

void FuzzWorld::PutHandle(std::string& message, size_t node, size_t id, uint8_t handle,
                          unsigned who) {
    auto* player = m_clients[who];
    if (handle == ops::LinksOwn) player = static_cast<LobbyPlayer*>(Link(QUEUE));
    if (handle == ops::AsGiven || player == nullptr) return;
    Put64(message, node, NodeHandle(player));
    Put64(message, id, player->m_ulPlayerNodeId - (handle == ops::StaleId ? 1 : 0));
}

void FuzzWorld::Settle() {
    net.Settle();
    for (LobbyPlayer*& client : m_clients) {
        if (client == nullptr) continue;
        CheckSent(client, Direction::LobbyToClient);
        if (net.IsClosed(client)) client = nullptr;
    }
    for (const LinkEnds& link : LINK_ENDS) {
        if (IPlayerNode* node = Link(link.port)) CheckSent(node, link.fromLobby);
    }
}

void FuzzWorld::CheckSent(IPlayerNode* node, Direction direction) {
    for (const MemoryNet::Sent& sent : net.Received(node)) {
        Require(sent.bytes.size() >= HEADER_SIZE && sent.bytes.size() <= BUFFER_SIZE,
                "what is sent has a legal length");
        // A forged handle may name a link: the answer to a player then goes there.
        if (HasItsLength(direction, sent) || HasItsLength(Direction::LobbyToClient, sent)) continue;
        std::fprintf(stderr, "%s 0x%04X: %zu bytes\n", catalog::NameOf(direction), sent.type,
                     sent.bytes.size());
        Require(false, "what is sent has the length of its kind");
    }
}

void FuzzWorld::CheckSessions() {
    std::set<const LobbyPlayer*> listed;
    const LobbyPlayer* before = nullptr;
    for (LobbyPlayer* p = lobby->GetClientLobbyPlayer(); p != nullptr; p = p->m_lpNext) {
        Require(listed.insert(p).second, "the session list has no loop");
        Require(p->m_lpPrior == before, "the session list is linked both ways");
        Require(!net.IsClosed(p), "a listed session is open");
        before = p;
    }
    for (const LobbyPlayer* client : m_clients) {
        Require(client == nullptr || client->m_cLoginType == 0 || client->m_iUserID <= 0 ||
                    listed.contains(client),
                "a session that logged in is listed");
    }
}

void FuzzWorld::Check() {
    CheckSessions();
    m_failSends = 0;
    IPlayerNode* bystander = net.Connect();
    net.Deliver(bystander, MSG_KEEP_ALIVE, std::string(HEADER_SIZE, '\0'));
    const auto answer = net.Received(bystander);
    Require(answer.size() == 1 && answer[0].type == MSG_KEEP_ALIVE, "another player is served");
    net.Hangup(bystander);
    for (unsigned who = 0; who < m_clients.size(); ++who)
        CloseClient(who);
    net.Settle();
    Require(lobby->m_mapPlayerToStrKey.empty(), "no subscription outlives its session");
}
