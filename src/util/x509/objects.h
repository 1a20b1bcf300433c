// What stands behind the handles of names, extensions and CRLs: one object of OpenSSL each.
#pragma once

#include <openssl/x509.h>

#include "util/openssl.h"

namespace talvo::util {

using X509Name = Handle<X509_NAME, X509_NAME_free>;
using X509Extension = Handle<X509_EXTENSION, X509_EXTENSION_free>;
using X509Crl = Handle<X509_CRL, X509_CRL_free>;

}  // namespace talvo::util

struct talvo_cert_dn {
  talvo::util::X509Name name;
};

struct talvo_cert_extension {
  talvo::util::X509Extension extension;
};

struct talvo_crl {
  talvo::util::X509Crl crl;
};
