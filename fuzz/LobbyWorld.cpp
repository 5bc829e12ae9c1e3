#include "LobbyWorld.h"

#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>

#include "Common/Common.h"
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

void WriteFile(const char* name, std::string_view text) {
    std::ofstream(name, std::ios::binary) << text;
}

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

int UserOf(unsigned who) {
    return ops::FIRST_USER + static_cast<int>(who);
}

}  // namespace

void LobbyWorld::PrepareProcess() {
    // The log's lines are made, and thrown away.
    const fs::path home = fs::read_symlink("/proc/self/exe").parent_path();
    std::error_code exists;
    fs::create_directory(home / "log", exists);
    fs::create_symlink("/dev/null", home / "log" / "fuzz_null.log", exists);
    Require(std::freopen("/dev/null", "w", stdout) != nullptr, "no standard output");
    InitializeLog("none.cfg", "fuzz_null.log");

    std::string folder = (fs::temp_directory_path() / "lobbyfuzzXXXXXX").string();
    Require(mkdtemp(folder.data()) != nullptr, "no working directory");
    fs::current_path(folder);
    static const std::string made = folder;
    std::atexit([] {
        std::error_code ignored;
        fs::remove_all(made, ignored);
    });
    WriteFile("LobbyServer.cfg",
              "[connect]\ncenter_server=127.0.0.1:9001\nbulletin_server=127.0.0.1:9002\n"
              "queue_server=127.0.0.1:9003\ndata_server=127.0.0.1:9004\n"
              "config_server=127.0.0.1:9005\nlog_server=127.0.0.1:9006\n"
              "[init]\nsendbulletintime=5\n[listen]\naddr=127.0.0.1:9100\n"
              "[Redis]\nredis_server=127.0.0.1:1\ntimeout=1\n");
    WriteFile("SensitiveName.cfg", "[config]\nSensitiveName=bad,,worse\n");
    WriteFile("disconnectuserid.cfg", "[disconnectcount]\nusernum=1\n[disconnect]\nuser0=10008\n");
    WriteFile("compete_info.cfg", "");
    SetClockSource({[] { return g_now.load(); }, [] { return static_cast<long>(g_now.load()); }});
}

LobbyWorld::LobbyWorld() {
    g_now = kBegin;
    m_lobby = std::make_unique<LobbyServer>(m_net.Parts());
    m_net.Attach(m_lobby.get());
    m_net.failSend = [this](IPlayerNode*, uint16_t) {
        int left = m_failSends;
        while (left > 0 && !m_failSends.compare_exchange_weak(left, left - 1)) {
        }
        return left > 0;
    };
    Require(m_lobby->Start() == 0, "the lobby starts");
    m_activity = std::make_unique<ExampleActivity>(m_lobby.get());
    m_lobby->m_pActivitySystem->AddActivityHandler(m_activity.get());
}

LobbyWorld::~LobbyWorld() {
    m_activity->removeAllEventListener();
    m_lobby->m_pActivitySystem->RemoveActivityHandler(m_activity.get());
    m_lobby.reset();
    ActivitySystem::destroyInstance();
}

LobbyWorld::Link LobbyWorld::LinkOf(Direction direction) {
    switch (direction) {
        case Direction::CenterToLobby:
            return Center;
        case Direction::ConfigToLobby:
            return Config;
        case Direction::WebToLobby:
            return Web;
        case Direction::DataToLobby:
            return Data;
        default:
            return Queue;
    }
}

void LobbyWorld::Step(FuzzInput& input) {
    const uint8_t first = input.Byte();
    const unsigned who = (first >> 4) % ops::CLIENTS;
    const uint8_t kind = first & 0x0F;
    if (kind == ops::Connect) {
        Connect(who);
    } else if (kind == ops::Login) {
        Login(who);
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
        const auto link = static_cast<Link>(Center + input.Byte() % 6);
        const uint16_t type = input.Word();
        FromLink(link, type, Body(input, nullptr, who));
    } else if (kind == ops::CloseClient) {
        CloseClient(who);
    } else if (kind == ops::CloseLink) {
        CloseLink(static_cast<Link>(Center + input.Byte() % 6));
    } else if (kind == ops::Tick) {
        g_now += ops::STEPS[input.Byte() % std::size(ops::STEPS)];
        m_net.Tick(g_now);
    } else {
        Disturb(input.Byte());
    }
    Settle();
}

void LobbyWorld::Connect(unsigned who) {
    if (m_clients[who] == nullptr) m_clients[who] = static_cast<LobbyPlayer*>(m_net.Connect());
}

// Confirmed as the queue server would, so that the requests behind it find an online player.
void LobbyWorld::Login(unsigned who) {
    Connect(who);
    tagLobbyClientConnectNotice notice{};
    notice.iUserID = UserOf(who);
    notice.iLobbySiteID = 1;
    FromClient(who, CLIENT_CONNECT_NOTICE_C2S,
               std::string(reinterpret_cast<const char*>(&notice), sizeof(notice)));
    Settle();
    if (m_clients[who] == nullptr) return;
    UserInfoRes info{};
    info.llGameCoin = 1000;
    info.llBankCoin = 500;
    SetSession(info, m_clients[who]);
    FromLink(Queue, USER_INFO_Q2L, std::string(reinterpret_cast<const char*>(&info), sizeof(info)));
}

void LobbyWorld::CloseClient(unsigned who) {
    if (m_clients[who] != nullptr) m_net.Hangup(std::exchange(m_clients[who], nullptr));
}

void LobbyWorld::CloseLink(Link link) {
    IPlayerNode* node = m_net.NodeOfPort(link);
    if (node == nullptr) return;
    m_net.Hangup(node);
    // The keeper opens it anew, at once.
    for (int i = 0; i < 2000 && m_net.NodeOfPort(link) == nullptr; ++i)
        usleep(50);
}

void LobbyWorld::Disturb(uint8_t what) {
    if (what < 128) {
        m_failSends = what % 8;
    } else {
        WriteFile("compete_info.cfg", what % 2 != 0
                                          ? "[compete]\ncount=2\nmonth=1\n[config]\nnum=3\n"
                                          : std::string_view());
        WriteFile("SensitiveName.cfg",
                  what % 4 < 2 ? "[config]\nSensitiveName=,a,\n" : std::string_view());
    }
}

void LobbyWorld::FromClient(unsigned who, uint16_t type, const std::string& message) {
    if (m_clients[who] != nullptr) m_net.Deliver(m_clients[who], type, message);
}

void LobbyWorld::FromLink(Link link, uint16_t type, const std::string& message) {
    IPlayerNode* node = m_net.NodeOfPort(link);
    if (node != nullptr) m_net.Deliver(node, type, message);
}

std::string LobbyWorld::Body(FuzzInput& input, const catalog::Message* row, unsigned who) {
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

void LobbyWorld::PatchFields(std::string& message, const catalog::Message& row, uint8_t flags,
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

void LobbyWorld::PutHandle(std::string& message, size_t node, size_t id, uint8_t handle,
                           unsigned who) {
    auto* player = m_clients[who];
    if (handle == ops::LinksOwn) player = static_cast<LobbyPlayer*>(m_net.NodeOfPort(Queue));
    if (handle == ops::AsGiven || player == nullptr) return;
    Put64(message, node, NodeHandle(player));
    Put64(message, id, player->m_ulPlayerNodeId - (handle == ops::StaleId ? 1 : 0));
}

void LobbyWorld::Settle() {
    m_net.Settle();
    for (LobbyPlayer*& client : m_clients) {
        if (client == nullptr) continue;
        CheckSent(client, Direction::LobbyToClient);
        if (m_net.IsClosed(client)) client = nullptr;
    }
    static constexpr std::pair<Link, Direction> links[] = {
        {Center, Direction::LobbyToCenter}, {Web, Direction::LobbyToWeb},
        {Queue, Direction::LobbyToQueue},   {Data, Direction::LobbyToData},
        {Config, Direction::LobbyToConfig}, {Log, Direction::LobbyToLog}};
    for (const auto& [link, direction] : links) {
        if (IPlayerNode* node = m_net.NodeOfPort(link)) CheckSent(node, direction);
    }
}

void LobbyWorld::CheckSent(IPlayerNode* node, Direction direction) {
    for (const MemoryNet::Sent& sent : m_net.Received(node)) {
        Require(sent.bytes.size() >= HEADER_SIZE && sent.bytes.size() <= BUFFER_SIZE,
                "what is sent has a legal length");
        // A forged handle may name a link: the answer to a player then goes there.
        if (HasItsLength(direction, sent) || HasItsLength(Direction::LobbyToClient, sent)) continue;
        std::fprintf(stderr, "%s 0x%04X: %zu bytes\n", catalog::NameOf(direction), sent.type,
                     sent.bytes.size());
        Require(false, "what is sent has the length of its kind");
    }
}

void LobbyWorld::CheckSessions() {
    std::set<const LobbyPlayer*> listed;
    const LobbyPlayer* before = nullptr;
    for (LobbyPlayer* p = m_lobby->GetClientLobbyPlayer(); p != nullptr; p = p->m_lpNext) {
        Require(listed.insert(p).second, "the session list has no loop");
        Require(p->m_lpPrior == before, "the session list is linked both ways");
        Require(!m_net.IsClosed(p), "a listed session is open");
        before = p;
    }
    for (const LobbyPlayer* client : m_clients) {
        Require(client == nullptr || client->m_cLoginType == 0 || client->m_iUserID <= 0 ||
                    listed.contains(client),
                "a session that logged in is listed");
    }
}

void LobbyWorld::Check() {
    CheckSessions();
    m_failSends = 0;
    IPlayerNode* bystander = m_net.Connect();
    m_net.Deliver(bystander, MSG_KEEP_ALIVE, std::string(HEADER_SIZE, '\0'));
    const auto answer = m_net.Received(bystander);
    Require(answer.size() == 1 && answer[0].type == MSG_KEEP_ALIVE, "another player is served");
    m_net.Hangup(bystander);
    for (unsigned who = 0; who < m_clients.size(); ++who)
        CloseClient(who);
    m_net.Settle();
    Require(m_lobby->m_mapPlayerToStrKey.empty(), "no subscription outlives its session");
}
