// The whole simulated platform in one object.
#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>

#include <future>
#include <optional>
#include <thread>

#include "BackEnd.h"

namespace sim {

class CenterServer;
class ConfigServer;
class ControlPort;
class DataServer;
class LogServer;
class QueueServer;
class WebServer;

// Owns the six servers, the world they answer from and the control port. Everything runs on one
// thread: either the caller's, in Run, or one of its own between Start and Stop.
// Thread: the simulator's, except the functions that say otherwise.
class Platform {
  public:
    using Printer = std::function<void(const std::string& line)>;
    using Interceptor = std::function<bool(Link&, const Message&)>;

    explicit Platform(World world = DefaultWorld());
    ~Platform();
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    // Before Run or Start. Every message and event as one line; nothing is printed without it.
    void SetPrinter(Printer printer) { m_printer = std::move(printer); }
    // Before Run or Start. Sees every message of a lobby, before it is answered.
    void SetObserver(std::function<void(ServerKind, const Message&)> observer) {
        m_observer = std::move(observer);
    }
    // Opens the listeners, port 0 for any free one. Throws boost::system::system_error.
    void Open(ServerKind kind, uint16_t port);
    void OpenAll();
    // One command per line on a TCP port, see Commands.cpp; the port opened.
    uint16_t OpenControl(uint16_t port);
    void ReadCommandsFrom(int fd);

    // Serves until Quit; SIGINT and SIGTERM end it too when asked for.
    void Run(bool untilSignal);
    void Quit() { m_io.stop(); }  // any thread

    // A thread of its own (tests).
    void Start();
    void Stop();
    // Any other thread, between Start and Stop: runs f on the simulator's thread and waits.
    template <class F>
    auto Do(F f) {
        std::packaged_task<std::invoke_result_t<F>()> task(std::move(f));
        auto result = task.get_future();
        asio::post(m_io, [&task] { task(); });
        return result.get();
    }
    // The answer of one command line.
    std::string Command(const std::string& line);
    std::string DoCommand(const std::string& line) {  // any other thread
        return Do([&] { return Command(line); });
    }

    // A scripted answer in the place of the server's own; true when it dealt with the message.
    // An empty function takes the script away.
    void Intercept(ServerKind kind, uint16_t type, Interceptor interceptor);
    // Called by the servers: observed, and dealt with by a script?
    bool Intercepted(ServerKind kind, Link& link, const Message& message);

    asio::io_context& Io() { return m_io; }
    World& TheWorld() { return m_world; }
    BackEnd& Server(ServerKind kind) { return *m_servers[static_cast<size_t>(kind)]; }
    uint16_t Port(ServerKind kind) { return Server(kind).Port(); }
    // The servers that do more than answer.
    CenterServer& Center();
    ConfigServer& Config();
    DataServer& Data();
    LogServer& Log();

    void Print(ServerKind kind, unsigned link, const std::string& what);

  private:
    asio::io_context m_io{1};
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> m_work;
    World m_world;
    Printer m_printer;
    std::function<void(ServerKind, const Message&)> m_observer;
    std::array<std::unique_ptr<BackEnd>, SERVERS> m_servers;
    std::unique_ptr<ControlPort> m_control;
    std::map<std::pair<ServerKind, uint16_t>, Interceptor> m_interceptors;
    std::thread m_thread;
};

}  // namespace sim
