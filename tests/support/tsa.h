// A time-stamp authority on 127.0.0.1, made of OpenSSL's responder and the loopback HTTP server.
#pragma once

#include <string>

#include "support/http_server.h"
#include "support/keys.h"

namespace talvo::test {

enum class TsaMode {
  granted,
  grantedWithMods,
  rejected,       // status 2, no token
  wrongImprint,   // stamps something else
  wrongNonce,     // answers another request
  noCertificate,  // leaves the signer's certificate out
  httpError,      // status 500 with a good answer as body
  garbage,
  cutShort,
  silent
};

class TimeStampAuthority {
 public:
  // `authorityKind` is the kind of the root that issued the authority's RSA certificate.
  explicit TimeStampAuthority(TsaMode mode = TsaMode::granted,
                              KeyKind authorityKind = KeyKind::p256);

  std::string url() const { return server_.url("/tsa"); }
  int requests() const { return server_.requests(); }
  const Identity &root() const { return root_; }
  const Identity &signer() const { return signer_; }

 private:
  HttpReply answer(const HttpRequest &request) const;
  std::string respond(const std::string &query) const;

  TsaMode mode_;
  Identity root_;
  Identity signer_;
  HttpServer server_;  // last: its thread uses the others
};

// The token's content signed again, by any identity with an RSA key.
std::string signTokenAgain(const std::string &token, const Identity &signer);

}  // namespace talvo::test
