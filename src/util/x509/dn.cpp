// Distinguished names over X509_NAME. Text is matched by building a second name from it and letting
// X509_NAME_cmp compare canonical encodings, which is where case, blanks and string types stop to
// matter.
#include <algorithm>
#include <array>
#include <cassert>
#include <limits>
#include <string>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/objects.h>

#include "base/boundary.h"
#include "base/memory.h"
#include "util/x509/dn_text.h"
#include "util/x509/objects.h"

namespace talvo::util {
namespace {

constexpr char kSource[] = "dn";

struct AttributeName {
  std::string_view name;  // in upper case
  int nid;
};

// The names that signing software writes; others that OpenSSL knows are understood in OpenSSL's own
// spelling.
constexpr std::array kAttributeNames = {
    AttributeName{"C", NID_countryName},
    AttributeName{"CN", NID_commonName},
    AttributeName{"DC", NID_domainComponent},
    AttributeName{"DNQ", NID_dnQualifier},
    AttributeName{"DNQUALIFIER", NID_dnQualifier},
    AttributeName{"E", NID_pkcs9_emailAddress},
    AttributeName{"EMAIL", NID_pkcs9_emailAddress},
    AttributeName{"EMAILADDRESS", NID_pkcs9_emailAddress},
    AttributeName{"G", NID_givenName},
    AttributeName{"GENERATION", NID_generationQualifier},
    AttributeName{"GIVENNAME", NID_givenName},
    AttributeName{"GN", NID_givenName},
    AttributeName{"I", NID_initials},
    AttributeName{"INITIALS", NID_initials},
    AttributeName{"L", NID_localityName},
    AttributeName{"O", NID_organizationName},
    AttributeName{"ORGANIZATIONIDENTIFIER", NID_organizationIdentifier},
    AttributeName{"OU", NID_organizationalUnitName},
    AttributeName{"POSTALCODE", NID_postalCode},
    AttributeName{"PSEUDONYM", NID_pseudonym},
    AttributeName{"S", NID_stateOrProvinceName},
    AttributeName{"SERIALNUMBER", NID_serialNumber},
    AttributeName{"SN", NID_surname},
    AttributeName{"SP", NID_stateOrProvinceName},
    AttributeName{"ST", NID_stateOrProvinceName},
    AttributeName{"STREET", NID_streetAddress},
    AttributeName{"SURNAME", NID_surname},
    AttributeName{"T", NID_title},
    AttributeName{"TITLE", NID_title},
    AttributeName{"UID", NID_userId},
};

// Where X509_NAME_add_entry puts an attribute that is added behind the others.
constexpr int kNewPart = 0;
constexpr int kSamePart = -1;

using ObjectId = Handle<ASN1_OBJECT, ASN1_OBJECT_free>;
using AnyValue = Handle<ASN1_TYPE, ASN1_TYPE_free>;
using NameEntry = Handle<X509_NAME_ENTRY, X509_NAME_ENTRY_free>;
using MemoryBio = Handle<BIO, BIO_free_all>;

std::string upperCase(std::string_view text) {
  std::string upper(text);
  for (char &character : upper) {
    if (character >= 'a' && character <= 'z') {
      character = static_cast<char>(character - 'a' + 'A');
    }
  }
  return upper;
}

ObjectId objectOf(std::string_view type) {
  const std::string upper = upperCase(type);
  for (const AttributeName &row : kAttributeNames) {
    if (row.name == upper) {
      return ObjectId(OBJ_nid2obj(row.nid));
    }
  }
  const bool hasPrefix = upper.starts_with("OID.");
  return ObjectId(OBJ_txt2obj(std::string(type.substr(hasPrefix ? 4 : 0)).c_str(), 0));
}

// X509_NAME_cmp brings the common string types to one form but leaves NumericString out, in which
// some authorities write registration numbers.
bool setComparable(X509_NAME_ENTRY *entry, const ASN1_STRING *value) noexcept {
  ASN1_STRING *target = X509_NAME_ENTRY_get_data(entry);
  if (ASN1_STRING_type(value) != V_ASN1_NUMERICSTRING) {
    return ASN1_STRING_copy(target, value) == 1;
  }
  return X509_NAME_ENTRY_set_data(entry, V_ASN1_UTF8STRING, ASN1_STRING_get0_data(value),
                                  ASN1_STRING_length(value)) == 1;
}

// The value is set directly rather than by OpenSSL's function for text, which applies length limits
// per attribute that certificates in use exceed.
bool setText(X509_NAME_ENTRY *entry, const std::string &text) noexcept {
  return X509_NAME_ENTRY_set_data(entry, V_ASN1_UTF8STRING,
                                  reinterpret_cast<const uint8_t *>(text.data()),
                                  static_cast<int>(text.size())) == 1;
}

bool setDer(X509_NAME_ENTRY *entry, const std::string &der) noexcept {
  const auto *next = reinterpret_cast<const uint8_t *>(der.data());
  const uint8_t *const end = next + der.size();
  const AnyValue value(d2i_ASN1_TYPE(nullptr, &next, static_cast<long>(der.size())));
  if (!value || next != end) {
    return false;
  }
  // Only these can stand in a name at all; of some other types ASN1_TYPE keeps no string.
  constexpr unsigned long kNameTypes = B_ASN1_PRINTABLE;
  if ((ASN1_tag2bit(ASN1_TYPE_get(value.get())) & kNameTypes) == 0) {
    return false;
  }
  return setComparable(entry, value->value.asn1_string);
}

NameEntry entryOf(const DnAttribute &attribute) {
  if (attribute.value.size() > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return nullptr;
  }
  const ObjectId object = objectOf(attribute.type);
  NameEntry entry(X509_NAME_ENTRY_new());
  if (!object || !entry || X509_NAME_ENTRY_set_object(entry.get(), object.get()) != 1) {
    return nullptr;
  }
  const bool isSet = attribute.isDer ? setDer(entry.get(), attribute.value)
                                     : setText(entry.get(), attribute.value);
  return isSet ? std::move(entry) : nullptr;
}

bool addPart(X509_NAME *name, const DnPart &part) {
  assert(!part.empty());
  int place = kNewPart;
  for (const DnAttribute &attribute : part) {
    const NameEntry entry = entryOf(attribute);
    if (!entry || X509_NAME_add_entry(name, entry.get(), -1, place) != 1) {
      return false;
    }
    place = kSamePart;
  }
  return true;
}

X509Name nameOf(const std::vector<DnPart> &parts) {
  X509Name name(X509_NAME_new());
  const bool isBuilt = name && std::all_of(parts.begin(), parts.end(), [&](const DnPart &part) {
                         return addPart(name.get(), part);
                       });
  return isBuilt ? std::move(name) : nullptr;
}

// A copy of a name that was read, made comparable.
X509Name comparable(const X509_NAME *name) noexcept {
  assert(name != nullptr);
  X509Name copy(X509_NAME_new());
  int lastPart = -1;
  for (int i = 0; copy && i < X509_NAME_entry_count(name); ++i) {
    const X509_NAME_ENTRY *original = X509_NAME_get_entry(name, i);
    const NameEntry entry(X509_NAME_ENTRY_dup(original));
    const int part = X509_NAME_ENTRY_set(original);
    if (!entry || !setComparable(entry.get(), X509_NAME_ENTRY_get_data(original)) ||
        X509_NAME_add_entry(copy.get(), entry.get(), -1, part == lastPart ? kSamePart : kNewPart) !=
            1) {
      return nullptr;
    }
    lastPart = part;
  }
  return copy;
}

// Text starts with the most specific part and DER with the most general one, so the reverse order
// is the likely one.
bool matches(const X509_NAME *name, std::string_view text) {
  std::vector<DnPart> parts;
  const X509Name wanted = comparable(name);
  if (!wanted || !parseDnText(text, parts)) {
    return false;
  }
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::reverse(parts.begin(), parts.end());
    const X509Name candidate = nameOf(parts);
    if (!candidate) {
      return false;
    }
    if (X509_NAME_cmp(wanted.get(), candidate.get()) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace
}  // namespace talvo::util

using namespace talvo;
using namespace talvo::util;

talvo_cert_dn *talvo_cert_dn_new(const void *der, size_t length) noexcept {
  if (der == nullptr || length > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  const auto *next = static_cast<const uint8_t *>(der);
  const uint8_t *const end = next + length;
  X509Name name(d2i_X509_NAME(nullptr, &next, static_cast<long>(length)));
  if (!name || next != end) {
    return nullptr;
  }
  return make<talvo_cert_dn>(kSource, std::move(name)).release();
}

void talvo_cert_dn_free(talvo_cert_dn *dn) noexcept {
  destroy(dn);
}

talvo_ustring *talvo_cert_dn_getldapstring(const talvo_cert_dn *dn, int32_t form) noexcept {
  if (dn == nullptr || form != TALVO_DN_RFC4514) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  constexpr unsigned long kUnescapedUtf8 =
      XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
  const MemoryBio text(BIO_new(BIO_s_mem()));
  if (!text || X509_NAME_print_ex(text.get(), dn->name.get(), 0, kUnescapedUtf8) < 0) {
    return nullptr;
  }
  char *characters = nullptr;
  const long length = BIO_get_mem_data(text.get(), &characters);
  return talvo_ustring_newutf8(characters, static_cast<size_t>(length));
}

int32_t talvo_cert_dn_matchldapstring(const talvo_cert_dn *dn, const char *text,
                                      size_t length) noexcept {
  if (dn == nullptr || text == nullptr) {
    return 0;
  }
  return guard([&]() -> int32_t {
    const ErrorQueueScope errors;
    return matches(dn->name.get(), std::string_view(text, length)) ? 1 : 0;
  });
}
