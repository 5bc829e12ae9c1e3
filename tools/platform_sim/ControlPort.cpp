#include "ControlPort.h"

#include <unistd.h>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>

#include <cstdio>
#include <istream>

#include "Platform.h"

namespace sim {
namespace {

using asio::ip::tcp;
using boost::system::error_code;

constexpr size_t LONGEST_LINE = 65536;

std::string TakeLine(asio::streambuf& buffer) {
    std::istream stream(&buffer);
    std::string line;
    std::getline(stream, line);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

// One controller. Keeps itself alive while an operation is pending.
class Session : public std::enable_shared_from_this<Session> {
  public:
    Session(Platform& platform, tcp::socket socket)
        : m_platform(platform), m_socket(std::move(socket)) {}

    void Read() {
        asio::async_read_until(m_socket, m_buffer, '\n',
                               [self = shared_from_this()](const error_code& error, size_t) {
                                   if (!error) self->Answer();
                               });
    }

  private:
    void Answer() {
        m_answer = RunCommand(m_platform, TakeLine(m_buffer));
        asio::async_write(m_socket, asio::buffer(m_answer),
                          [self = shared_from_this()](const error_code& error, size_t) {
                              if (!error) self->Read();
                          });
    }

    Platform& m_platform;
    tcp::socket m_socket;
    asio::streambuf m_buffer{LONGEST_LINE};
    std::string m_answer;
};

}  // namespace

ControlPort::ControlPort(Platform& platform)
    : m_platform(platform),
      m_acceptor(platform.Io()),
      m_input(platform.Io()),
      m_inputBuffer(LONGEST_LINE) {}

uint16_t ControlPort::Listen(uint16_t port) {
    m_acceptor.open(tcp::v4());
    m_acceptor.set_option(tcp::acceptor::reuse_address(true));
    m_acceptor.bind({asio::ip::address_v4::loopback(), port});
    m_acceptor.listen();
    Accept();
    return m_acceptor.local_endpoint().port();
}

void ControlPort::Accept() {
    m_acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) return;
        if (!error) std::make_shared<Session>(m_platform, std::move(socket))->Read();
        Accept();
    });
}

void ControlPort::ReadFrom(int fd) {
    error_code error;
    const int copy = ::dup(fd);
    if (copy < 0) return;
    m_input.assign(copy, error);
    if (error) {
        ::close(copy);
        return;
    }
    ReadInput();
}

void ControlPort::ReadInput() {
    asio::async_read_until(m_input, m_inputBuffer, '\n', [this](const error_code& error, size_t) {
        if (error) return;  // the end of the input does not end the simulator
        std::fputs(RunCommand(m_platform, TakeLine(m_inputBuffer)).c_str(), stdout);
        std::fflush(stdout);
        ReadInput();
    });
}

}  // namespace sim
