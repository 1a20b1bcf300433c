#include "support/http_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>

namespace talvo::test {

namespace {

void check(bool condition, const char *what) {
  if (!condition) {
    throw std::runtime_error(std::string("test server: ") + what);
  }
}

// Waits until the descriptor can be read; false when the server is told to end.
bool waitFor(int descriptor, int wake) {
  std::array<pollfd, 2> descriptors = {pollfd{descriptor, POLLIN, 0}, pollfd{wake, POLLIN, 0}};
  return poll(descriptors.data(), descriptors.size(), -1) > 0 && descriptors[1].revents == 0;
}

// Appends what the client sends next; false when it has closed or the server is told to end.
bool receiveMore(int connection, int wake, std::string *text) {
  std::array<char, 4096> buffer;
  if (!waitFor(connection, wake)) {
    return false;
  }
  const ssize_t length = recv(connection, buffer.data(), buffer.size(), 0);
  if (length <= 0) {
    return false;
  }
  text->append(buffer.data(), static_cast<size_t>(length));
  return true;
}

size_t contentLength(const std::string &headers) {
  constexpr char kName[] = "\r\nContent-Length:";
  for (size_t at = headers.find("\r\n"); at != std::string::npos;
       at = headers.find("\r\n", at + 2)) {
    if (strncasecmp(headers.c_str() + at, kName, sizeof kName - 1) == 0) {
      return std::stoul(headers.substr(at + sizeof kName - 1));
    }
  }
  return 0;
}

bool readRequest(int connection, int wake, HttpRequest *request) {
  std::string text;
  size_t end = 0;
  while ((end = text.find("\r\n\r\n")) == std::string::npos) {
    if (!receiveMore(connection, wake, &text)) {
      return false;
    }
  }
  const size_t firstLine = text.find("\r\n");
  const size_t afterMethod = text.find(' ');
  const size_t afterPath = text.find(' ', afterMethod + 1);
  request->method = text.substr(0, afterMethod);
  request->path = text.substr(afterMethod + 1, afterPath - afterMethod - 1);
  request->headers = text.substr(firstLine, end + 2 - firstLine);
  request->body = text.substr(end + 4);
  const size_t length = contentLength(request->headers);
  while (request->body.size() < length) {
    if (!receiveMore(connection, wake, &request->body)) {
      return false;
    }
  }
  return true;
}

void sendAll(int connection, const std::string &text) {
  for (size_t sent = 0; sent < text.size();) {
    // The client may have gone: no signal then.
    const ssize_t step = send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (step <= 0) {
      return;
    }
    sent += static_cast<size_t>(step);
  }
}

std::string replyText(const HttpReply &reply) {
  const int64_t own = static_cast<int64_t>(reply.body.size());
  const std::string length =
      reply.announced == kUnannounced
          ? ""
          : "Content-Length: " + std::to_string(reply.announced < 0 ? own : reply.announced) +
                "\r\n";
  return "HTTP/1.0 " + std::to_string(reply.status) + " Test\r\n" + length +
         "Connection: close\r\n" + reply.headers + "\r\n" + reply.body;
}

}  // namespace

HttpServer::HttpServer(Handler handler, uint16_t port) : handler_(std::move(handler)) {
  std::array<int, 2> ends{};
  check(pipe(ends.data()) == 0, "pipe");
  wakeRead_ = ends[0];
  wakeWrite_ = ends[1];
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  const int reuse = 1;
  setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
  socklen_t size = sizeof address;
  auto *generic = reinterpret_cast<sockaddr *>(&address);
  check(bind(listener_, generic, size) == 0 && listen(listener_, 16) == 0 &&
            getsockname(listener_, generic, &size) == 0,
        "listen");
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

HttpServer::~HttpServer() {
  close(wakeWrite_);  // the other end reads as ended from now on
  thread_.join();
  close(wakeRead_);
  close(listener_);
}

std::string HttpServer::url(const std::string &path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void HttpServer::serve() {
  while (waitFor(listener_, wakeRead_)) {
    const int connection = accept(listener_, nullptr, nullptr);
    if (connection >= 0) {
      answer(connection);
      close(connection);
    }
  }
}

void HttpServer::answer(int connection) {
  HttpRequest request;
  if (!readRequest(connection, wakeRead_, &request)) {
    return;
  }
  ++requests_;
  const HttpReply reply = handler_(request);
  if (!reply.silent) {
    sendAll(connection, replyText(reply));
    return;
  }
  std::string ignored;
  while (receiveMore(connection, wakeRead_, &ignored)) {
  }
}

}  // namespace talvo::test
