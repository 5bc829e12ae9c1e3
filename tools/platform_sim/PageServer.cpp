#include "PageServer.h"

#include <cjson/cJSON.h>
#include <httplib.h>

#include <stdexcept>
#include <thread>

namespace sim {
namespace {

std::string ToJson(const PageConfig& config) {
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> root(cJSON_CreateObject(), cJSON_Delete);
    if (!config.lobbyAddress.empty()) {
        cJSON_AddStringToObject(root.get(), "ws", config.lobbyAddress.c_str());
    }
    if (config.userId != 0) {
        cJSON* const player = cJSON_AddObjectToObject(root.get(), "player");
        cJSON_AddNumberToObject(player, "userId", config.userId);
        cJSON_AddStringToObject(player, "token", config.token.c_str());
        cJSON_AddStringToObject(player, "bankPassword", config.bankPassword.c_str());
        cJSON_AddNumberToObject(player, "siteId", 1);
    }
    const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(root.get()),
                                                            cJSON_free);
    return text.get();
}

}  // namespace

struct PageServer::Server {
    httplib::Server http;
    int port = 0;
    std::thread thread;
};

PageServer::PageServer(const std::string& folder, uint16_t port, const PageConfig& config)
    : m_server(std::make_unique<Server>()) {
    httplib::Server& http = m_server->http;
    http.set_file_extension_and_mimetype_mapping("mjs", "text/javascript");
    // A connection has one of a few threads to itself, and browsers keep some that they do not use.
    http.set_keep_alive_max_count(1);
    http.set_keep_alive_timeout(1);
    http.Get("/config.json",
             [text = ToJson(config)](const httplib::Request&, httplib::Response& answer) {
                 answer.set_content(text, "application/json");
             });
    if (!http.set_mount_point("/", folder)) {
        throw std::runtime_error("no folder " + folder + " to serve the page from");
    }
    m_server->port = port == 0 ? http.bind_to_any_port("127.0.0.1")
                               : (http.bind_to_port("127.0.0.1", port) ? port : -1);
    if (m_server->port <= 0) {
        throw std::runtime_error("cannot serve the page on port " + std::to_string(port));
    }
    m_server->thread = std::thread([&http] { http.listen_after_bind(); });
}

PageServer::~PageServer() {
    while (!m_server->http.is_running())
        std::this_thread::yield();
    m_server->http.stop();
    m_server->thread.join();
}

uint16_t PageServer::Port() const {
    return static_cast<uint16_t>(m_server->port);
}

}  // namespace sim
