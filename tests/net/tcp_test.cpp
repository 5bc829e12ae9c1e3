// The framework end to end over real loopback sockets.
#include <fcntl.h>
#include <sys/resource.h>

#include <random>

#include "net_fixture.h"

namespace {

bool Echoes(Client& client, uint16_t type = 77) {
    const std::string message = Message(type, "hello");
    return client.Send(message) && client.Read(message.size()) == message;
}

bool Served(uint16_t port) {
    Client client(port);
    return Echoes(client);
}

}  // namespace

TEST(Tcp, EchoesEveryCutOfAStream) {
    TestServer server;
    server.Listen({.recv = 100000});  // single bytes come faster than they are handled
    std::string stream;
    for (size_t i = 0; i < 40; ++i)
        stream += Message(static_cast<uint16_t>(i + 1), std::string(i * 97, 'x'));
    std::mt19937 random(7);
    for (size_t step : {1u, 7u, 8u, 9u, 4095u, 4096u, 4097u, 0u}) {
        Client client(server.port);
        std::thread writer([&] {
            for (size_t at = 0; at < stream.size();) {
                const size_t wanted = step != 0 ? step : 1 + random() % 5000;
                if (!client.Send(stream.substr(at, wanted))) return;
                at += wanted;
            }
        });
        const std::string echoed = client.Read(stream.size());
        writer.join();
        ASSERT_TRUE(echoed == stream) << step;
    }
    server.ExpectTidy();
}

TEST(Tcp, AFaultyStreamClosesThatConnectionOnly) {
    TestServer server;
    server.Listen();
    std::string wrongIdentity = Message(1), tooShort = Message(1), tooLong = Message(1);
    wrongIdentity[0] = 4;
    tooShort[3] = 7;
    tooLong[2] = 0x10, tooLong[3] = 1;
    const std::string cases[] = {wrongIdentity, tooShort, tooLong, Message(1, "body", 2),
                                 Message(1, "short for AES", 1)};
    Client bystander(server.port);
    long closes = 0;
    for (const std::string& bytes : cases) {
        Client client(server.port);
        client.Send(bytes + Message(2));
        EXPECT_TRUE(client.AtEnd());
        EXPECT_TRUE(WaitFor([&] { return server.closes == closes + 1; }));
        closes = server.closes;
        EXPECT_TRUE(Echoes(bystander));
    }
    server.ExpectTidy();
}

TEST(Tcp, OpensAndSealsEncodedBodies) {
    TestServer server;
    std::string seen;
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        tagMsgHeader header;
        std::memcpy(&header, data, sizeof(header));
        EXPECT_EQ(header.length, length);     // host order once delivered
        EXPECT_EQ(ntohs(header.type), type);  // still in network order
        {
            const std::lock_guard guard(server.lock);
            seen.assign(data + 8, data + length);
        }
        server.SendData(node, type, data, length, ENCODE_AES);
    };
    server.Listen();
    Client client(server.port);
    for (size_t size : {1u, 15u, 16u, 17u, 4071u, 4072u}) {
        std::string plain(size, 'p'), sealed(size + 16, 0);
        ASSERT_EQ(server.Encode(plain.data(), static_cast<long>(size), ENCODE_AES, sealed.data(),
                                static_cast<long>(sealed.size())),
                  static_cast<long>(sealed.size()));
        ASSERT_TRUE(client.Send(Message(9, sealed, 1)));
        std::string answer = client.ReadMessage();
        ASSERT_EQ(answer.size(), 8 + size + 16);
        {
            const std::lock_guard guard(server.lock);
            EXPECT_EQ(seen, plain);
        }
        EXPECT_EQ(answer[1], 1);
        std::string opened(4088, 0);
        ASSERT_EQ(server.Decode(answer.data() + 8, static_cast<long>(size) + 16, ENCODE_AES,
                                opened.data(), 4088),
                  static_cast<long>(size));
        EXPECT_EQ(opened.substr(0, size), plain);
    }
    // A header alone is delivered without a look at its codec.
    ASSERT_TRUE(client.Send(Message(9, "", 7)));
    EXPECT_EQ(client.ReadMessage().size(), 8u);
    char body[4088] = {};
    EXPECT_EQ(server.Encode(body, 4088, ENCODE_AES, body, 4088), -1);  // would not fit
    EXPECT_EQ(server.Encode(body, 4, 2, body, 4088), -1);
    EXPECT_EQ(server.Encode(body, 0, 2, body, 4088), 0);
    EXPECT_STREQ(server.GetEncodeName(2), "Unknown");
}

TEST(Tcp, ALimitAdmitsOneMore) {
    TestServer server;
    server.Listen({.clients = 3});
    std::vector<std::unique_ptr<Client>> clients;
    for (int round = 0; round < 3; ++round) {
        while (clients.size() < 4) {
            auto client = std::make_unique<Client>(server.port);
            // A place that was just given up may not be free yet.
            if (Echoes(*client)) clients.push_back(std::move(client));
            ASSERT_TRUE(round > 0 || client == nullptr);
        }
        const long messages = server.messages;
        Client refused(server.port);
        refused.Send(Message(1));
        EXPECT_TRUE(refused.AtEnd());
        EXPECT_EQ(server.messages, messages);
        clients.erase(clients.begin());
    }
    server.ExpectTidy();
}

TEST(Tcp, AFullRingClosesTheConnection) {
    TestServer server;
    std::atomic<int> queued{0};
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        if (type != 1) return static_cast<void>(server.SendData(node, type, data, length, 0));
        char body[4096] = {};
        while (server.SendData(node, 5, body, sizeof(body), 0))
            ++queued;
    };
    server.Listen({.send = 6});
    Client client(server.port, 4096);
    client.Send(Message(1));
    ASSERT_TRUE(WaitFor([&] { return server.closes == 1; }));
    EXPECT_GE(queued, 5);
    // What was queued before is still written whole to a peer that reads.
    const std::string got = client.Read(static_cast<size_t>(queued) * 4096);
    EXPECT_EQ(got.size(), static_cast<size_t>(queued) * 4096);
    EXPECT_TRUE(client.AtEnd());
    EXPECT_TRUE(WaitFor([&] { return server.Released() == 1; }));
    EXPECT_TRUE(Served(server.port));
}

TEST(Tcp, ASlowReaderLosesNothing) {
    TestServer server;
    constexpr int kMessages = 90;
    server.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        for (int i = 0; i < kMessages; ++i) {
            std::string body(4096, static_cast<char>(i));
            server.SendData(node, static_cast<unsigned short>(i), body.data(), 4096, 0);
        }
    };
    server.Listen();
    Client slow(server.port, 4096);
    slow.Send(Message(1));
    ASSERT_TRUE(WaitFor([&] { return server.messages == 1; }));
    for (int i = 0; i < kMessages; ++i) {
        const std::string message = slow.ReadMessage();
        ASSERT_EQ(message.size(), 4096u);
        ASSERT_EQ(message.substr(8), std::string(4088, static_cast<char>(i)));
    }
}

TEST(Tcp, AMassBufferGoesToEveryReceiver) {
    TestServer server;
    std::vector<IPlayerNode*> nodes;
    std::atomic<tagSendBuffer*> shared{nullptr};
    server.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        nodes.push_back(node);
        if (nodes.size() < 3) return;
        char body[108] = {};
        // The fourth reference stays with the test, to look at the buffer afterwards.
        auto* buffer = static_cast<tagSendBuffer*>(server.AllocMassData(4, 8, body, 108, 0));
        shared = buffer;
        for (IPlayerNode* receiver : nodes)
            EXPECT_TRUE(server.SendMassData(receiver, buffer));
        EXPECT_FALSE(server.SendMassData(nullptr, buffer));
        EXPECT_EQ(server.AllocMassData(0, 8, body, 108, 0), nullptr);
        EXPECT_EQ(server.AllocMassData(1, 8, body, 4097, 0), nullptr);
    };
    server.Listen();
    Client clients[3] = {Client(server.port), Client(server.port), Client(server.port)};
    for (Client& client : clients)
        client.Send(Message(1));
    for (Client& client : clients)
        EXPECT_EQ(client.ReadMessage().size(), 108u);
    ASSERT_TRUE(
        WaitFor([&] { return std::atomic_ref(shared.load()->ulReferenceCount).load() == 1; }));
    DropReference(shared);
}

TEST(Tcp, OnlySilentClientsTimeOut) {
    HandClock clock;
    TestServer server;
    server.Listen({.interval = 20, .timeout = 120});
    Client silent(server.port), talking(server.port);
    IPlayerNode* link = server.Create(false, "127.0.0.1", server.port, 1000, 1, 2, 1, 6);
    ASSERT_NE(link, nullptr);
    ASSERT_TRUE(Echoes(silent) && Echoes(talking));
    clock.Advance(100);
    ASSERT_TRUE(Echoes(talking));
    EXPECT_EQ(server.closes, 0);
    clock.Advance(20);
    EXPECT_TRUE(silent.AtEnd());
    ASSERT_TRUE(Echoes(talking));
    clock.Advance(120);
    EXPECT_TRUE(talking.AtEnd());
    // The accepted end of the link is a silent client too; the outbound end is not.
    EXPECT_TRUE(WaitFor([&] { return server.closes == 3; }));
    EXPECT_EQ(static_cast<TestNode*>(link)->closed, 0);
}

TEST(Tcp, AClosedPeerThatNeverReadsIsGivenUpAfterTheIdleTimeout) {
    HandClock clock;
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        char body[4096] = {};
        while (server.SendData(node, 5, body, sizeof(body), 0)) {
        }
    };
    server.Listen({.interval = 20, .timeout = 120});
    Client stuck(server.port, 4096);
    stuck.Send(Message(1));
    ASSERT_TRUE(WaitFor([&] { return server.closes == 1; }));
    clock.Advance(119);
    Client other(server.port);
    EXPECT_TRUE(WaitFor([&, ticks = server.ticks + 200] { return server.ticks > ticks; }));
    EXPECT_EQ(server.Released(), 0);
    clock.Advance(1);
    EXPECT_TRUE(WaitFor([&] { return server.Released() == 1; }));
}

// A peer that let thousands of messages pile up and then reset its connection put the send thread
// to sleep, and everyone went without answers for ten seconds.
TEST(Tcp, TheBrakeOfTheSendThreadHoldsOnlyTheRingGoneMad) {
    HandClock clock;
    TestServer server;
    std::atomic<bool> queued{false};
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        char body[4096] = {};
        for (int i = 0; type == 2 && i < 8000; ++i)
            server.SendData(node, 5, body, sizeof(body), 0);
        queued = true;
        if (type != 2) server.SendData(node, type, data, length, 0);
    };
    server.Listen({.send = 8192});
    Client stuck(server.port, 4096), other(server.port);
    stuck.Send(Message(2));
    ASSERT_TRUE(WaitFor([&] { return queued.load(); }));
    stuck.Reset();
    ASSERT_TRUE(WaitFor([&] { return server.closes == 1; }));
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(Echoes(other));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    EXPECT_EQ(server.Released(), 0);
    clock.Advance(10);
    EXPECT_TRUE(WaitFor([&] { return server.Released() == 1; }));
}

TEST(Tcp, NothingIsDeliveredBehindAClose) {
    TestServer server;
    std::atomic<int> seen{0};
    server.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        if (++seen == 3) server.Close(node);
    };
    server.Listen();
    Client client(server.port);
    std::string burst;
    for (int i = 0; i < 500; ++i)
        burst += Message(1, "x");
    std::thread flood([&] {
        while (client.Send(burst)) {
        }
    });
    EXPECT_TRUE(WaitFor([&] { return server.Released() == 1; }));
    flood.join();
    EXPECT_EQ(seen, 3);
    EXPECT_EQ(server.closes, 1);
    EXPECT_TRUE(server.lastFlag);
    server.ExpectTidy();
}

TEST(Tcp, TooManyUnhandledBuffersCloseTheConnection) {
    TestServer server;
    std::atomic<EPOLLContext*> held{nullptr};
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        EPOLLContext* context = nullptr;
        node->GetContext(&context);
        if (type == 1) {
            // The worker stands still until the connection has outrun it.
            held = context;
            EXPECT_TRUE(WaitFor([&] { return context->IsClosed(); }));
        }
        server.SendData(node, type, data, length, 0);
    };
    server.Listen({.recv = 5});
    Client client(server.port);
    client.Send(Message(1));
    ASSERT_TRUE(WaitFor([&] { return held != nullptr; }));
    std::thread flood([&] {
        while (client.Send(Message(2, std::string(4088, 'x')))) {
        }
    });
    EXPECT_TRUE(WaitFor([&] { return server.closes == 1; }));
    flood.join();
    // Buffers in line at that moment: four, the held one included.
    EXPECT_LE(server.messages, 4);
    EXPECT_TRUE(Served(server.port));
}

TEST(Tcp, ResetsInAnyStateAreReportedOnce) {
    TestServer server;
    server.Listen();
    constexpr int kRounds = 300;
    for (int i = 0; i < kRounds; ++i) {
        Client client(server.port);
        if (i % 3 > 0) client.Send(Message(1, "abc").substr(0, i % 3 == 1 ? 20 : 5));
        if (i % 2 == 0) client.Reset();
    }
    EXPECT_TRUE(WaitFor([&] { return server.Released() == kRounds; }));
    EXPECT_EQ(server.closes, kRounds);
    EXPECT_TRUE(Served(server.port));
    server.ExpectTidy();
}

TEST(Tcp, AListenerOutlivesTheLackOfDescriptors) {
    TestServer server;
    server.Listen({.threads = 1});
    Client busy(server.port);
    ASSERT_TRUE(Echoes(busy));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    Client waiting(0);  // its descriptor exists already
    const int lowest = ::fcntl(0, F_DUPFD, 3);
    ::close(lowest);
    rlimit none = before;
    none.rlim_cur = static_cast<rlim_t>(lowest);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(server.port);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(waiting.Fd(), reinterpret_cast<sockaddr*>(&addr), sizeof(addr)), 0);
    EXPECT_TRUE(waiting.Send(Message(3, "hello")));
    // While the listener waits for descriptors others are served without delay.
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 50; ++i)
        EXPECT_TRUE(Echoes(busy));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(waiting.Read(13), Message(3, "hello"));
    EXPECT_TRUE(Served(server.port));
}

TEST(Tcp, ConnectsFailInTimeAndCanBeCancelled) {
    TestServer server;
    server.Listen();
    uint16_t closedPort = 0;
    {
        TestServer gone;
        gone.Listen();
        closedPort = gone.port;
    }
    auto elapsed = [start = std::chrono::steady_clock::now()]() mutable {
        const auto now = std::chrono::steady_clock::now();
        return std::chrono::duration<double>(now - std::exchange(start, now)).count();
    };
    EXPECT_EQ(server.Create(false, "127.0.0.1", closedPort, 5000, 1, 2, 1, 6), nullptr);
    EXPECT_LT(elapsed(), 2.0);
    EXPECT_EQ(server.Create(true, "127.0.0.1", server.port, 0, 1, 2, 1, 6), nullptr);

    // A listener whose queue is full does not answer at all.
    const int full = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(addr);
    ASSERT_EQ(::bind(full, reinterpret_cast<sockaddr*>(&addr), size), 0);
    ASSERT_EQ(::listen(full, 0), 0);
    ::getsockname(full, reinterpret_cast<sockaddr*>(&addr), &size);
    Client fill(ntohs(addr.sin_port));
    elapsed();
    EXPECT_EQ(server.Create(false, addr, 300, 1, 2, 1, 6), nullptr);
    const double waited = elapsed();
    EXPECT_GE(waited, 0.3);
    EXPECT_LT(waited, 3.0);
    std::thread cancel([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        server.CancelConnects();
    });
    EXPECT_EQ(server.Create(false, addr, 30000, 1, 2, 1, 6), nullptr);
    EXPECT_LT(elapsed(), 5.0);
    cancel.join();
    ::close(full);
}

TEST(Tcp, AnUnregisteredLinkIsReportedClosedAtOnceAndOnce) {
    TestServer server;
    server.Listen();
    IPlayerNode* link = server.Create(false, "127.0.0.1", server.port, 1000, 1, 2, 1, 6);
    ASSERT_NE(link, nullptr);
    sockaddr_in addr{};
    EXPECT_EQ(server.GetPlayerAddrIn(link, nullptr, false), htonl(INADDR_LOOPBACK));
    server.GetPlayerAddrIn(link, &addr, false);
    EXPECT_EQ(ntohs(addr.sin_port), server.port);
    EXPECT_EQ(server.GetPlayerAddrIn(nullptr, nullptr, false), ~0UL);
    EXPECT_FALSE(server.RecvData(nullptr));
    server.Close(link);
    server.Close(link);
    EXPECT_TRUE(WaitFor([&] { return server.Released() == 2; }));  // both ends
    EXPECT_EQ(server.closes, 2);
    server.ExpectTidy();
}

TEST(Tcp, NamesAreResolvedFromASmallStack) {
    TestServer server;
    std::atomic<unsigned long> number{0}, name{0};
    server.onMessage = [&](TestNode*, uint16_t, char*, long) {
        number = GameProvider::dns2ip("127.0.0.1");
        name = GameProvider::dns2ip("localhost");
    };
    server.Listen();
    Client client(server.port);
    client.Send(Message(1));
    EXPECT_TRUE(WaitFor([&] { return name != 0; }));
    EXPECT_EQ(number, htonl(INADDR_LOOPBACK));
    EXPECT_EQ(name, htonl(INADDR_LOOPBACK));
    EXPECT_EQ(GameProvider::dns2ip(nullptr), ~0UL);
    EXPECT_EQ(GameProvider::dns2ip("no such name"), ~0UL);
}

TEST(Tcp, ShutdownDoesNotWaitForPeersThatDoNotRead) {
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t type, char*, long) {
        char body[4096] = {};
        for (int i = 0; i < 90 && type == 1; ++i)
            server.SendData(node, 5, body, sizeof(body), 0);
    };
    server.Listen({.interval = 20, .timeout = 120});
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 300; ++i) {
        clients.push_back(std::make_unique<Client>(server.port, 4096));
        clients.back()->Send(Message(i % 3 == 0 ? 1 : 2));
    }
    ASSERT_TRUE(WaitFor([&] { return server.messages == 300; }));
    const auto start = std::chrono::steady_clock::now();
    server.Shutdown();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(server.closes, 301);
}

TEST(Tcp, SendersOnManyThreadsLoseAndMixNothing) {
    TestServer server;
    std::atomic<IPlayerNode*> node{nullptr};
    server.onMessage = [&](TestNode* from, uint16_t, char*, long) { node = from; };
    server.Listen({.send = 4000});
    Client client(server.port);
    client.Send(Message(1));
    ASSERT_TRUE(WaitFor([&] { return node != nullptr; }));
    constexpr int kThreads = 4, kEach = 500;
    std::vector<std::thread> senders;
    for (int t = 0; t < kThreads; ++t) {
        senders.emplace_back([&, t] {
            for (int i = 0; i < kEach; ++i) {
                char body[12] = {};
                std::memcpy(body + 8, &i, sizeof(i));
                server.SendData(node, static_cast<unsigned short>(t), body, sizeof(body), 0);
            }
        });
    }
    int next[kThreads] = {};
    for (int i = 0; i < kThreads * kEach; ++i) {
        const std::string message = client.ReadMessage();
        ASSERT_EQ(message.size(), 12u);
        int value = 0;
        std::memcpy(&value, message.data() + 8, sizeof(value));
        ASSERT_EQ(value, next[static_cast<int>(message[7])]++);
    }
    for (std::thread& sender : senders)
        sender.join();
}

// Answers are written while the worker still handles what came behind them.
TEST(Tcp, ASlowHandlerDoesNotKeepAnswersBack) {
    TestServer server;
    std::atomic<bool> release{false};
    server.onMessage = [&](TestNode* from, uint16_t type, char*, long) {
        server.SendData(from, type, nullptr, 0, ENCODE_NONE);
        if (type == 2) WaitFor([&] { return release.load(); });
    };
    server.Listen();
    Client client(server.port);
    ASSERT_TRUE(client.Send(Message(1)));
    EXPECT_EQ(client.Read(8).size(), 8u);
    ASSERT_TRUE(client.Send(Message(2)));
    const std::string answer = client.Read(8);
    release = true;
    EXPECT_EQ(answer.size(), 8u);
}

TEST(Tcp, AWakeupCutsTheWaitAndKeepsTheTimer) {
    TestServer server;
    server.SetWakeup(true);
    server.Listen();
    Client client(server.port);
    ASSERT_TRUE(Echoes(client));
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    constexpr int kRounds = 300;
    int fast = 0;
    for (int i = 0; i < kRounds; ++i) {
        const auto start = Clock::now();
        ASSERT_TRUE(Echoes(client));
        // Each waits for the whole of the worker's pause when nothing cuts it short.
        if (Clock::now() - start < std::chrono::microseconds(500)) ++fast;
    }
    EXPECT_GT(fast, kRounds / 10);
    const auto start = Clock::now();
    const long before = server.ticks;
    std::this_thread::sleep_for(milliseconds(300));
    const long ticks = server.ticks - before;
    EXPECT_GT(ticks, 30);
    EXPECT_LE(ticks, (Clock::now() - start) / milliseconds(1) + 10);
}
