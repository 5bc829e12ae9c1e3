// The framework end to end over real loopback sockets.
#include <sys/resource.h>

#include <numeric>
#include <random>

#include "EPOLLBuffer.h"
#include "NetSender.h"
#include "net_fixture.h"

TEST(Tcp, EchoesEveryCutOfAStream) {
    TestServer server;
    server.Listen();
    std::string stream;
    for (int i = 0; i < 40; ++i)
        stream +=
            Message(static_cast<uint16_t>(i + 1), std::string(static_cast<size_t>(i * 97), 'x'));
    std::mt19937 random(7);
    for (size_t step : {1u, 7u, 8u, 9u, 4095u, 4096u, 4097u, 0u}) {
        Client client(server.port);
        std::thread writer([&] {
            for (size_t at = 0; at < stream.size();) {
                const size_t n =
                    std::min(step != 0 ? step : 1 + random() % 5000, stream.size() - at);
                if (!client.Send(stream.substr(at, n))) return;
                at += n;
            }
        });
        const std::string echoed = client.Read(stream.size());
        writer.join();
        ASSERT_EQ(echoed, stream) << step;
    }
    server.ExpectTidy();
}
