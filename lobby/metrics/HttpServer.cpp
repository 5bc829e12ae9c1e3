#include "HttpServer.h"

#include <arpa/inet.h>
#include <civetweb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// A peer that says nothing, or never reads, holds one of the threads for so long at most. 200 of
// them hold up whoever comes behind for some four seconds; a scraper waits for ten.
constexpr const char* kRequestTimeoutMs = "1000";
constexpr const char* kThreads = "96";
// Nothing is loaded from elsewhere, and nobody shows it inside a page of his own.
constexpr const char* kPolicy =
    "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; "
    "connect-src 'self'; img-src data:; frame-ancestors 'none'; base-uri 'none'";

// Why the address cannot be listened on; the web server itself does not say.
int ProbeAddress(const std::string& host, int port) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(port));
    if (inet_pton(AF_INET, host.c_str(), &addr.sin_addr) != 1) return EADDRNOTAVAIL;
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return errno;
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    const int error = ::bind(socket, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) == 0 &&
                              ::listen(socket, 1) == 0
                          ? 0
                          : errno;
    ::close(socket);
    return error;
}

}  // namespace

HttpServer::~HttpServer() {
    if (m_lpContext != nullptr) mg_stop(m_lpContext);
}

int HttpServer::Start(const std::string& host, int port) {
    if (const int error = ProbeAddress(host, port)) return error;
    const std::string address = host + ":" + std::to_string(port);
    const char* options[] = {"listening_ports",    address.c_str(),   "num_threads", kThreads,
                             "request_timeout_ms", kRequestTimeoutMs, nullptr};
    const mg_callbacks callbacks{};
    m_lpContext = mg_start(&callbacks, this, options);
    if (m_lpContext == nullptr) return EADDRINUSE;
    mg_set_request_handler(m_lpContext, "/", Handle, this);
    mg_server_port ports[1] = {};
    if (mg_get_server_ports(m_lpContext, 1, ports) == 1) m_iPort = ports[0].port;
    return 0;
}

int HttpServer::Handle(mg_connection* connection, void* self) {
    const mg_request_info* request = mg_get_request_info(connection);
    HttpAnswer answer{404, "text/plain; charset=utf-8", "Here are /, /metrics and /healthz.\n"};
    const bool reads = std::strcmp(request->request_method, "GET") == 0 ||
                       std::strcmp(request->request_method, "HEAD") == 0;
    for (const HttpPage& page : static_cast<HttpServer*>(self)->m_pages) {
        if (reads && std::strcmp(request->local_uri, page.path) == 0) answer = page.answer();
    }
    if (!reads) answer = {405, "text/plain; charset=utf-8", "Nothing can be changed here.\n"};
    mg_printf(connection,
              "HTTP/1.1 %d %s\r\nContent-Type: %s\r\nContent-Length: %zu\r\n"
              "Cache-Control: no-store\r\nContent-Security-Policy: %s\r\n"
              "X-Content-Type-Options: nosniff\r\nConnection: close\r\n\r\n",
              answer.status, mg_get_response_code_text(connection, answer.status), answer.type,
              answer.body.size(), kPolicy);
    if (request->request_method[0] != 'H')
        mg_write(connection, answer.body.data(), answer.body.size());
    return answer.status;
}
