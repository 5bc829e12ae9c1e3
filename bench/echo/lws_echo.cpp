// Echo of binary frames on libwebsockets, one thread. What is received waits in a queue and goes
// out when the connection can be written to, as the library wants it.
// Usage: lws_echo port
#include <libwebsockets.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>

namespace {

volatile sig_atomic_t g_stop = 0;

using Queue = std::deque<std::string>;  // each with LWS_PRE bytes of room in front

Queue*& QueueOf(void* user) {
    return *static_cast<Queue**>(user);
}

int Write(lws* wsi, Queue& queue) {
    while (!queue.empty() && lws_send_pipe_choked(wsi) == 0) {
        std::string& message = queue.front();
        const size_t length = message.size() - LWS_PRE;
        auto* payload = reinterpret_cast<unsigned char*>(message.data()) + LWS_PRE;
        if (lws_write(wsi, payload, length, LWS_WRITE_BINARY) < static_cast<int>(length)) {
            return -1;
        }
        queue.pop_front();
    }
    if (!queue.empty()) lws_callback_on_writable(wsi);
    return 0;
}

int OnEvent(lws* wsi, lws_callback_reasons reason, void* user, void* in, size_t length) {
    switch (reason) {
        case LWS_CALLBACK_ESTABLISHED:
            QueueOf(user) = new Queue;
            break;
        case LWS_CALLBACK_CLOSED:
            delete QueueOf(user);
            break;
        case LWS_CALLBACK_RECEIVE: {
            std::string message(LWS_PRE, '\0');
            message.append(static_cast<const char*>(in), length);
            QueueOf(user)->push_back(std::move(message));
            lws_callback_on_writable(wsi);
            break;
        }
        case LWS_CALLBACK_SERVER_WRITEABLE:
            return Write(wsi, *QueueOf(user));
        default:
            break;
    }
    return 0;
}

lws_context* Open(int port) {
    static const lws_protocols protocols[] = {
        {"lobby", OnEvent, sizeof(Queue*), 4096, 0, nullptr, 4096},
        {nullptr, nullptr, 0, 0, 0, nullptr, 0}};
    lws_context_creation_info info;
    std::memset(&info, 0, sizeof(info));
    info.port = port;
    info.iface = "127.0.0.1";
    info.protocols = protocols;
    return lws_create_context(&info);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return std::fprintf(stderr, "usage: lws_echo port\n"), 2;
    std::signal(SIGTERM, [](int) { g_stop = 1; });
    lws_set_log_level(LLL_ERR, nullptr);
    lws_context* context = Open(static_cast<int>(std::strtol(argv[1], nullptr, 10)));
    if (context == nullptr) return 1;
    std::printf("ready\n");
    std::fflush(stdout);
    while (g_stop == 0 && lws_service(context, 0) >= 0)
        continue;
    lws_context_destroy(context);
    return 0;
}
