// A real redis-server of a test's own, on a free loopback port.
#pragma once

#include <hiredis/hiredis.h>
#include <sys/resource.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <memory>

#include "ChildProcess.h"
#include "Waiting.h"

// Owns the process; keeps nothing on disk, so a restart is empty.
// Thread: the test's main thread; Command on any.
class RedisServer {
  public:
    explicit RedisServer(std::string password = "") : m_password(std::move(password)) {
        for (int attempt = 0; attempt < 5; ++attempt) {
            m_port = FreePort();
            if (TryStart()) return;
        }
        throw std::runtime_error("redis-server does not start");
    }

    int Port() const { return m_port; }
    // The value of "redis_server" in LobbyServer.cfg.
    std::string Address() const { return "127.0.0.1:" + std::to_string(m_port); }

    // On the same port as before; returns when the server answers.
    void Start() {
        if (!TryStart()) throw std::runtime_error("redis-server does not start again");
    }
    void Stop() { m_process.Kill(); }
    // The hung server: its kernel still accepts connections, nothing is answered.
    void Hang() { m_process.Signal(SIGSTOP); }
    void Resume() { m_process.Signal(SIGCONT); }

    // The text or number that is the reply to a command ("GET key"); "" for none, also where none
    // comes within two seconds.
    std::string Command(const std::string& command) const {
        const std::unique_ptr<redisContext, decltype(&redisFree)> link(
            redisConnectWithTimeout("127.0.0.1", m_port, {2, 0}), redisFree);
        redisSetTimeout(link.get(), {2, 0});
        if (!m_password.empty()) Ask(link.get(), "AUTH %s", m_password);
        return Ask(link.get(), command.c_str());
    }

    static int FreePort() {
        boost::asio::io_context io;
        const auto host = boost::asio::ip::address_v4::loopback();
        return boost::asio::ip::tcp::acceptor(io, {host, 0}).local_endpoint().port();
    }

  private:
    static std::string Ask(redisContext* link, const char* format, const std::string& value = "") {
        const std::unique_ptr<void, decltype(&freeReplyObject)> answer(
            redisCommand(link, format, value.c_str()), freeReplyObject);
        const auto* reply = static_cast<redisReply*>(answer.get());
        if (reply == nullptr) return "";
        if (reply->type == REDIS_REPLY_INTEGER) return std::to_string(reply->integer);
        return reply->str != nullptr ? reply->str : "";
    }

    bool TryStart() {
        m_process.Start({"redis-server", "--bind", "127.0.0.1", "--port", std::to_string(m_port),
                         "--dir", m_process.Directory(), "--save", "", "--appendonly", "no",
                         "--requirepass", m_password});
        const auto answers = [this] { return Command("PING") == "PONG"; };
        if (!Eventually([&] { return m_process.Ended() || answers(); })) Stop();
        if (m_process.Ended()) return false;  // the port was taken
        // Where that is allowed: a server that a busy machine holds up for 0.3 s is a hung one to
        // the lobby.
        setpriority(PRIO_PROCESS, static_cast<id_t>(m_process.Pid()), -10);
        return true;
    }

    std::string m_password;
    ChildProcess m_process;
    int m_port = 0;
};
