// HTTP within its limits, against a server on this machine.
#include "crypto/http.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#include <gtest/gtest.h>

#include "talvo_crypto.h"

#include "support/every_allocation_fails.h"
#include "support/http_server.h"
#include "support/keys.h"
#include "support/memory_test.h"
#include "support/tsa.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

using namespace crypto;

class HttpTest : public MemoryTest {};

HttpReply redirect(const std::string &target) {
  return {.status = 302, .headers = "Location: " + target + "\r\n"};
}

// "/redirect/N" leads through N redirects to "/".
HttpReply answerTo(const HttpRequest &request) {
  if (request.path.starts_with("/redirect/")) {
    const int left = std::stoi(request.path.substr(10));
    return redirect(left == 1 ? "/" : "/redirect/" + std::to_string(left - 1));
  }
  if (request.path == "/file") {
    return redirect("file:///etc/passwd");
  }
  if (request.path == "/ftp") {
    return redirect("ftp://127.0.0.1/x");
  }
  if (request.path == "/missing") {
    return {.status = 404, .body = "no such thing"};
  }
  if (request.path == "/empty") {
    return {};
  }
  if (request.path == "/silent") {
    return {.silent = true};
  }
  if (request.path == "/short") {
    return {.body = "four", .announced = 5};
  }
  if (request.path.starts_with("/unannounced/")) {
    return {.body = std::string(std::stoul(request.path.substr(13)), 'x'),
            .announced = kUnannounced};
  }
  if (request.path.starts_with("/large/")) {
    return {.body = std::string(std::stoul(request.path.substr(7)), 'x')};
  }
  return {.body = request.method + " " + request.body};
}

struct Expected {
  const char *path;
  bool complete;
  int32_t status;
  std::string_view body;
};

TEST_F(HttpTest, OnlyCompleteAnswersCount) {
  const HttpServer server(answerTo);
  for (const Expected &expected : {Expected{"/", true, 200, "GET "},
                                   {"/missing", true, 404, "no such thing"},
                                   {"/empty", true, 200, ""},
                                   {"/redirect/1", true, 200, "GET "},
                                   {"/redirect/5", true, 200, "GET "},
                                   {"/redirect/6", false, 0, ""},
                                   {"/file", false, 0, ""},
                                   {"/ftp", false, 0, ""},
                                   {"/short", false, 0, ""}}) {
    SCOPED_TRACE(expected.path);
    uint8_t *body = nullptr;
    size_t length = 0;
    int32_t status = 0;
    const int32_t complete =
        TalvoPKICryptoHttpGet(server.url(expected.path).c_str(), &body, &length, &status);
    const CryptoBytes owned(body);
    EXPECT_EQ(complete, expected.complete ? 1 : 0);
    EXPECT_EQ(status, expected.status);
    EXPECT_EQ(textOf({body, length}), expected.body);
  }
}

TEST_F(HttpTest, OnlyHttpAndHttpsAreEverTried) {
  const HttpServer server(answerTo);
  const std::string host = "127.0.0.1:" + std::to_string(server.port()) + "/";
  for (const std::string &url :
       {std::string("file:///etc/passwd"), "ftp://" + host, host, "gopher://" + host, std::string(),
        std::string("http:"), "dict://" + host}) {
    EXPECT_FALSE(httpGet(url.c_str())) << url;
  }
  EXPECT_EQ(server.requests(), 0);
  EXPECT_TRUE(httpGet(("HTTP://" + host).c_str()));
}

TEST_F(HttpTest, BodiesEndAtTheLimit) {
  const HttpServer server(answerTo);
  constexpr size_t kLimit = 200'000;
  const HttpOptions options{.bodyLimit = kLimit};
  for (const std::string path : {"/large/", "/unannounced/"}) {
    EXPECT_EQ(httpGet(server.url(path + "200000").c_str(), options).body.length, kLimit);
    EXPECT_FALSE(httpGet(server.url(path + "200001").c_str(), options));
  }
}

TEST_F(HttpTest, BodiesAreHeldOnce) {
  const HttpServer server(answerTo);
  const int64_t before = talvo_memory_getlivebytes();
  for (const char *path : {"/large/100000", "/unannounced/100000"}) {
    const HttpAnswer answer = httpGet(server.url(path).c_str());
    EXPECT_EQ(talvo_memory_getlivebytes(), before + 100'000) << path;
  }
  // An announced one is one block from the start.
  talvo_memory_setfailafter(1);
  EXPECT_TRUE(httpGet(server.url("/large/100000").c_str()));
  EXPECT_EQ(talvo_memory_hasfailed(), 0);
  talvo_memory_setfailafter(-1);
}

TEST_F(HttpTest, GivesUpOnASilentServer) {
  const HttpServer server(answerTo);
  const HttpOptions options{.totalMilliseconds = 50};
  EXPECT_FALSE(httpGet(server.url("/silent").c_str(), options));
}

TEST_F(HttpTest, GivesUpOnASilentTimeStampAuthority) {
  const TimeStampAuthority authority(TsaMode::silent);
  const HttpOptions options{.totalMilliseconds = 50};
  const uint8_t query[] = {0x30, 0x00};
  EXPECT_FALSE(httpPost(authority.url().c_str(), "application/timestamp-query", query, options));
}

TEST_F(HttpTest, IgnoresTheProxyEnvironment) {
  const HttpServer server(answerTo);
  const HttpServer proxy([](const HttpRequest &) { return HttpReply{.body = "proxy"}; });
  setenv("http_proxy", proxy.url().c_str(), 1);
  const HttpAnswer answer = httpGet(server.url().c_str());
  unsetenv("http_proxy");
  EXPECT_EQ(textOf(answer.body.view()), "GET ");
  EXPECT_EQ(proxy.requests(), 0);
}

TEST_F(HttpTest, PostsWithTheGivenType) {
  std::string headers;
  const HttpServer server([&headers](const HttpRequest &request) {
    headers = request.headers;
    return answerTo(request);
  });
  const std::string_view content("a\0b", 3);
  const HttpAnswer answer =
      httpPost(server.url().c_str(), "Content-Type: application/timestamp-query",
               bytesAt(content.data(), content.size()));
  EXPECT_EQ(textOf(answer.body.view()), "POST " + std::string(content));
  EXPECT_NE(headers.find("Content-Type: application/timestamp-query\r\n"), std::string::npos);
}

// openssl's own server, on a port that it chooses and prints.
class TlsServer {
 public:
  explicit TlsServer(const Workshop &workshop) {
    EXPECT_TRUE(
        workshop.run("openssl req -x509 -newkey rsa:2048 -nodes -keyout key -out cert "
                     "-subj /CN=test -addext subjectAltName=IP:127.0.0.1"))
        << workshop.read("log");
    output_ = popen(("cd '" + workshop.path("") +
                     "' && echo $$ && exec openssl s_server -accept "
                     "127.0.0.1:0 -key key -cert cert -www </dev/null 2>&1")
                        .c_str(),
                    "r");
    process_ = std::stoi(line());
    for (std::string text = line(); !text.empty(); text = line()) {
      if (text.starts_with("ACCEPT ")) {
        address_ = text.substr(7, text.size() - 8);
        return;
      }
    }
  }
  ~TlsServer() {
    kill(process_, SIGTERM);
    pclose(output_);
  }
  TlsServer(const TlsServer &) = delete;
  TlsServer &operator=(const TlsServer &) = delete;

  std::string url() const { return "https://" + address_ + "/"; }

 private:
  std::string line() {
    char text[256] = "";
    return fgets(text, sizeof text, output_) == nullptr ? "" : text;
  }

  FILE *output_ = nullptr;
  int process_ = 0;
  std::string address_;
};

TEST_F(HttpTest, ChecksTheCertificateOfTheServer) {
  const Workshop workshop;
  const TlsServer server(workshop);
  EXPECT_FALSE(httpGet(server.url().c_str()));
  const std::string authorities = workshop.path("cert");
  const HttpAnswer answer = httpGet(server.url().c_str(), {.authorities = authorities.c_str()});
  EXPECT_EQ(answer.status, 200);
}

TEST_F(HttpTest, SurvivesExhaustedMemory) {
  const HttpServer server(answerTo);
  const std::string url = server.url("/unannounced/100000");
  everyAllocationFails([&] { return bool(httpGet(url.c_str())); });
}

}  // namespace
}  // namespace talvo::test
