// Stands between a lobby and its Redis: hands answers on late, and kills connections.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_future.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "Waiting.h"

// Answers keep their order and do not wait for one another: each is late by the delay of the moment
// it came. Requests are handed on at once. Runs on a thread of its own. Thread: any.
class RedisProxy {
  public:
    using tcp = boost::asio::ip::tcp;

    // Listens on a free loopback port.
    explicit RedisProxy(int redisPort)
        : m_redis(boost::asio::ip::address_v4::loopback(), static_cast<uint16_t>(redisPort)),
          m_acceptor(m_io, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)) {
        Accept();
        m_thread = std::jthread([this] { m_io.run(); });
    }
    ~RedisProxy() { m_io.stop(); }
    RedisProxy(const RedisProxy&) = delete;
    RedisProxy& operator=(const RedisProxy&) = delete;

    int Port() const { return m_acceptor.local_endpoint().port(); }
    std::string Address() const { return "127.0.0.1:" + std::to_string(Port()); }

    void SetDelay(std::chrono::microseconds delay) { m_delay = delay; }
    // The connections that are open, oldest first.
    size_t Count() {
        const auto count = [this] { return Open().size(); };
        return boost::asio::post(m_io, boost::asio::use_future(count)).get();
    }
    // Ends the i-th of them towards the lobby, as a reset or a plain end of the stream.
    void Kill(size_t i, bool reset) {
        const auto kill = [=, this] {
            const auto open = Open();
            if (i < open.size()) open[i]->End(reset);
        };
        boost::asio::post(m_io, boost::asio::use_future(kill)).get();
    }

  private:
    struct Pair : std::enable_shared_from_this<Pair> {
        Pair(RedisProxy& owner, tcp::socket socket)
            : proxy(owner), lobby(std::move(socket)), redis(owner.m_io) {}

        void Start() {
            boost::system::error_code failed;
            redis.connect(proxy.m_redis, failed);
            if (failed) return End(false);
            lobby.set_option(tcp::no_delay(true));
            redis.set_option(tcp::no_delay(true));
            Requests();
            Answers();
        }
        void Requests() {
            const auto handOn = [this, self = shared_from_this()](auto error, size_t size) {
                if (!error) boost::asio::write(redis, boost::asio::buffer(up, size), error);
                error ? End(false) : Requests();
            };
            lobby.async_read_some(boost::asio::buffer(up), handOn);
        }
        void Answers() {
            const auto keep = [this, self = shared_from_this()](auto error, size_t size) {
                if (error) return End(false);
                // Timers of the same moment would go off in any order.
                due = std::max(due + Clock::duration(1), Clock::now() + proxy.m_delay.load());
                const auto timer = std::make_shared<boost::asio::steady_timer>(proxy.m_io, due);
                timer->async_wait([self, timer, text = std::string(down.data(), size)](auto) {
                    boost::system::error_code gone;
                    boost::asio::write(self->lobby, boost::asio::buffer(text), gone);
                });
                Answers();
            };
            redis.async_read_some(boost::asio::buffer(down), keep);
        }
        void End(bool reset) {
            boost::system::error_code ignored;
            if (reset) lobby.set_option(boost::asio::socket_base::linger(true, 0), ignored);
            lobby.close(ignored);
            redis.close(ignored);
        }

        using Clock = std::chrono::steady_clock;
        RedisProxy& proxy;
        tcp::socket lobby, redis;
        std::array<char, 16384> up, down;
        Clock::time_point due;  // of the last answer
    };

    void Accept() {
        m_acceptor.async_accept([this](auto error, tcp::socket socket) {
            if (error) return;
            m_pairs.push_back(std::make_shared<Pair>(*this, std::move(socket)));
            m_pairs.back()->Start();
            Accept();
        });
    }
    std::vector<std::shared_ptr<Pair>> Open() {
        std::erase_if(m_pairs, [](const auto& pair) { return !pair->lobby.is_open(); });
        return m_pairs;
    }

    boost::asio::io_context m_io{1};
    tcp::endpoint m_redis;
    tcp::acceptor m_acceptor;
    std::atomic<std::chrono::microseconds> m_delay{std::chrono::microseconds(0)};
    std::vector<std::shared_ptr<Pair>> m_pairs;
    std::jthread m_thread;
};
