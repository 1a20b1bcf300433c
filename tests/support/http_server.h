// A small HTTP/1.0 server on 127.0.0.1 in a thread of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace talvo::test {

struct HttpRequest {
  std::string method;
  std::string path;     // with the query
  std::string headers;  // the raw lines
  std::string body;
};

constexpr int64_t kUnannounced = -2;

struct HttpReply {
  int status = 200;
  std::string body = {};
  std::string headers = {};  // further lines, each ending in "\r\n"
  bool silent = false;       // never answer: hold the connection until the client gives up
  // A Content-Length that differs from the body's; -1: the body's own; kUnannounced: none.
  int64_t announced = -1;
};

class HttpServer {
 public:
  using Handler = std::function<HttpReply(const HttpRequest &)>;

  // The handler runs in the server's thread, one request at a time. Without a port the system
  // chooses one.
  explicit HttpServer(Handler handler, uint16_t port = 0);
  // Ends the thread and closes what is open.
  ~HttpServer();
  HttpServer(const HttpServer &) = delete;
  HttpServer &operator=(const HttpServer &) = delete;

  int port() const { return port_; }
  // "http://127.0.0.1:PORT" + path
  std::string url(const std::string &path = "/") const;
  // Requests answered (or held) so far.
  int requests() const { return requests_; }

 private:
  void serve();
  void answer(int connection);

  Handler handler_;
  int listener_ = -1;
  int wakeRead_ = -1;
  int wakeWrite_ = -1;
  int port_ = 0;
  std::atomic<int> requests_ = 0;
  std::thread thread_;
};

}  // namespace talvo::test
