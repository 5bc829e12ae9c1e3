#include "Common/Supervisor.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Common/Clock.h"

namespace {

const char* SocketName() {
    const char* name = std::getenv("NOTIFY_SOCKET");
    return name != nullptr && (name[0] == '/' || name[0] == '@') ? name : nullptr;
}

}  // namespace

bool HasSupervisor() {
    return SocketName() != nullptr;
}

bool TellSupervisor(const char* state) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const char* name = SocketName();
    const size_t length = name != nullptr ? std::strlen(name) : 0;
    if (length == 0 || length >= sizeof(address.sun_path)) return false;
    std::memcpy(address.sun_path, name, length);
    if (name[0] == '@') address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return false;
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    const ssize_t sent = ::sendto(socket, state, std::strlen(state), MSG_DONTWAIT | MSG_NOSIGNAL,
                                  reinterpret_cast<const sockaddr*>(&address), size);
    ::close(socket);
    return sent >= 0;
}

bool TellReloading() {
    const std::string micros = std::to_string(MonotonicNanos() / 1000);
    return TellSupervisor(("RELOADING=1\nMONOTONIC_USEC=" + micros).c_str());
}
