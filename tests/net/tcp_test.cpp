// The framework end to end over real loopback sockets.
#include <sys/resource.h>

#include <csignal>
#include <deque>

#include "EPOLLServer.h"
#include "NetFixture.h"
#include "NetSender.h"
#include "WriteHold.h"

static uint64_t BlocksInUse() {
    return g_SendBlocks.taken.Value() - g_SendBlocks.returned.Value();
}

// The first, so that no thread of another is about to end.
TEST(Tcp, StartsOnceWithSoManyPollThreadsAndEndsForGood) {
    const auto threads = [] {
        return static_cast<unsigned long>(
            std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
    };
    std::thread([] {}).join();  // with the first a sanitizer starts one of its own
    const auto processors = static_cast<unsigned long>(::sysconf(_SC_NPROCESSORS_ONLN));
    const unsigned long most = 2 * (processors + 1);
    for (const auto& [wanted, made] :
         {std::pair(0UL, processors), {1UL, 1UL}, {most, most}, {most + 1, processors}}) {
        const unsigned long before = threads();
        {
            TestServer server;
            EXPECT_EQ(server.Create(true, "127.0.0.1", 0, 0, 1, 2, 1, 6), nullptr);
            for (int time = 0; time < 2; ++time) {
                EXPECT_TRUE(server.Initialize(0, 0, ~0UL, ~0UL, wanted, 0, 0));
                EXPECT_EQ(threads() - before, made + 2) << "and worker and sender";
            }
        }
        EXPECT_TRUE(Eventually([&] { return threads() == before; }));
    }
    TestServer server(kDefaults);
    // Every address, until it is closed.
    IPlayerNode* any = server.Create(true, nullptr, 0, 0, 9, 2, 1, 6);
    ASSERT_TRUE(any != nullptr && server.RecvData(any));
    sockaddr_in addr{};
    EXPECT_EQ(server.GetPlayerAddrIn(any, &addr, true), INADDR_ANY);
    EXPECT_TRUE(Client(ntohs(addr.sin_port)).Echoes());
    server.Close(any);
    EXPECT_TRUE(server.AwaitReleased(2));  // the client, too
    EXPECT_FALSE(Client(ntohs(addr.sin_port)).Echoes());
    // Without a time-out a connect takes as long as it takes.
    EXPECT_NE(server.Create(false, "127.0.0.1", server.port, 0, 1, 2, 1, 6), nullptr);
    EXPECT_TRUE(Client(server.port).Echoes());  // then who came before is established
    server.Shutdown();
    EXPECT_EQ(server.Dial(server.port), nullptr);
}

TEST(Tcp, OpensAndSealsEncodedBodies) {
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        // The length is in host order once delivered, the type still in network order.
        const auto size = static_cast<size_t>(length);
        EXPECT_EQ(std::string(data + 2, 6), Bytes({size, size >> 8, 3, 0, 0, type}));
        EXPECT_EQ(std::count(data + 8, data + length, 'p'), length - 8);
        server.SendData(node, type, data, length, ENCODE_AES);
    };
    server.Listen();
    Client client(server.port);
    for (const long size : {1, 16, 4072}) {
        std::string plain(size, 'p'), sealed(size + 16, 0), opened(size, 0);
        server.Encode(plain.data(), size, ENCODE_AES, sealed.data(), size + 16);
        std::string answer = client.Ask(Message(9, sealed, 1));
        ASSERT_EQ(answer.size(), 8 + sealed.size());
        EXPECT_EQ(answer[1], 1);
        server.Decode(&answer[8], size + 16, ENCODE_AES, opened.data(), size);
        EXPECT_EQ(opened, plain);
    }
    // A header alone is delivered without a look at its codec.
    EXPECT_EQ(client.Ask(Message(9, "", 7)), Message(9, "", 1));
}

TEST(Tcp, AnApplicationMayReadForItselfAndBringItsOwnCodec) {
    struct Own : TestServer {
        ~Own() override { Shutdown(); }
        bool OnReadComplete(IPlayerNode* node, void*&, long&, void* data, long length) override {
            return std::memcmp(data, "raw", 3) == 0 && SendData(node, data, length);
        }
        long Encode(char* src, long length, long encode, char* dst, long) override {
            std::transform(src, src + length, dst, [&](char c) { return char(c ^ encode); });
            return length;
        }
        long Decode(char* src, long length, long encode, char* dst, long capacity) override {
            return Encode(src, length, encode, dst, capacity);
        }
    } server;
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        EXPECT_EQ(std::string(data + 8, static_cast<size_t>(length - 8)), "aaa");
        server.SendData(node, type, data, length, 2);
    };
    server.Listen();
    Client client(server.port);
    EXPECT_TRUE(client.Send("raw bytes"));
    EXPECT_EQ(client.Read(9), "raw bytes");
    EXPECT_EQ(client.Ask(Message(9, "fff", 7)), Message(9, "ccc", 2));
}

TEST(NetSender, FillsHeadersOfWhatFits) {
    TestServer codec;
    NetSender sender(nullptr, &codec, 100);
    const struct {
        long length, encode, capacity, filled;  // 0: refused
    } rows[] = {
        {-1, ENCODE_NONE, 4096, 8},   {0, ENCODE_AES, 4096, 8},  {4096, ENCODE_NONE, 4096, 4096},
        {4097, ENCODE_NONE, 5000, 0}, {100, ENCODE_NONE, 99, 0}, {7, ENCODE_AES, 4096, 0},
        {8, ENCODE_AES, 4096, 8},     {9, ENCODE_AES, 4096, 25}, {4080, ENCODE_AES, 4096, 4096},
        {4081, ENCODE_AES, 4096, 0},  {20, 2, 4096, 0}};
    std::string body(5000, 'b'), out(5000, 'x');
    for (const auto& row : rows) {
        long length = row.length;
        const char* const filled =
            sender.FillHeader(0x1234, body.data(), length, row.encode, out.data(), row.capacity);
        EXPECT_EQ(filled, row.filled != 0 ? out.data() : nullptr) << row.length;
        if (row.filled == 0) continue;
        EXPECT_EQ(length, row.filled);
        const auto size = static_cast<size_t>(length), code = static_cast<size_t>(row.encode);
        EXPECT_EQ(out.substr(0, 8), Bytes({5, code, size >> 8, size, 3, 0, 0x12, 0x34}));
    }
}

// The worker stands still at the 5,000th client it looks at until a signal comes.
TEST(Tcp, ASweepOfFiveThousandStops) {
    const rlimit room{12000, 12000};
    if (::setrlimit(RLIMIT_NOFILE, &room) != 0) GTEST_SKIP() << "no room for so many";
    std::signal(SIGUSR2, [](int) {});
    HandClock clock;
    TestServer server({.interval = 20, .timeout = 120});
    std::deque<Client> crowd;
    while (crowd.size() < 5000)
        crowd.emplace_back(server.port);
    ASSERT_TRUE(Eventually([&] { return crowd.back().Echoes(); }));
    clock.Advance(20);
    EXPECT_TRUE(Eventually([&] {
        const long ticks = server.ticks;
        std::this_thread::sleep_for(300ms);
        return ticks == server.ticks;
    }));
    ::pthread_kill(server.worker, SIGUSR2);
    EXPECT_TRUE(crowd.back().Echoes());
    EXPECT_EQ(server.closes, 0);
}

// A round is more than the sockets hold, so that writes end anywhere in a block.
TEST(Tcp, SmallMessagesShareBlocksAndAreCountedOneByOne) {
    TestServer server;
    std::atomic<int> sent = 0;
    server.onMessage = [&](TestNode* node, uint16_t type, char*, long) {
        if (type == 0) server.SendData(node, type, nullptr, 0, ENCODE_NONE);
        for (const int most = sent + type; sent < most; ++sent) {
            std::string body(600, static_cast<char>(sent));
            if (!server.SendData(node, 7, body.data(), 8 + sent % 540, ENCODE_NONE)) break;
        }
    };
    server.Listen({.send = 120});
    Client other(server.port);
    for (const bool web : {false, true}) {
        SCOPED_TRACE(web);
        const auto client = web ? std::make_unique<WebClient>(server.port, 4096)
                                : std::make_unique<Client>(server.port, 4096);
        sent = 0;
        size_t read = 0;
        const auto reads = [&](int count) {
            for (; count > 0; --count, ++read)
                ASSERT_EQ(client->ReadMessage(),
                          Message(7, std::string(read % 540, static_cast<char>(read))));
        };
        for (int round = 0; round < 30; ++round) {
            client->SendMessage(Message(80));
            reads(80);
        }
        client->SendMessage(Message(200));
        EXPECT_TRUE(server.AwaitClosed(web ? 2 : 1)) << "for the ring was full";
        EXPECT_EQ(other.Ask(Message(0)), Message(0)) << "held up by who does not read";
        EXPECT_THAT(sent.load(), testing::AllOf(testing::Ge(2518), testing::Le(2519)));
        reads(sent - 2400);
        EXPECT_TRUE(client->AtEnd());
        EXPECT_TRUE(server.AwaitReleased(web ? 2 : 1));
    }
}

TEST(Tcp, AFullRingOfALinkRefusesAndTheLinkStaysWhereThatIsWanted) {
    const DeafServer peer;
    TestServer server;
    server.SetLimits({.clientSendCount = 10, .keepFullLinks = true});
    server.Listen({.send = 100});
    IPlayerNode* link = server.Dial(peer.port);
    ASSERT_TRUE(link != nullptr && server.RecvData(link));
    std::string body(4096, 'x');
    const auto fill = [&](long room) {
        int queued = 0;
        while (server.SendIfRoom(link, 1, body.data(), 4096, ENCODE_NONE, room))
            ++queued;
        return queued;
    };
    EXPECT_GE(fill(60), 39);
    EXPECT_THAT(fill(20), testing::AllOf(testing::Ge(35), testing::Le(45)));
    EXPECT_THAT(fill(0), testing::AllOf(testing::Ge(15), testing::Le(25)));
    EXPECT_FALSE(server.SendData(link, 1, body.data(), 4096, ENCODE_NONE));
    EXPECT_EQ(server.closes, 0);
    // A client's ring is its own, and it is closed.
    Client client(server.port, 4096);
    client.Send(Message(kFlood));
    EXPECT_TRUE(server.AwaitClosed(1));
    EXPECT_THAT(server.flooded, testing::AllOf(testing::Ge(9), testing::Le(20)));
}

TEST(Tcp, ABudgetClosesThoseWhoHoldMostAndNobodyElse) {
    constexpr unsigned long kBudget = 300;
    TestServer server;
    server.flood = 90;
    server.SetLimits({.buffers = kBudget});
    server.Listen({.interval = 20, .timeout = 120});
    Client modest(server.port);
    std::deque<Client> deaf;
    for (int i = 0; i < 12; ++i) {
        deaf.emplace_back(server.port, 4096).Send(Message(kFlood));
        EXPECT_TRUE(modest.Echoes());
    }
    EXPECT_TRUE(Eventually([&] { return server.messages == 24 && BlocksInUse() <= kBudget; }));
    EXPECT_TRUE(modest.Echoes());
    EXPECT_GE(server.closes, 8);
    EXPECT_LE(server.closes, 11);
}

TEST(Tcp, AMassBufferGoesToEveryReceiver) {
    const uint64_t before = BlocksInUse();
    TestServer server;
    std::atomic<void*> shared{nullptr};
    server.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        char body[108] = {};
        // The third reference stays with the test.
        if (shared == nullptr) shared = server.AllocMassData(3, 8, body, 108, 0);
        EXPECT_TRUE(server.SendMassData(node, shared));
        EXPECT_FALSE(server.SendMassData(nullptr, shared));
        EXPECT_EQ(server.AllocMassData(0, 8, body, 108, 0), nullptr);
        EXPECT_EQ(server.AllocMassData(1, 8, body, 4097, 0), nullptr);
    };
    server.Listen();
    Client one(server.port), two(server.port);
    for (Client* client : {&one, &two})
        EXPECT_EQ(client->Ask(Message(1)).size(), 108u);
    auto* const buffer = static_cast<tagSendBuffer*>(shared.load());
    ASSERT_TRUE(Eventually([&] { return std::atomic_ref(buffer->ulReferenceCount).load() == 1; }));
    DropReference(buffer);
    EXPECT_TRUE(Eventually([&] { return BlocksInUse() == before; }));
}

// A client that was closed and never reads is given up after the same time.
TEST(Tcp, OnlySilentClientsTimeOut) {
    HandClock clock;
    TestServer server({.interval = 20, .timeout = 120}), patient({.timeout = 120});
    Client silent(server.port), talking(server.port), stuck(server.port, 4096);
    Client unswept(patient.port);
    IPlayerNode* link = server.Dial(server.port);
    ASSERT_NE(link, nullptr);
    ASSERT_TRUE(silent.Echoes() && talking.Echoes() && unswept.Echoes());
    stuck.Send(Message(kFlood));
    ASSERT_TRUE(server.AwaitClosed(1));
    clock.Advance(100);
    ASSERT_TRUE(talking.Echoes());
    EXPECT_TRUE(Eventually([&, ticks = server.ticks + 60] { return server.ticks > ticks; }));
    EXPECT_EQ(server.releases, 0);
    EXPECT_EQ(server.closes, 1);
    clock.Advance(20);
    EXPECT_TRUE(silent.AtEnd());
    ASSERT_TRUE(talking.Echoes());
    clock.Advance(120);
    EXPECT_TRUE(talking.AtEnd());
    // The accepted end of the link is a silent client too; the outbound end is not.
    EXPECT_TRUE(server.AwaitReleased(4));
    EXPECT_EQ(static_cast<TestNode*>(link)->closed, 0);
    EXPECT_TRUE(unswept.Echoes());
}

// Each record counts from when its turn came, not from when the worker took it with others.
TEST(Tcp, ASlowHandlerIsNotTheSilenceOfTheClientsBehindIt) {
    const NetMetrics& metrics = Figures();
    HandClock clock;
    TestServer server;
    std::atomic<bool> release{false};
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        if (type == 1) Eventually([&] { return release.load(); });
        if (type == 2) clock.Advance(120);
        if (type == 77) server.SendData(node, type, data, length, ENCODE_NONE);
    };
    server.Listen({.interval = 20, .timeout = 120});
    std::deque<Client> clients;
    // Three connect, each of them sends, one more connects: records in that order.
    for (size_t i = 0; i < 7; ++i) {
        const uint64_t queued = metrics.recordsQueued.Value();
        if (i < 3 || i == 6) clients.emplace_back(server.port);
        if (i >= 3 && i < 6) clients[i - 3].Send(Message(i - 2));
        EXPECT_TRUE(Eventually([&] { return metrics.recordsQueued.Value() > queued; }));
    }
    release = true;
    EXPECT_TRUE(clients[0].AtEnd() && clients[1].AtEnd());
    EXPECT_TRUE(clients[2].Echoes() && clients[3].Echoes());
}

// A peer that let thousands of messages pile up and then reset its connection put the send thread
// to sleep, and everyone went without answers for ten seconds.
TEST(Tcp, TheBrakeOfTheSendThreadHoldsOnlyTheRingGoneMad) {
    HandClock clock;
    TestServer server;
    server.flood = 8000;
    server.Listen({.send = 8192});
    Client other(server.port);
    {
        Client stuck(server.port, 4096);
        stuck.Send(Message(kFlood));
        ASSERT_TRUE(Eventually([&] { return server.flooded == 8000; }));
        stuck.ResetOnClose();
    }
    ASSERT_TRUE(server.AwaitClosed(1));
    Stopwatch watch;
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(other.Echoes());
    EXPECT_LT(watch.Lap(), 8);
    EXPECT_EQ(server.releases, 0);
    clock.Advance(10);
    EXPECT_TRUE(server.AwaitReleased(1));
}

TEST(Tcp, NothingIsDeliveredBehindAClose) {
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        if (server.messages == 3) server.Close(node);
    };
    server.Listen();
    Client client(server.port);
    std::string burst;
    for (int i = 0; i < 500; ++i)
        burst += Message(1, "x");
    const auto flood = client.SendUntilClosed(burst);
    EXPECT_TRUE(server.AwaitReleased(1));
    EXPECT_EQ(server.messages, 3);
    EXPECT_EQ(server.closes, 1);
    EXPECT_TRUE(server.lastFlag);
    { const Client gone(server.port); }
    EXPECT_TRUE(server.AwaitClosed(2));
    EXPECT_FALSE(server.lastFlag) << "by the peer";
}

// Answers of a back-end were lost when the lobby had something to send just after it hung up.
TEST(Tcp, WhatThePeerSentBeforeSendingFailedIsDelivered) {
    enum class End { FullRing, HungUp, HungUpAndClosed };
    for (const End end : {End::FullRing, End::HungUp, End::HungUpAndClosed}) {
        TestServer server;
        std::atomic<bool> sent{false};
        server.onMessage = [&](TestNode* node, uint16_t type, char*, long) {
            if (type != 1) return;
            EXPECT_TRUE(Eventually([&] { return sent.load(); }));
            if (end == End::FullRing) return server.Flood(node);
            EPOLLContext* context = nullptr;
            node->GetContext(&context);
            EXPECT_TRUE(Eventually([&] {  // the first is answered by a reset
                server.SendData(node, 1, nullptr, 0, ENCODE_NONE);
                if (auto* hold = WriteHold::Mine()) hold->Flush();
                return context->IsClosed();
            }));
            if (end == End::HungUpAndClosed) server.Close(node);
        };
        server.Listen();
        auto client = std::make_unique<Client>(server.port, 4096);
        for (uint16_t type = 1; type <= 6; ++type) {
            client->Send(Message(type, "answer"));
            if (type == 1) Eventually([&] { return server.messages == 1; });
        }
        if (end != End::FullRing) client.reset();
        sent = true;
        EXPECT_TRUE(server.AwaitClosed(1));
        EXPECT_EQ(server.messages, end == End::HungUpAndClosed ? 1 : 6) << static_cast<int>(end);
    }
}

// An answer is written although the worker stays in its handler, here until the connection has
// outrun it.
TEST(Tcp, TooManyUnhandledBuffersCloseTheConnection) {
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t type, char*, long) {
        if (type == 3) return;
        server.SendData(node, type, nullptr, 0, ENCODE_NONE);
        EPOLLContext* context = nullptr;
        node->GetContext(&context);
        EXPECT_TRUE(type == 1 || Eventually([&] { return context->IsClosed(); }));
    };
    server.Listen({.recv = 5});
    Client client(server.port);
    for (const size_t type : {1u, 2u})
        EXPECT_EQ(client.Ask(Message(type)), Message(type));
    const auto flood = client.SendUntilClosed(Message(3, std::string(4088, 'x')));
    EXPECT_TRUE(server.AwaitReleased(1));
    // Buffers in line at that moment: four, the held one included.
    EXPECT_LE(server.messages, 5);
}

TEST(Tcp, LinksFailInTimeAndAreReportedClosedAtOnceAndOnce) {
    TestServer server(kDefaults);
    EXPECT_EQ(server.Create(true, "127.0.0.1", server.port, 0, 1, 2, 1, 6), nullptr) << "in use";
    // A listener whose queue is full does not answer at all.
    const DeafServer full(0);
    const Client fill(full.port);
    sockaddr_in addr = LoopbackAddress(full.port);
    const double waited =
        Took([&] { EXPECT_EQ(server.Create(false, addr, 300, 1, 2, 1, 6), nullptr); });
    EXPECT_GE(waited, 0.3);
    EXPECT_LT(waited, 3);
    // One that is not registered for reading.
    IPlayerNode* link = server.Dial(server.port);
    ASSERT_NE(link, nullptr);
    EXPECT_EQ(server.GetPlayerAddrIn(link, &addr, false), htonl(INADDR_LOOPBACK));
    EXPECT_EQ(ntohs(addr.sin_port), server.port);
    EXPECT_EQ(server.GetPlayerAddrIn(nullptr, nullptr, false), ~0UL);
    server.Close(link);
    server.Close(link);
    EXPECT_TRUE(server.AwaitReleased(2));  // both ends
    EXPECT_EQ(server.closes, 2);
}

TEST(Tcp, SendersOnManyThreadsLoseAndMixNothing) {
    TestServer server;
    std::atomic<IPlayerNode*> node{nullptr};
    server.onMessage = [&](TestNode* from, uint16_t, char*, long) { node = from; };
    server.Listen({.send = 4000});
    Client client(server.port);
    client.Send(Message(1));
    ASSERT_TRUE(Eventually([&] { return node != nullptr; }));
    constexpr int kThreads = 4, kEach = 500;
    std::vector<std::jthread> senders;
    for (int t = 0; t < kThreads; ++t) {
        senders.emplace_back([&, t] {
            for (size_t i = 0; i < kEach; ++i) {
                std::string bytes = Message(0, Bytes({i >> 8, i}));
                server.SendData(node, static_cast<unsigned short>(t), bytes.data(), 10, 0);
            }
        });
    }
    size_t next[kThreads] = {};
    for (int i = 0; i < kThreads * kEach; ++i) {
        const std::string message = client.ReadMessage();
        ASSERT_EQ(message.size(), 10u);
        const size_t number = next[static_cast<int>(message[7])]++;
        ASSERT_EQ(message.substr(8), Bytes({number >> 8, number}));
    }
}

TEST(Tcp, AWakeupCutsTheWaitAndKeepsTheTimer) {
    TestServer server(kDefaults);
    Client client(server.port);
    ASSERT_TRUE(client.Echoes());
    constexpr int kRounds = 300;
    int fast = 0;
    Stopwatch watch;
    for (int i = 0; i < kRounds; ++i) {
        ASSERT_TRUE(client.Echoes());
        // Each waits for the whole of the worker's pause when nothing cuts it short.
        if (watch.Lap() < 500e-6) ++fast;
    }
    EXPECT_GT(fast, kRounds / 10);
    const long before = server.ticks;
    std::this_thread::sleep_for(300ms);
    const long ticks = server.ticks - before;
    EXPECT_GT(ticks, 6);
    EXPECT_LE(ticks, watch.Lap() * 1000 + 10);
}

// The resolver once overflowed the stack of the thread that looked a name up.
TEST(Tcp, NamesAreResolvedFromASmallStack) {
    OnThreads(1, [] { EXPECT_EQ(GameProvider::dns2ip("localhost"), htonl(INADDR_LOOPBACK)); });
    EXPECT_EQ(GameProvider::dns2ip("127.0.0.1"), htonl(INADDR_LOOPBACK));
    EXPECT_EQ(GameProvider::dns2ip(nullptr), ~0UL);
    EXPECT_EQ(GameProvider::dns2ip("no such name"), ~0UL);
    // Who cannot open anything looks nothing up.
    EPOLLServer idle(nullptr, nullptr, 0);
    errno = 0;
    EXPECT_EQ(idle.Create(false, "no such name", 1, 100, 1, 2, 1, 6), nullptr);
    EXPECT_NE(errno, NET_UNRESOLVED);
}
