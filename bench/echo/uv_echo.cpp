// The same protocol on libuv, TCP and WebSocket on one port: one loop, the answers to what one
// read brought go out in one write.
// Usage: uv_echo port
#include <uv.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "Common/Descriptors.h"
#include "EchoStream.h"

namespace {

struct Connection {
    uv_tcp_t tcp;
    EchoStream stream;
};
struct Write {
    uv_write_t request;
    std::string out;
};

char g_buffer[65536];  // one read at a time

void Close(uv_handle_t* handle) {
    if (uv_is_closing(handle) != 0) return;
    uv_close(handle, [](uv_handle_t* closed) { delete static_cast<Connection*>(closed->data); });
}

// At once where the socket takes it, which spares the request; the rest in one.
void Send(Connection* connection, std::string out) {
    auto* stream = reinterpret_cast<uv_stream_t*>(&connection->tcp);
    uv_buf_t part = uv_buf_init(out.data(), static_cast<unsigned>(out.size()));
    const int sent = uv_try_write(stream, &part, 1);
    if (sent == static_cast<int>(out.size())) return;
    auto* write = new Write{{}, sent > 0 ? out.substr(static_cast<size_t>(sent)) : std::move(out)};
    write->request.data = write;
    part = uv_buf_init(write->out.data(), static_cast<unsigned>(write->out.size()));
    uv_write(&write->request, stream, &part, 1,
             [](uv_write_t* done, int) { delete static_cast<Write*>(done->data); });
}

void OnRead(uv_stream_t* stream, ssize_t length, const uv_buf_t*) {
    if (length == 0) return;
    auto* connection = static_cast<Connection*>(stream->data);
    std::string out;
    if (length < 0 || !connection->stream.Take(g_buffer, static_cast<size_t>(length), out)) {
        return Close(reinterpret_cast<uv_handle_t*>(stream));
    }
    if (!out.empty()) Send(connection, std::move(out));
}

void OnConnection(uv_stream_t* listener, int) {
    auto* connection = new Connection;
    uv_tcp_init(listener->loop, &connection->tcp);
    connection->tcp.data = connection;
    auto* stream = reinterpret_cast<uv_stream_t*>(&connection->tcp);
    if (uv_accept(listener, stream) != 0) return Close(reinterpret_cast<uv_handle_t*>(stream));
    uv_tcp_nodelay(&connection->tcp, 1);
    uv_read_start(
        stream,
        [](uv_handle_t*, size_t, uv_buf_t* buffer) {
            *buffer = uv_buf_init(g_buffer, sizeof(g_buffer));
        },
        OnRead);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return std::fprintf(stderr, "usage: uv_echo port\n"), 2;
    RaiseDescriptorLimit(30064);
    std::signal(SIGPIPE, SIG_IGN);
    uv_loop_t* loop = uv_default_loop();
    uv_tcp_t listener;
    uv_tcp_init(loop, &listener);
    sockaddr_in address{};
    uv_ip4_addr("127.0.0.1", static_cast<int>(std::strtol(argv[1], nullptr, 10)), &address);
    uv_tcp_bind(&listener, reinterpret_cast<const sockaddr*>(&address), 0);
    if (uv_listen(reinterpret_cast<uv_stream_t*>(&listener), 4096, OnConnection) != 0) {
        return std::perror("uv_echo"), 1;
    }
    uv_signal_t term;
    uv_signal_init(loop, &term);
    uv_signal_start(
        &term, [](uv_signal_t* signal, int) { uv_stop(signal->loop); }, SIGTERM);
    std::printf("ready\n");
    std::fflush(stdout);
    return uv_run(loop, UV_RUN_DEFAULT) < 0 ? 1 : 0;
}
