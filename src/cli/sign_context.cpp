#include "cli/sign_context.h"

#include "cli/algorithm.h"
#include "cli/list.h"
#include "cli/prefixes.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

struct DefaultMethod {
  int32_t keyType;
  int32_t method;
};

constexpr DefaultMethod kDefaultMethods[] = {{TALVO_KEY_TYPE_RSA, TALVO_SIGNATURE_RSA_SHA256},
                                             {TALVO_KEY_TYPE_DSA, TALVO_SIGNATURE_DSA_SHA1},
                                             {TALVO_KEY_TYPE_EC, TALVO_SIGNATURE_ECDSA_SHA256}};

struct CertificateOption {
  std::string_view name;
  int32_t number;
};

constexpr CertificateOption kCertificateOptions[] = {
    {"none", TALVO_CERTIFICATES_NONE},
    {"self", TALVO_CERTIFICATES_SELF},
    {"path", TALVO_CERTIFICATES_PATH},
    {"path-with-root", TALVO_CERTIFICATES_PATH_WITH_ROOT}};

int32_t certificateOption(std::string_view name) {
  for (const CertificateOption &option : kCertificateOptions) {
    if (option.name == name) {
      return option.number;
    }
  }
  return -1;
}

// What the steps below share.
struct Draft {
  const SignOptions &options;
  const Placement &placement;
  int32_t digest = 0;
  int32_t method = 0;
  uint32_t c14n = 0;
  List prefixes = nullptr;
  List references = makeList<ReferenceCtx, talvo_xml_signature_referencectx_free>();
  List objects = makeList<ObjectCtx, talvo_xml_signature_objectctx_free>();
  std::string signedPropertiesId = {};
};

// The enveloped transform takes the signature out of what it signs; only references into the
// signature's own document need it.
List transformsFor(const Draft &draft, const std::string &uri) {
  if (!draft.placement.isEnveloped() || !(uri.empty() || uri.starts_with('#'))) {
    return nullptr;
  }
  List transforms = makeList<TransformCtx, talvo_xml_signature_transformctx_free>();
  append(transforms, TransformContext(
                         talvo_xml_signature_transformctx_new(TALVO_TRANSFORM_ENVELOPED, nullptr)));
  return transforms;
}

Check addReference(const List &references, const Draft &draft, const std::string &uri,
                   std::string_view type, const List &transforms) {
  ReferenceContext reference(talvo_xml_signature_referencectx_new(
      static_cast<uint32_t>(draft.digest), nullptr, makeString(uri).get(), makeOptional(type).get(),
      nullptr, transforms.get()));
  if (!append(references, std::move(reference))) {
    return badInput("\"" + shown(uri) + "\": cannot be referred to with the digest method " +
                    algorithmName(TALVO_ALGORITHM_DIGEST, draft.digest));
  }
  return std::nullopt;
}

std::vector<std::string> urisToSign(const SignOptions &options) {
  std::vector<std::string> uris = options.isDetached() ? options.detached : options.references;
  if (options.enveloping) {
    uris.insert(uris.begin(), "#" + options.objectId);
  } else if (uris.empty()) {
    uris.emplace_back();  // the whole document
  }
  return uris;
}

// With --manifest the references go into a Manifest, and SignedInfo refers to that.
Check addReferences(Draft &draft) {
  const std::vector<std::string> uris = urisToSign(draft.options);
  if (Check problem = refuseNetwork(uris, draft.placement)) {
    return problem;
  }
  List listed = makeList<ReferenceCtx, talvo_xml_signature_referencectx_free>();
  const List &target = draft.options.manifest ? listed : draft.references;
  for (const std::string &uri : uris) {
    if (Check problem = addReference(target, draft, uri, "", transformsFor(draft, uri))) {
      return problem;
    }
  }
  if (!draft.options.manifest) {
    return std::nullopt;
  }
  const std::string id = freshId("Manifest-");
  ObjectContext manifest(
      talvo_xml_signature_objectctx_newmanifest(makeString(id).get(), listed.get()));
  if (!append(draft.objects, std::move(manifest))) {
    return failed("the Manifest cannot be made");
  }
  return addReference(draft.references, draft, "#" + id, TALVO_XML_TYPE_MANIFEST, nullptr);
}

Check readAlgorithms(const Signer &signer, Draft &draft) {
  const Result<int32_t> digest = digestByName(draft.options.digest);
  if (!digest) {
    return digest.failure();
  }
  const Result<int32_t> method = draft.options.method.empty()
                                     ? defaultMethod(signer.keyPair)
                                     : signatureByName(draft.options.method);
  if (!method) {
    return method.failure();
  }
  const Result<uint32_t> c14n = c14nModeByName(draft.options.c14n);
  if (!c14n) {
    return c14n.failure();
  }
  draft.digest = *digest;
  draft.method = *method;
  draft.c14n = *c14n;
  return std::nullopt;
}

Check readPrefixes(Draft &draft) {
  Result<List> prefixes = parsePrefixes(draft.options.prefixes);
  if (!prefixes) {
    return prefixes.failure();
  }
  draft.prefixes = std::move(*prefixes);
  if (isExclusive(draft.c14n) != (draft.prefixes != nullptr)) {
    return badInput("--prefixes and an exclusive --c14n go together: neither works alone");
  }
  return std::nullopt;
}

bool setProductionPlace(SignedInfoCtx *context, const std::string &place) {
  std::vector<std::string> fields = split(place, ',');
  fields.resize(4);
  return talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
             context, makeOptional(fields[0]).get(), makeOptional(fields[1]).get(),
             makeOptional(fields[2]).get(), makeOptional(fields[3]).get()) == 1;
}

// The SignedProperties get an identifier, and a reference that covers them.
bool setXades(SignedInfoCtx *context, const Draft &draft, int32_t certificates) {
  const SignOptions &options = draft.options;
  bool set = talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid(
                 context, makeString(draft.signedPropertiesId).get()) == 1;
  if (options.signingTime) {
    set = set && talvo_xml_signature_signedinfoctx_xades_setusesigningtime(context, 1) == 1;
  }
  if (options.signingCertificate) {
    set = set &&
          talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(
              context, draft.digest, std::max<int32_t>(certificates, TALVO_CERTIFICATES_SELF)) == 1;
  }
  if (options.policyImplied) {
    set = set && talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(context) == 1;
  }
  if (!options.productionPlace.empty()) {
    set = set && setProductionPlace(context, options.productionPlace);
  }
  return set;
}

Check applySettings(SignedInfoCtx *context, const Draft &draft) {
  const SignOptions &options = draft.options;
  const int32_t certificates = certificateOption(options.includeCertificates);
  const std::string valueId = options.signatureValueId.empty() && options.asksForXades()
                                  ? freshId("SignatureValue-")
                                  : options.signatureValueId;
  bool set = talvo_xml_signature_signedinfoctx_setincludecertflag(context, certificates) == 1 &&
             (valueId.empty() || talvo_xml_signature_signedinfoctx_setsignaturevalueid(
                                     context, makeString(valueId).get()) == 1);
  if (options.asksForXades()) {
    set = set && setXades(context, draft, certificates);
  }
  return set ? Check() : failed("an option of the signature cannot be set");
}

Result<SignRequest> finish(Draft &draft) {
  SignRequest request;
  request.signedInfo.reset(talvo_xml_signature_signedinfoctx_new(
      nullptr, draft.c14n, draft.prefixes.get(), draft.method, draft.references.get()));
  if (request.signedInfo == nullptr) {
    return badInput(algorithmName(TALVO_ALGORITHM_SIGNATURE, draft.method) +
                    ": cannot be used to sign");
  }
  if (const Check problem = applySettings(request.signedInfo.get(), draft)) {
    return *problem;
  }
  if (!items<ObjectCtx>(draft.objects).empty()) {
    request.objects = std::move(draft.objects);
  }
  return request;
}

}  // namespace

Result<int32_t> defaultMethod(const KeyPair &key) {
  if (TalvoPKICryptoIsSM2KeyPair(key.get()) == 1) {
    return TALVO_SIGNATURE_SM2_SM3;
  }
  const int32_t type = TalvoPKICryptoGetKeypairType(key.get());
  for (const DefaultMethod &row : kDefaultMethods) {
    if (row.keyType == type) {
      return row.method;
    }
  }
  return badInput("a key of this kind cannot sign XML");
}

Result<SignRequest> makeRequest(const SignOptions &options, const Signer &signer,
                                Placement &placement) {
  Draft draft{options, placement};
  for (const Check &problem : {readAlgorithms(signer, draft), readPrefixes(draft)}) {
    if (problem) {
      return *problem;
    }
  }
  if (placement.content != nullptr) {
    append(draft.objects, std::move(placement.content));
  }
  if (const Check problem = addReferences(draft)) {
    return *problem;
  }
  if (options.asksForXades()) {
    draft.signedPropertiesId = freshId("SignedProperties-");
    if (const Check problem = addReference(draft.references, draft, "#" + draft.signedPropertiesId,
                                           TALVO_XML_TYPE_SIGNED_PROPERTIES, nullptr)) {
      return *problem;
    }
  }
  return finish(draft);
}

}  // namespace talvo::cli
