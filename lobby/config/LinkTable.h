// The back-end links, a row each.
#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>

// What tells one link from the others. The numbers are agreed with the reconnect keeper, the words
// with those who read the log. The handlers find their rows by the key; the configuration's rows
// and the metrics are made from them.
struct LinkRow {
    int id;              // the keeper's number
    const char* key;     // of its address, in section connect of LobbyServer.cfg
    const char* server;  // what that address is of
    const char* metric;  // its label among the figures
    const char* peer;    // the words its close line starts with
    const char* tag;     // of that line
};

// In the order in which the links are kept alive.
inline constexpr LinkRow LINK_ROWS[] = {
    {1, "center_server", "center server", "center", "center server",
     "CenterServerHandler::OnClosed"},
    {2, "bulletin_server", "web server", "web", "web server", "WebServerHandler::OnClosed"},
    {5, "log_server", "log server", "log", "log server", "LogServerHandler::OnClosed"},
    {4, "queue_server", "queue server", "queue", "authen server", "QueueServerHandler::OnClosed"},
    {6, "data_server", "data server", "data", "database server", "DataServerHandler::OnClosed"},
    {9, "config_server", "config server", "config", "config server",
     "ConfigServerHandler::OnClosed"},
};
inline constexpr size_t LINKS = std::size(LINK_ROWS);

// The place of the row that `fits`; LINKS when there is none.
template <class Fits>
constexpr size_t FindLinkRow(Fits fits) {
    size_t row = 0;
    while (row < LINKS && !fits(LINK_ROWS[row]))
        ++row;
    return row;
}

// The place of a key's row. A key without a row does not compile.
consteval size_t LinkRowOf(std::string_view key) {
    const size_t row = FindLinkRow([key](const LinkRow& link) { return key == link.key; });
    if (row == LINKS) throw "this link has no row in LinkTable.h";
    return row;
}
