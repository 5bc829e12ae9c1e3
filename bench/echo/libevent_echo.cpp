// The same protocol on libevent: bufferevents, one thread. Every message is checked and answered
// by itself; libevent writes the answers together.
// Usage: libevent_echo port
#include <arpa/inet.h>
#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>
#include <event2/listener.h>
#include <netinet/tcp.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "Common/Descriptors.h"
#include "Game/NetMessage.h"

namespace {

// The header of the first message, when it has come whole.
enum class Next { None, Message, Bad };
Next NextMessage(evbuffer* input, tagMsgHeader& header) {
    const size_t held = evbuffer_get_length(input);
    if (held < sizeof(header)) return Next::None;
    evbuffer_copyout(input, &header, sizeof(header));
    const size_t length = ntohs(header.length);
    if (header.identity != MSG_IDENTITY || length < HEADER_SIZE || length > BUFFER_SIZE) {
        return Next::Bad;
    }
    return held < length ? Next::None : Next::Message;
}

// The answer is the message itself: it moves from buffer to buffer.
void OnRead(bufferevent* client, void*) {
    evbuffer* input = bufferevent_get_input(client);
    evbuffer* output = bufferevent_get_output(client);
    tagMsgHeader header;
    Next next;
    while ((next = NextMessage(input, header)) == Next::Message)
        evbuffer_remove_buffer(input, output, ntohs(header.length));
    if (next == Next::Bad) bufferevent_free(client);
}

void OnEvent(bufferevent* client, short events, void*) {
    if ((events & (BEV_EVENT_EOF | BEV_EVENT_ERROR)) != 0) bufferevent_free(client);
}

void OnAccept(evconnlistener* listener, evutil_socket_t fd, sockaddr*, int, void*) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    bufferevent* client =
        bufferevent_socket_new(evconnlistener_get_base(listener), fd, BEV_OPT_CLOSE_ON_FREE);
    bufferevent_setcb(client, OnRead, nullptr, OnEvent, nullptr);
    bufferevent_enable(client, EV_READ | EV_WRITE);
}

void OnSignal(evutil_socket_t, short, void* base) {
    event_base_loopbreak(static_cast<event_base*>(base));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return std::fprintf(stderr, "usage: libevent_echo port\n"), 2;
    RaiseDescriptorLimit(30064);
    std::signal(SIGPIPE, SIG_IGN);
    event_base* base = event_base_new();
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(std::strtol(argv[1], nullptr, 10)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    evconnlistener* listener =
        evconnlistener_new_bind(base, OnAccept, nullptr, LEV_OPT_CLOSE_ON_FREE | LEV_OPT_REUSEABLE,
                                4096, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    if (listener == nullptr) return std::perror("libevent_echo"), 1;
    event* term = evsignal_new(base, SIGTERM, OnSignal, base);
    evsignal_add(term, nullptr);
    std::printf("ready\n");
    std::fflush(stdout);
    event_base_dispatch(base);
    event_free(term);
    evconnlistener_free(listener);
    event_base_free(base);
    return 0;
}
