// One reader for three questions: the context, the parameters of the entry point, and what is wrong
// with the document. It stops at the first thing that is wrong and complains about it where
// somebody listens.
#include "signature/context/json_params.h"

#include <strings.h>

#include "base/boundary.h"
#include "base/utf8.h"
#include "signature/context/copy.h"
#include "signature/context/json_names.h"
#include "signature/vocabulary/algorithm.h"

namespace {

using namespace talvo;

// Deliberate: a prefix list that is missing or malformed is no error here, unlike beside
// "C14NAlgo"; the transform then has none, and cannot be run.
TransformContext readExclusiveTransform(const JsonValue &transform, int32_t algorithm) {
  List prefixes;
  JsonReading unheard;
  readStrings(transform.as(unheard).member("TransformParam"), prefixes);
  if (unheard.isExhausted) {
    return nullptr;
  }
  return TransformContext(talvo_xml_signature_transformctx_new(algorithm, prefixes.get()));
}

TransformContext readXPathTransform(const JsonValue &transform, int32_t algorithm) {
  const JsonValue parameter = transform.member("TransformParam");
  if (!parameter.is(TALVO_JSON_STRING)) {
    parameter.complain([] { return "expected a string with an XPath expression"; });
    return nullptr;
  }
  const std::string_view text = parameter.text();
  const UString expression = makeString(text.substr(0, text.find('\0')));
  return TransformContext(talvo_xml_signature_transformctx_new(algorithm, expression.get()));
}

TransformContext readTransform(const JsonValue &transform) {
  int32_t algorithm = 0;
  if (!readName(transform.member("TransformAlgo"), kTransformNames, algorithm)) {
    return nullptr;
  }
  if (isExclusive(algorithm)) {
    return readExclusiveTransform(transform, algorithm);
  }
  if (algorithm == TALVO_TRANSFORM_XPATH) {
    return readXPathTransform(transform, algorithm);
  }
  return TransformContext(talvo_xml_signature_transformctx_new(algorithm, nullptr));
}

// A new list that owns what `readItem` makes of each item.
template <class Context, class ReadItem>
List readList(const JsonValue &array, ReadItem readItem) {
  List list(talvo_arraylist_new(nullptr, releaseCounted<Context>));
  for (int32_t i = 0; i < array.count(); ++i) {
    if (!append(list, readItem(array.item(i)))) {
      return nullptr;
    }
  }
  return list;
}

bool readTransforms(const JsonValue &transforms, List &out) {
  if (!transforms.isPresent()) {
    return true;
  }
  if (!readArray(transforms, "transform")) {
    return false;
  }
  out = readList<TransformCtx>(transforms, readTransform);
  return out != nullptr;
}

// A digest that stands ready must be as long as its algorithm makes it.
bool readHashValue(const JsonValue &value, const DigestAlgorithm &algorithm, Blob &out) {
  if (!value.isPresent()) {
    return true;
  }
  const std::string_view digits = value.text();
  uint8_t *bytes = nullptr;
  size_t length = 0;
  const bool decoded = talvo_hex_decode(digits.data(), digits.size(), &bytes, &length) == 1;
  const ByteBuffer owned(decoded ? bytes : nullptr);
  if (!decoded || length != algorithm.length) {
    return value.complain([&] {
      return "expected a string of " + std::to_string(algorithm.length * 2) + " hexadecimal digits";
    });
  }
  out.reset(talvo_data_blob_new(bytes, length));
  return out != nullptr;
}

ReferenceContext readReference(const JsonValue &reference) {
  int32_t digestMethod = 0;
  Blob digest;
  UString id;
  UString uri;
  UString type;
  List transforms;
  if (!readName(reference.member("HashAlgo"), kDigestNames, digestMethod) ||
      !readHashValue(reference.member("HashValue"), *digestByNumber(digestMethod), digest) ||
      !reference.member("Id").readOptional(id) || !reference.member("URI").read(uri) ||
      !reference.member("Type").readOptional(type) ||
      !readTransforms(reference.member("Transforms"), transforms)) {
    return nullptr;
  }
  ReferenceContext context(italvo_xml_signature_referencectx_newwithhash(
      static_cast<uint32_t>(digestMethod), digest != nullptr, digest.get(), id.get(), uri.get(),
      type.get(), transforms.get(), nullptr));
  if (!context) {
    reference.member("URI").complain([] { return "expected text that can be written as a URI"; });
  }
  return context;
}

SignedInfoContext readMethods(const JsonValue &document) {
  int32_t c14nMethod = 0;
  int32_t signatureMethod = 0;
  List prefixes;
  const JsonValue references = document.member("References");
  if (!readC14n(document, c14nMethod, prefixes) ||
      !readName(document.member("SignAlgo"), kSignatureNames, signatureMethod) ||
      !readArray(references, "reference")) {
    return nullptr;
  }
  const List contexts = readList<ReferenceCtx>(references, readReference);
  return SignedInfoContext(talvo_xml_signature_signedinfoctx_new(
      nullptr, static_cast<uint32_t>(c14nMethod), prefixes.get(), signatureMethod, contexts.get()));
}

using IdSetter = int32_t (*)(SignedInfoCtx *, const talvo_ustring *) noexcept;

bool readId(const JsonValue &value, IdSetter set, SignedInfoCtx *context) {
  UString id;
  return value.readOptional(id) && (id == nullptr || set(context, id.get()) == 1);
}

bool readSigningTime(const JsonValue &value, SignedInfoCtx *context) {
  if (!value.isPresent()) {
    return true;
  }
  if (!value.is(TALVO_JSON_BOOLEAN)) {
    return value.complain([] { return "expected true or false"; });
  }
  return talvo_xml_signature_signedinfoctx_xades_setusesigningtime(context, value.boolean()) == 1;
}

bool readSigningCertificate(const JsonValue &value, SignedInfoCtx *context) {
  int32_t digestMethod = 0;
  int32_t option = 0;
  return !value.isPresent() ||
         (readName(value.member("HashAlgo"), kDigestNames, digestMethod) &&
          readOption(value.member("IncludeCertOption"), kSignerOptionNames, option) &&
          talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context, digestMethod,
                                                                            option) == 1);
}

// Deliberate: "ProductionPlace" is not looked up, so a production place is only set by its setter.
bool readXades(const JsonValue &xades, SignedInfoCtx *context) {
  if (!xades.isPresent()) {
    return true;
  }
  if (!xades.is(TALVO_JSON_OBJECT)) {
    return xades.complain([] { return "expected an object"; });
  }
  return readSigningTime(xades.member("HasSigningTime"), context) &&
         readId(xades.member("QualifyingPropertiesId"),
                talvo_xml_signature_signedinfoctx_xades_setqualifyingpropertiesid, context) &&
         readId(xades.member("SignedPropertiesId"),
                talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid, context) &&
         readId(xades.member("SignedSignaturePropertiesId"),
                talvo_xml_signature_signedinfoctx_xades_setsignedsignaturepropertiesid, context) &&
         readSigningCertificate(xades.member("SigningCertificate"), context);
}

SignedInfoContext readSignedInfo(const JsonValue &document) {
  SignedInfoContext context = readMethods(document);
  int32_t option = 0;
  if (!context ||
      !readId(document.member("SignatureValueId"),
              talvo_xml_signature_signedinfoctx_setsignaturevalueid, context.get()) ||
      !readXades(document.member("XAdES"), context.get()) ||
      !readOption(document.member("IncludeCertOption"), kCertOptionNames, option) ||
      !talvo_xml_signature_signedinfoctx_setincludecertflag(context.get(), option)) {
    return nullptr;
  }
  return context;
}

// Anything but "offline" allows the network.
uint32_t readDereferenceFlags(const JsonValue &value) noexcept {
  constexpr std::string_view kOffline = "offline";
  const std::string_view text = value.text();
  const bool isOffline =
      text.size() == kOffline.size() && strncasecmp(text.data(), kOffline.data(), text.size()) == 0;
  return isOffline ? 0 : TALVO_DEREFERENCE_NETWORK;
}

bool readEntry(const JsonValue &document, EntryParameters &out) {
  out.basePath = document.member("BasePath").string();
  out.dereferenceFlags = readDereferenceFlags(document.member("DereferenceFlag"));
  return document.member("SignatureId").readOptional(out.signatureId);
}

bool readTimeStamp(const JsonValue &document, TimeStampParameters &out) {
  const JsonValue xades = document.member("XAdES");
  const JsonValue timeStamp = xades.member("SignatureTimeStamp");
  out.isRequested = timeStamp.isPresent();
  if (!out.isRequested) {
    return true;
  }
  return timeStamp.member("Id").readOptional(out.id) &&
         (!timeStamp.member("C14NAlgo").isPresent() ||
          readC14n(timeStamp, out.c14nMethod, out.prefixes)) &&
         timeStamp.member("TSA").read(out.tsa) &&
         readName(timeStamp.member("HashAlgo"), kDigestNames, out.digestMethod);
}

bool readAll(const JsonValue &document) {
  if (!document.is(TALVO_JSON_OBJECT)) {
    return document.complain([] { return "expected an object"; });
  }
  EntryParameters entry;
  TimeStampParameters timeStamp;
  return readSignedInfo(document) != nullptr && readEntry(document, entry) &&
         readTimeStamp(document, timeStamp);
}

// Runs a reader that complains to nobody. False, too, when memory ran out on the way.
template <class Read>
bool readQuietly(const talvo_json *document, Read read) noexcept {
  return guard([&] {
    JsonReading reading;
    return read(JsonValue(document, reading)) && !reading.isExhausted;
  });
}

List readStringsOf(const talvo_json *object, std::string_view key) noexcept {
  List strings;
  readQuietly(object,
              [&](const JsonValue &value) { return readStrings(value.member(key), strings); });
  return strings;
}

// The number that a string names.
int32_t numberIn(const talvo_json *value, const NameTable &table) noexcept {
  JsonReading reading;
  return table.numberOf(JsonValue(value, reading).text());
}

}  // namespace

namespace talvo {

bool readEntryParameters(const talvo_json *parameters, EntryParameters &out) noexcept {
  return readQuietly(parameters,
                     [&](const JsonValue &document) { return readEntry(document, out); });
}

bool readTimeStampParameters(const talvo_json *parameters, TimeStampParameters &out) noexcept {
  return readQuietly(parameters,
                     [&](const JsonValue &document) { return readTimeStamp(document, out); });
}

}  // namespace talvo

SignedInfoCtx *JsonToSignedInfoCtx(const talvo_json *parameters) noexcept {
  SignedInfoContext context;
  const bool read = readQuietly(parameters, [&](const JsonValue &document) {
    context = readSignedInfo(document);
    return context != nullptr;
  });
  return read ? context.release() : nullptr;
}

int32_t GetHashAlgoFromJson(const talvo_json *value) noexcept {
  return numberIn(value, kDigestNames);
}

int32_t GetIncludeCertOptionFromJson(const talvo_json *value) noexcept {
  return numberIn(value, kCertOptionNames);
}

int32_t GetC14NAlgoFromJson(const talvo_json *object, int32_t *method,
                            talvo_arraylist **prefixes) noexcept {
  *prefixes = nullptr;
  const bool read = readQuietly(object, [&](const JsonValue &value) {
    return readName(value.member("C14NAlgo"), kC14nNames, *method);
  });
  if (!read) {
    return 0;
  }
  *prefixes = isExclusive(*method) ? GetC14NParamFromJson(object) : nullptr;
  return 1;
}

talvo_arraylist *GetC14NParamFromJson(const talvo_json *object) noexcept {
  return readStringsOf(object, "C14NParam").release();
}

talvo_arraylist *GetTransformC14NParamFromJson(const talvo_json *object) noexcept {
  return readStringsOf(object, "TransformParam").release();
}

talvo_ustring *DecodeStringValueFromJson(const talvo_json *value) noexcept {
  JsonReading reading;
  return JsonValue(value, reading).string().release();
}

int32_t talvo_xml_signature_checkparameters(const talvo_json *parameters,
                                            talvo_ustring **message) noexcept {
  if (message != nullptr) {
    *message = nullptr;
  }
  return guard([&]() -> int32_t {
    std::string complaint;
    JsonReading reading{message == nullptr ? nullptr : &complaint};
    const bool read = readAll(JsonValue(parameters, reading));
    if (!complaint.empty() && !reading.isExhausted) {
      *message = makeString(complaint).release();
    }
    return read && !reading.isExhausted;
  });
}
