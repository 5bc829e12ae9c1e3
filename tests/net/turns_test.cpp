// Who reads changes all the time: the worker, and the poll thread that stands in while one message
// holds the worker up. Clients of both kinds send, ask, leave and come back meanwhile.

#include "NetFixture.h"

namespace {

constexpr int kConnections = 64;
constexpr uint64_t kStandIns = SLOWER > 1 ? 1000 : 150;  // two changes each

// Numbers its messages, each of another size, and checks that every one comes back, once, in order.
class Pupil {
  public:
    Pupil(uint16_t port, unsigned seed) : m_port(port), m_bWeb(seed % 2 != 0), m_random(seed) {}

    // One connection: some bursts, several messages under way. Empty, or what was wrong.
    std::string Visit() {
        const std::unique_ptr<Client> client =
            m_bWeb ? std::make_unique<WebClient>(m_port) : std::make_unique<Client>(m_port);
        for (unsigned burst = m_random() % 8; burst > 0; --burst) {
            const unsigned first = m_ulNext;
            for (unsigned count = 1 + m_random() % 12; count > 0; --count)
                client->SendMessage(Numbered(m_ulNext++));
            for (unsigned i = first; i < m_ulNext; ++i) {
                if (client->ReadMessage() != Numbered(i)) return std::to_string(i);
            }
        }
        if (m_random() % 4 == 0) client->SendMessage(Numbered(m_ulNext++));  // nobody waits for it
        if (m_random() % 4 == 0) client->Send(Message(1).substr(0, m_random() % 8));
        if (m_random() % 4 == 0) client->ResetOnClose();
        return "";
    }

  private:
    // What a WebSocket may have under way in all fits one buffer.
    std::string Numbered(unsigned number) const {
        const unsigned size = number * 37 % (m_bWeb ? 240 : 4089);
        return Message(1 + number % 900, std::string(size, static_cast<char>(number)));
    }

    const uint16_t m_port;
    const bool m_bWeb;
    std::mt19937 m_random;
    unsigned m_ulNext = 0;
};

TEST(Turns, NothingIsLostDoubledOrReordered) {
    const NetMetrics& metrics = Figures();
    std::mt19937 random(3);
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        if (random() % 64 == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % 16));
        server.SendData(node, type, data, length, ENCODE_NONE);
    };
    server.Listen();
    const auto enough = [&] { return !WakeupUnderTest() || metrics.standIns.Value() >= kStandIns; };
    std::atomic<int> visits{0};
    std::vector<std::jthread> pupils;
    for (unsigned i = 0; i < kConnections; ++i) {
        pupils.emplace_back([&, i] {
            Pupil pupil(server.port, i);
            std::string wrong;
            while (wrong.empty() && (visits < 10 * kConnections || !enough())) {
                wrong = pupil.Visit();
                ++visits;
            }
            EXPECT_EQ(wrong, "") << "of pupil " << i;
        });
    }
    pupils.clear();
    EXPECT_TRUE(server.AwaitReleased(visits));
    EXPECT_EQ(server.closes, visits);  // each node checks that every close came once
}

}  // namespace
