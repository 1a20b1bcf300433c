#include "cli/placement.h"

#include <algorithm>

#include "cli/base_path.h"
#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

bool leadsToNetwork(std::string_view uri) {
  return startsWithIgnoringCase(uri, "http://") || startsWithIgnoringCase(uri, "https://");
}

bool isSameDocument(std::string_view uri) {
  return uri.empty() || uri.starts_with('#');
}

bool hasNetworkBase(XmlNode *parent) {
  talvo_arraylist *found = nullptr;
  const UString bases = makeString("ancestor-or-self::*/@xml:base");
  if (talvo_xml_node_findxpath(parent, bases.get(), &found) != 1) {
    return false;
  }
  const List owner(found);
  const auto all = items<XmlNode>(owner);
  for (const XmlNode *base : all) {
    if (leadsToNetwork(view(UString(talvo_xml_node_getvalue(base))))) {
      return true;
    }
  }
  return false;
}

// A copy of the root element, since an Object takes its content out of where it stands.
Check takeContent(const SignOptions &options, Placement &placement) {
  XmlNode *copy = talvo_xml_node_dup(talvo_xml_doc_getrootelement(placement.loaded.document.get()));
  placement.content.reset(
      talvo_xml_signature_objectctx_newnode(makeString(options.objectId).get(), copy));
  if (placement.content == nullptr) {
    talvo_xml_node_free(copy);
    return failed("the document cannot be put into an Object");
  }
  return std::nullopt;
}

Result<XmlNode *> chooseParent(XmlDoc *document, const SignOptions &options) {
  if (!options.at.empty()) {
    return elementById(document, options.at);
  }
  return options.into.empty() ? Result<XmlNode *>(talvo_xml_doc_getrootelement(document))
                              : elementByXPath(document, options.into);
}

Check placeInDocument(const SignOptions &options, Placement &placement) {
  Result<LoadedDocument> loaded = loadDocument(options.input);
  if (!loaded) {
    return loaded.failure();
  }
  placement.loaded = std::move(*loaded);
  XmlDoc *document = placement.loaded.document.get();
  if (Check problem = registerIds(document, options.idAttribute)) {
    return problem;
  }
  if (options.enveloping) {
    return takeContent(options, placement);
  }
  const Result<XmlNode *> parent = chooseParent(document, options);
  if (!parent) {
    return parent.failure();
  }
  placement.parent = *parent;
  return std::nullopt;
}

}  // namespace

Result<Placement> place(const SignOptions &options) {
  Placement placement;
  Result<UString> basePath =
      basePathFor(options.basePath, options.isDetached() ? options.output : options.input);
  if (!basePath) {
    return basePath.failure();
  }
  placement.basePath = std::move(*basePath);
  if (options.isDetached()) {
    return placement;
  }
  if (const Check problem = placeInDocument(options, placement)) {
    return *problem;
  }
  return placement;
}

Check refuseNetwork(const std::vector<std::string> &uris, const Placement &placement) {
  const auto network = std::find_if(uris.begin(), uris.end(), leadsToNetwork);
  if (network != uris.end()) {
    return badInput(shown(*network) + ": a reference to the network is not signed");
  }
  const auto external =
      std::find_if(uris.begin(), uris.end(), [](const auto &uri) { return !isSameDocument(uri); });
  if (external != uris.end() && placement.isEnveloped() && hasNetworkBase(placement.parent)) {
    return badInput(shown(*external) +
                    ": an xml:base of the document makes this a reference to the network, which "
                    "is not signed");
  }
  return std::nullopt;
}

}  // namespace talvo::cli
