// Runs hostile clients against a lobby, in a random order drawn from a seed, until it is stopped
// or a time has passed.
// Usage: hostile_clients PORT FIRST_USER CONTROL_PORT SEED SECONDS
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include "Common/Descriptors.h"
#include "Connection.h"
#include "HostileClients.h"

int main(int argc, char** argv) {
    if (argc != 6) return 2;
    std::signal(SIGPIPE, SIG_IGN);
    RaiseDescriptorLimit();

    const auto number = [&](int i) { return std::atoi(argv[i]); };
    const auto command = [&](const std::string& line) {
        const auto end = client::Clock::now() + std::chrono::seconds(2);
        const std::string text = line + "\n";
        try {
            client::Connection control("127.0.0.1", static_cast<uint16_t>(number(3)),
                                       client::Transport::Tcp, end);
            control.SendRaw({reinterpret_cast<const uint8_t*>(text.data()), text.size()}, end);
        } catch (const std::runtime_error&) {  // the simulator may be a victim too
        }
    };
    const Target target{static_cast<uint16_t>(number(1)), number(2), command};
    std::minstd_rand random(static_cast<unsigned>(number(4)));
    const auto end = client::Clock::now() + std::chrono::seconds(number(5));
    while (client::Clock::now() < end) {
        const HostileClient& client = HostileClients()[random() % HostileClients().size()];
        std::printf("%s\n", client.name);
        std::fflush(stdout);
        try {
            client.run(target);
        } catch (const std::runtime_error& failure) {
            std::printf("  %s\n", failure.what());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 1000));
    }
    return 0;
}
