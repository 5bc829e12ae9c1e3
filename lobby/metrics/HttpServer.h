// Answers HTTP requests for a few fixed paths.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct mg_connection;
struct mg_context;

struct HttpAnswer {
    int status = 200;
    const char* type = "text/plain; charset=utf-8";
    std::string body;
};

struct HttpPage {
    const char* path;
    std::function<HttpAnswer()> answer;  // on the server's threads
};

// Owned by the endpoint. Thread: main, or one at a time.
class HttpServer {
  public:
    explicit HttpServer(std::vector<HttpPage> pages) : m_pages(std::move(pages)) {}
    // Waits for requests that are being answered.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // 0 once it listens, else the system's error number; EADDRINUSE may pass with time.
    int Start(const std::string& host, int port);
    int Port() const { return m_iPort; }

  private:
    static int Handle(mg_connection* connection, void* self);

    const std::vector<HttpPage> m_pages;
    mg_context* m_lpContext = nullptr;
    int m_iPort = 0;
};
