#include "cli/sign_parameters.h"

#include "cli/error_text.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

Json member(const talvo_json *object, std::string_view key) {
  return Json(talvo_json_getmember(object, key.data(), key.size()));
}

std::string textOf(const Json &json) {
  const char *text = nullptr;
  size_t length = 0;
  return talvo_json_getstring(json.get(), &text, &length) == 1 ? std::string(text, length) : "";
}

std::vector<std::string> referencedUris(const Json &parameters) {
  std::vector<std::string> uris;
  const Json references = member(parameters.get(), "References");
  for (int32_t index = 0; index < talvo_json_getcount(references.get()); ++index) {
    const Json reference(talvo_json_getitem(references.get(), index));
    uris.push_back(textOf(member(reference.get(), "URI")));
  }
  return uris;
}

void setText(const Json &object, std::string_view key, std::string_view value) {
  const Json text(talvo_json_newstring(value.data(), value.size()));
  talvo_json_setmember(object.get(), key.data(), key.size(), text.get());
}

// The signature is made offline, and relative to the document unless the parameters say otherwise.
void completeParameters(const Json &parameters, const SignOptions &options,
                        const Placement &placement) {
  forbidNetwork(parameters);
  if (!options.basePath.empty() || member(parameters.get(), "BasePath") == nullptr) {
    setText(parameters, "BasePath", view(placement.basePath));
  }
}

bool addContent(XmlDoc *document, XmlNode *signature, ObjectContext content) {
  const List objects = makeList<ObjectCtx, talvo_xml_signature_objectctx_free>();
  if (!append(objects, std::move(content))) {
    return false;
  }
  XmlNode *object = talvo_xml_objectsnode_gen(
      document, talvo_xml_node_getassociatednsnode(signature), objects.get());
  return object != nullptr && talvo_xml_node_addchild(signature, object) != nullptr;
}

Check checkParameters(const std::string &path, const Json &parameters) {
  talvo_ustring *complaint = nullptr;
  if (talvo_xml_signature_checkparameters(parameters.get(), &complaint) == 1) {
    return std::nullopt;
  }
  return badInput(fileLabel(path) + ": " + shown(view(UString(complaint))));
}

// An empty Signature at its place; the parameters fill it.
Result<XmlNode *> addSignatureElement(Placement &placement) {
  LoadedDocument &loaded = placement.loaded;
  if (!placement.isEnveloped()) {
    loaded = {Document(talvo_xml_doc_new(TALVO_XML_10)), true};
  }
  const UString prefix = makeString("ds");
  XmlNode *signature = talvo_xml_signature_newsignaturenode(
      placement.isEnveloped() ? placement.parent : loaded.document.get(), nullptr, prefix.get());
  if (signature == nullptr ||
      (placement.content != nullptr &&
       !addContent(loaded.document.get(), signature, std::move(placement.content)))) {
    return failed("the Signature element cannot be made");
  }
  return signature;
}

}  // namespace

Result<Json> loadJson(const std::string &path) {
  const Result<Octets> octets = readFile(path);
  if (!octets) {
    return octets.failure();
  }
  int32_t line = 0;
  int32_t column = 0;
  char *message = nullptr;
  Json json(talvo_json_parse_ex(octets->data(), octets->size(), &line, &column, &message));
  const TextBuffer owner(message);
  if (json == nullptr) {
    return badInput(fileLabel(path) + ":" + std::to_string(line) + ":" + std::to_string(column) +
                    ": is not JSON: " + shown(message == nullptr ? "out of memory" : message));
  }
  return json;
}

void forbidNetwork(const Json &parameters) {
  setText(parameters, "DereferenceFlag", "offline");
}

Result<LoadedDocument> signWithParameters(const SignOptions &options, const Signer &signer,
                                          Placement &placement) {
  const Result<Json> parameters = loadJson(options.parameters);
  if (!parameters) {
    return parameters.failure();
  }
  if (const Check problem = checkParameters(options.parameters, *parameters)) {
    return *problem;
  }
  if (const Check problem = refuseNetwork(referencedUris(*parameters), placement)) {
    return *problem;
  }
  completeParameters(*parameters, options, placement);
  const Result<XmlNode *> signature = addSignatureElement(placement);
  if (!signature) {
    return signature.failure();
  }
  uint32_t error = 0;
  if (talvo_xml_signature_sign_ex(*signature, signer.certificate.get(), parameters->get(),
                                  &error) != 1) {
    return failed("error " + std::to_string(error) + ": " + signErrorText(error));
  }
  return std::move(placement.loaded);
}

}  // namespace talvo::cli
