// Control commands from standard input and from a TCP port.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/streambuf.hpp>

#include <string>

namespace sim {

class Platform;

// Runs one command line (see Commands.cpp, `help` lists them) and returns the lines it answers,
// each with its line end. The last one starts with "ok" or "error". Simulator's thread.
std::string RunCommand(Platform& platform, const std::string& line);

// One command per line; the answer follows. The port listens on loopback only.
// Thread: the simulator's.
class ControlPort {
  public:
    explicit ControlPort(Platform& platform);
    // The port opened. Throws boost::system::system_error.
    uint16_t Listen(uint16_t port);
    // Reads commands from a terminal or pipe until its end; a descriptor that cannot be waited
    // for (a file) is ignored. Answers go to standard output.
    void ReadFrom(int fd);

  private:
    void Accept();
    void ReadInput();

    Platform& m_platform;
    boost::asio::ip::tcp::acceptor m_acceptor;
    boost::asio::posix::stream_descriptor m_input;
    boost::asio::streambuf m_inputBuffer;
};

}  // namespace sim
