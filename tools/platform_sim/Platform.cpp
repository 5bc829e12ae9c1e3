#include "Platform.h"

#include "CenterServer.h"
#include "ConfigServer.h"
#include "ControlPort.h"
#include "DataServer.h"
#include "LogServer.h"
#include "QueueServer.h"
#include "WebServer.h"

namespace sim {

Platform::Platform(World world) : m_world(std::move(world)) {
    const auto put = [this](ServerKind kind, std::unique_ptr<BackEnd> server) {
        m_servers[static_cast<size_t>(kind)] = std::move(server);
    };
    put(ServerKind::Queue, std::make_unique<QueueServer>(*this));
    put(ServerKind::Center, std::make_unique<CenterServer>(*this));
    put(ServerKind::Config, std::make_unique<ConfigServer>(*this));
    put(ServerKind::Web, std::make_unique<WebServer>(*this));
    put(ServerKind::Data, std::make_unique<DataServer>(*this));
    put(ServerKind::Log, std::make_unique<LogServer>(*this));
    m_control = std::make_unique<ControlPort>(*this);
}

Platform::~Platform() {
    Stop();
}

void Platform::Open(ServerKind kind, uint16_t port) {
    Server(kind).Listen(port);
}

void Platform::OpenAll() {
    for (const ServerKind kind : ALL_SERVERS)
        Open(kind, 0);
}

uint16_t Platform::OpenControl(uint16_t port) {
    return m_control->Listen(port);
}

void Platform::ReadCommandsFrom(int fd) {
    m_control->ReadFrom(fd);
}

void Platform::Run(bool untilSignal) {
    m_work.emplace(m_io.get_executor());
    asio::signal_set signals(m_io);
    if (untilSignal) {
        signals.add(SIGINT);
        signals.add(SIGTERM);
        signals.async_wait([this](const boost::system::error_code& error, int) {
            if (!error) Quit();
        });
    }
    m_io.run();
    m_work.reset();
}

void Platform::Start() {
    m_thread = std::thread([this] { Run(false); });
    Do([] {});
}

void Platform::Stop() {
    Quit();
    if (m_thread.joinable()) m_thread.join();
}

std::string Platform::Command(const std::string& line) {
    return RunCommand(*this, line);
}

void Platform::Intercept(ServerKind kind, uint16_t type, Interceptor interceptor) {
    m_interceptors[{kind, type}] = std::move(interceptor);
}

bool Platform::Intercepted(ServerKind kind, Link& link, const Message& message) {
    if (m_observer) m_observer(kind, message);
    const auto at = m_interceptors.find({kind, message.type});
    return at != m_interceptors.end() && at->second && at->second(link, message);
}

CenterServer& Platform::Center() {
    return static_cast<CenterServer&>(Server(ServerKind::Center));
}
ConfigServer& Platform::Config() {
    return static_cast<ConfigServer&>(Server(ServerKind::Config));
}
DataServer& Platform::Data() {
    return static_cast<DataServer&>(Server(ServerKind::Data));
}
LogServer& Platform::Log() {
    return static_cast<LogServer&>(Server(ServerKind::Log));
}

void Platform::Print(ServerKind kind, unsigned link, const std::string& what) {
    if (!m_printer) return;
    m_printer(std::string(NameOf(kind)) + " #" + std::to_string(link) + " " + what);
}

}  // namespace sim
