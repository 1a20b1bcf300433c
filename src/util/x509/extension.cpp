// One extension of a certificate or CRL.
#include <array>

#include <openssl/asn1.h>
#include <openssl/objects.h>

#include "base/memory.h"
#include "util/x509/objects.h"

using namespace talvo;
using namespace talvo::util;

namespace {

using Integer = Handle<ASN1_INTEGER, ASN1_INTEGER_free>;

// OpenSSL refuses longer identifiers when it decodes them.
constexpr size_t kOidCapacity = 1024;

}  // namespace

void talvo_cert_extension_free(talvo_cert_extension *extension) noexcept {
  destroy(extension);
}

talvo_ustring *talvo_cert_extension_getoid(const talvo_cert_extension *extension) noexcept {
  if (extension == nullptr) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  std::array<char, kOidCapacity> text;
  const ASN1_OBJECT *object = X509_EXTENSION_get_object(extension->extension.get());
  const int length = OBJ_obj2txt(text.data(), static_cast<int>(text.size()), object, 1);
  if (length <= 0 || static_cast<size_t>(length) >= text.size()) {
    return nullptr;
  }
  return talvo_ustring_newutf8(text.data(), static_cast<size_t>(length));
}

talvo_biginteger *talvo_cert_extension_getinteger(const talvo_cert_extension *extension) noexcept {
  if (extension == nullptr) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  const ASN1_OCTET_STRING *value = X509_EXTENSION_get_data(extension->extension.get());
  const uint8_t *const der = ASN1_STRING_get0_data(value);
  const uint8_t *end = der;
  const long size = ASN1_STRING_length(value);
  const Integer integer(d2i_ASN1_INTEGER(nullptr, &end, size));
  if (!integer || end != der + size) {
    return nullptr;
  }
  // The octets of a DER integer are the two's complement that the big integer reads; what had to be
  // checked about them was their form.
  const uint8_t *octets = der;
  long length = 0;
  int tag = 0;
  int tagClass = 0;
  if ((ASN1_get_object(&octets, &length, &tag, &tagClass, size) & 0x80) != 0) {
    return nullptr;
  }
  return talvo_biginteger_newsigneddata(octets, static_cast<size_t>(length));
}
