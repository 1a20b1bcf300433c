// Keys on PKCS #11 tokens. OpenSSL 3.0 reaches them only through an engine (libp11's "pkcs11"),
// which is why this one file uses the interface that OpenSSL calls deprecated. The engine stays
// loaded: its keys need it as long as they live.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <cassert>
#include <mutex>
#include <string>

#include <openssl/engine.h>
#include <openssl/ui.h>

#include "base/boundary.h"
#include "crypto/open.h"

namespace talvo::crypto {

namespace {

constexpr char kEngine[] = "pkcs11";

constinit std::mutex g_mutex;
constinit ENGINE *g_engine = nullptr;

using EngineReference = Handle<ENGINE, ENGINE_free>;
using UiMethod = Handle<UI_METHOD, UI_destroy_method>;

// The engine asks for a PIN that the URI does not hold. An empty answer would count as a failed
// attempt on the token; refusing to answer does not.
extern "C" int refusePin(char *, int, int, void *) noexcept {
  return -1;
}

// Without "QUIET" the engine prints the URI of a key that it cannot find, with the PIN in it.
ENGINE *tokenEngine() noexcept {
  if (g_engine == nullptr) {
    OPENSSL_init_crypto(OPENSSL_INIT_ENGINE_DYNAMIC, nullptr);
    const EngineReference engine(ENGINE_by_id(kEngine));
    if (engine && ENGINE_ctrl_cmd_string(engine.get(), "QUIET", nullptr, 0) == 1 &&
        ENGINE_init(engine.get()) == 1) {
      g_engine = engine.get();
    }
  }
  return g_engine;
}

void appendEncoded(std::string *text, std::string_view value) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (char character : value) {
    const auto byte = static_cast<unsigned char>(character);
    *text += '%';
    *text += kDigits[byte >> 4U];
    *text += kDigits[byte & 0xfU];
  }
}

// The engine has one PIN for all its keys; in the URI (RFC 7512) it belongs to this key alone.
std::string withPin(std::string_view uri, const char *pin) {
  std::string text(uri.substr(0, uri.find_first_of(std::string_view("\0\r\n", 3))));
  if (pin != nullptr && text.find("pin-value=") == std::string::npos) {
    text += text.find('?') == std::string::npos ? '?' : '&';
    text += "pin-value=";
    appendEncoded(&text, pin);
  }
  return text;
}

Key loadKey(std::string_view uri, const char *pin, OpenReason *reason) {
  assert(uri.starts_with("pkcs11:"));
  std::string text = withPin(uri, pin);
  const UiMethod silent(UI_UTIL_wrap_read_pem_callback(refusePin, 0));
  const std::lock_guard lock(g_mutex);
  ENGINE *engine = tokenEngine();
  if (engine == nullptr || !silent) {
    *reason = OpenReason::tokenUnavailable;
    return {};
  }
  Key key = makeKey(EvpKey(ENGINE_load_private_key(engine, text.c_str(), silent.get(), nullptr)));
  // A wrong PIN and a missing key look alike to the engine.
  *reason = pin == nullptr ? OpenReason::passwordMissing : OpenReason::noKey;
  OPENSSL_cleanse(text.data(), text.size());
  return key;
}

}  // namespace

Key openTokenKey(std::string_view uri, const char *pin, OpenReason *reason) noexcept {
  *reason = OpenReason::outOfMemory;
  return guard([&] { return loadKey(uri, pin, reason); });
}

}  // namespace talvo::crypto
