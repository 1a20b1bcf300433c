// The only file that knows libcurl. Everything a document or a server could use to lead a request
// astray is switched off: other schemes, proxies from the environment, password files, endless
// bodies and endless waiting. Cookies, HSTS and other state do not exist: each request has a handle
// of its own.
#include "crypto/http.h"

#include <algorithm>
#include <cassert>

#include <curl/curl.h>

#include "talvo_crypto.h"

#include "util/openssl.h"

namespace talvo::crypto {

namespace {

constexpr char kProtocols[] = "http,https";
constexpr long kMaxRedirects = 5;
constexpr size_t kFirstCapacity = 16384;

using Curl = Handle<CURL, curl_easy_cleanup>;
using HeaderList = Handle<curl_slist, curl_slist_free_all>;

// A body that grows up to its limit. It is held once: the room that the server announces is taken
// at the start, and where nothing is announced the block is enlarged, which large ones are without
// a copy.
class Body {
 public:
  Body(CURL *curl, size_t limit) noexcept : curl_(curl), limit_(limit) {}

  bool append(Bytes bytes) noexcept {
    assert(octets_.length <= limit_);
    if (bytes.size() > limit_ - octets_.length || !makeRoom(octets_.length + bytes.size())) {
      return false;
    }
    std::copy(bytes.begin(), bytes.end(), octets_.bytes.get() + octets_.length);
    octets_.length += bytes.size();
    return true;
  }

  // Without the room that is left over; an empty body is a buffer too.
  Octets take() noexcept {
    const bool fits = octets_ && capacity_ == octets_.length;
    return fits || resize(kSource, octets_.bytes, octets_.length) ? std::move(octets_) : Octets();
  }

 private:
  bool makeRoom(size_t length) noexcept {
    if (length <= capacity_) {
      return true;
    }
    const size_t wanted = std::max(length, octets_ ? 2 * capacity_ : announced());
    if (!resize(kSource, octets_.bytes, wanted)) {
      return false;
    }
    capacity_ = wanted;
    return true;
  }

  // libcurl has refused an announced length above the limit.
  size_t announced() const noexcept {
    curl_off_t length = -1;
    curl_easy_getinfo(curl_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    return length < 0 ? kFirstCapacity : std::min(static_cast<size_t>(length), limit_);
  }

  CURL *curl_;
  Octets octets_;
  size_t capacity_ = 0;
  size_t limit_;
};

// Taking fewer bytes than offered ends the transfer.
extern "C" size_t receive(char *bytes, size_t, size_t length, void *body) noexcept {
  return static_cast<Body *>(body)->append(bytesAt(bytes, length)) ? length : 0;
}

bool startLibrary() noexcept {
  static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
  return started == CURLE_OK;
}

// libcurl would guess a scheme from the name of the host.
bool hasScheme(std::string_view url) noexcept {
  const std::string_view start = url.substr(0, url.find(':'));
  for (std::string_view scheme : {"http", "https"}) {
    const auto same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; };
    if (std::equal(start.begin(), start.end(), scheme.begin(), scheme.end(), same)) {
      return true;
    }
  }
  return false;
}

template <class Value>
bool set(CURL *curl, CURLoption option, Value value) noexcept {
  return curl_easy_setopt(curl, option, value) == CURLE_OK;
}

bool setLimits(CURL *curl, const HttpOptions &options) noexcept {
  return set(curl, CURLOPT_NOSIGNAL, 1L) &&  // signals belong to the host application
         set(curl, CURLOPT_PROTOCOLS_STR, kProtocols) &&
         set(curl, CURLOPT_REDIR_PROTOCOLS_STR, kProtocols) &&
         set(curl, CURLOPT_FOLLOWLOCATION, 1L) && set(curl, CURLOPT_MAXREDIRS, kMaxRedirects) &&
         set(curl, CURLOPT_CONNECTTIMEOUT_MS, options.connectMilliseconds) &&
         set(curl, CURLOPT_TIMEOUT_MS, options.totalMilliseconds) &&
         set(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.bodyLimit)) &&
         set(curl, CURLOPT_PROXY, "") && set(curl, CURLOPT_NOPROXY, "*") &&
         set(curl, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED)) &&
         set(curl, CURLOPT_SSL_VERIFYPEER, 1L) && set(curl, CURLOPT_SSL_VERIFYHOST, 2L) &&
         (options.authorities == nullptr || set(curl, CURLOPT_CAINFO, options.authorities));
}

HttpAnswer perform(CURL *curl, const char *url, const HttpOptions &options) noexcept {
  Body body(curl, options.bodyLimit);
  if (!setLimits(curl, options) || !set(curl, CURLOPT_URL, url) ||
      !set(curl, CURLOPT_WRITEFUNCTION, receive) || !set(curl, CURLOPT_WRITEDATA, &body) ||
      curl_easy_perform(curl) != CURLE_OK) {
    return {};
  }
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  return {body.take(), static_cast<int32_t>(status)};
}

Curl newHandle(const char *url) noexcept {
  return Curl(url != nullptr && hasScheme(url) && startLibrary() ? curl_easy_init() : nullptr);
}

}  // namespace

HttpAnswer httpGet(const char *url, const HttpOptions &options) noexcept {
  const Curl curl = newHandle(url);
  return curl ? perform(curl.get(), url, options) : HttpAnswer();
}

HttpAnswer httpPost(const char *url, const char *contentType, Bytes content,
                    const HttpOptions &options) noexcept {
  const Curl curl = newHandle(url);
  const HeaderList headers(curl_slist_append(nullptr, contentType));
  if (!curl || !headers || !set(curl.get(), CURLOPT_HTTPHEADER, headers.get()) ||
      !set(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(content.size())) ||
      !set(curl.get(), CURLOPT_POSTFIELDS, content.data())) {
    return {};
  }
  return perform(curl.get(), url, options);
}

}  // namespace talvo::crypto

using namespace talvo;
using namespace talvo::crypto;

int32_t TalvoPKICryptoHttpGet(const char *url, uint8_t **body, size_t *length,
                              int32_t *status) noexcept {
  if (url == nullptr || body == nullptr || length == nullptr || status == nullptr) {
    return 0;
  }
  util::ErrorQueueScope errors;  // libcurl's TLS is OpenSSL
  HttpAnswer answer = httpGet(url);
  if (!answer) {
    return 0;
  }
  *status = answer.status;
  return handOut(std::move(answer.body), body, length);
}
