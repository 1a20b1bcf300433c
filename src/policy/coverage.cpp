#include "policy/coverage.h"

#include <vector>

#include "signature/vocabulary/vocabulary.h"

namespace talvo::policy {
namespace {

constexpr size_t kMostUncovered = 100;

bool isXades(const XmlNode *element, const talvo_ustring *name) noexcept {
  return isElement(element, name, g_xml_xadesv132_nsuri);
}

XmlNode *signedPropertiesOf(const XmlNode *qualifying) noexcept {
  XmlNode *child = firstElementChild(qualifying);
  while (child != nullptr && !isXades(child, g_xml_xades_signedproperties)) {
    child = nextElement(child);
  }
  return child;
}

bool isText(const XmlNode *node) noexcept {
  return kindOf(node) == NodeKind::text;
}

}  // namespace

Depth &Depth::operator+=(const Depth &other) noexcept {
  nodes += other.nodes;
  comments += other.comments;
  texts += other.texts;
  return *this;
}

// ---- what is selected ----

void Coverage::note(const XmlNode *element, const Depth &depth) {
  borders_[element] += depth;
  for (const XmlNode *node = element; kindOf(node) == NodeKind::element;
       node = talvo_xml_node_getparent(node)) {
    if (!aboveBorders_.insert(node).second) {
      return;  // what is above is there already
    }
  }
}

void Coverage::add(Selection selection) {
  tops_.push_back(selection.apex);
  if (selection.filter != nullptr) {
    filters_.push_back(std::move(selection));
    return;
  }
  const Depth depth{selection.isTextOnly ? 0 : 1,
                    selection.withComments && !selection.isTextOnly ? 1 : 0,
                    selection.isTextOnly ? 1 : 0};
  if (selection.apex == nullptr) {
    base_ += depth;
  } else {
    note(selection.apex, depth);
  }
  // What is left out twice counts twice: then too little is taken for signed, never too much.
  for (const XmlNode *removed : selection.removed) {
    if (selection.apex == nullptr || isAtOrBelow(removed, selection.apex)) {
      note(removed, -depth);
    }
  }
}

const Depth *Coverage::borderAt(const XmlNode *element) const noexcept {
  const auto found = borders_.find(element);
  return found == borders_.end() ? nullptr : &found->second;
}

bool Coverage::hasBorderBelow(const XmlNode *element) const noexcept {
  return aboveBorders_.contains(element);
}

// Outside of an ordered run a set remembers nothing, so that the question stands for itself.
bool Coverage::passesFilter(XmlNode *node, XmlNode *parent) const noexcept {
  const NodeKind kind = kindOf(node);
  for (const Selection &selection : filters_) {
    const bool isTaken = kind == NodeKind::comment
                             ? selection.withComments && !selection.isTextOnly
                             : !selection.isTextOnly || kind == NodeKind::text;
    if (isTaken && talvo_xml_nodeset_contains(selection.filter.get(), node, parent) == 1 &&
        !selection.budget->isExhausted) {
      return true;
    }
  }
  return false;
}

// ---- the walk ----

Zone CoverageWalk::zoneInObject(XmlNode *element) const {
  if (!isXades(element, g_xml_xades_qualifyingproperties)) {
    return Zone::content;
  }
  XmlNode *properties = signedPropertiesOf(element);
  return properties == nullptr || isSubtreeFine(properties) ? Zone::properties
                                                            : Zone::uncoveredProperties;
}

Zone CoverageWalk::zoneOf(XmlNode *element, const Place &parent) const {
  if (parent.zone == Zone::unsignedProperties) {
    return Zone::unsignedProperties;
  }
  if (talvo_xml_signature_issignaturenode(element) == 1) {
    return Zone::signature;
  }
  switch (parent.zone) {
    case Zone::signature: {
      const bool isObject =
          isElement(element, g_xml_signature_object_name, g_xml_signature_nsuri) &&
          talvo_xml_signature_issignaturenode(talvo_xml_node_getparent(element)) == 1;
      return isObject ? Zone::object : Zone::signature;
    }
    case Zone::object:
      return zoneInObject(element);
    case Zone::properties:
    case Zone::uncoveredProperties:
      return isXades(element, g_xml_xades_unsignedproperties) ? Zone::unsignedProperties
                                                              : Zone::content;
    default:
      return Zone::content;
  }
}

Place CoverageWalk::enter(XmlNode *element, const Place &parent) const {
  Place place{Zone::content, parent.depth, false};
  if (const Depth *border = coverage_.borderAt(element)) {
    place.depth += *border;
  }
  place.zone = zoneOf(element, parent);
  return place;
}

Place CoverageWalk::placeOf(XmlNode *element) const {
  std::vector<XmlNode *> path;
  for (XmlNode *node = element; kindOf(node) == NodeKind::element;
       node = talvo_xml_node_getparent(node)) {
    path.push_back(node);
  }
  Place place = top();
  for (size_t i = path.size(); i > 0; --i) {
    place = enter(path[i - 1], place);
  }
  return place;
}

bool CoverageWalk::isSigned(XmlNode *node, XmlNode *parent, const Place &place) const noexcept {
  const NodeKind kind = kindOf(node);
  if (kind == NodeKind::unsupported) {
    return false;
  }
  const int32_t plain = kind == NodeKind::comment ? place.depth.comments
                        : kind == NodeKind::text  ? place.depth.nodes + place.depth.texts
                                                  : place.depth.nodes;
  return plain > 0 || (coverage_.isFiltering() && coverage_.passesFilter(node, parent));
}

bool CoverageWalk::isElementFine(XmlNode *element, const Place &place) const {
  if (place.zone != Zone::content && place.zone != Zone::uncoveredProperties) {
    return true;
  }
  if (place.depth.nodes > 0) {
    return true;
  }
  if (!isSigned(element, talvo_xml_node_getparent(element), place)) {
    return false;
  }
  for (XmlNode *first : {talvo_xml_node_getattribute(element), talvo_xml_node_getnsnode(element)}) {
    for (XmlNode *node = first; node != nullptr; node = talvo_xml_node_getnextsibling(node)) {
      if (!isSigned(node, element, place)) {
        return false;
      }
    }
  }
  return true;
}

bool CoverageWalk::isNodeFine(XmlNode *node, XmlNode *parent, const Place &place) const noexcept {
  switch (place.zone) {
    case Zone::signature:
    case Zone::unsignedProperties:
      return true;
    case Zone::object:
    case Zone::properties:
    case Zone::uncoveredProperties:
      return isBlankText(node) || kindOf(node) == NodeKind::comment ||
             isSigned(node, parent, place);
    default:
      return isSigned(node, parent, place);
  }
}

bool CoverageWalk::isWhole(const XmlNode *element, const Place &place) const noexcept {
  return place.zone == Zone::unsignedProperties ||
         (place.depth.nodes > 0 && !coverage_.hasBorderBelow(element));
}

// The zone of what is around is not asked for: it can depend on the answer.
bool CoverageWalk::isSubtreeFine(XmlNode *element) const {
  Place around = top();
  for (const XmlNode *node = talvo_xml_node_getparent(element); kindOf(node) == NodeKind::element;
       node = talvo_xml_node_getparent(node)) {
    if (const Depth *border = coverage_.borderAt(node)) {
      around.depth += *border;
    }
  }
  Uncovered uncovered;
  findUncoveredAt(coverage_, element, around, &uncovered);
  return uncovered.nodes.empty() && uncovered.comments.empty();
}

// ---- what is left ----

XmlNode *firstChildOf(const XmlNode *element) noexcept {
  return kindOf(element) == NodeKind::element ? talvo_xml_node_getchildren(element) : nullptr;
}

XmlNode *nextOutside(XmlNode *node, const XmlNode *top) noexcept {
  while (node != nullptr && node != top) {
    if (XmlNode *next = followingNode(node)) {
      return next;
    }
    node = talvo_xml_node_getparent(node);
    if (kindOf(node) != NodeKind::element) {
      return nullptr;
    }
  }
  return nullptr;
}

XmlNode *firstOf(const XmlDoc *document) noexcept {
  XmlNode *node = talvo_xml_doc_getrootelement(document);
  while (XmlNode *previous = precedingNode(node)) {
    node = previous;
  }
  return node;
}

namespace {

class Finder {
 public:
  Finder(const Coverage &coverage, bool anyComment, Uncovered *found) noexcept
      : walk_(coverage), anyComment_(anyComment), found_(found) {}

  void lookAt(XmlNode *top, const Place &place);

 private:
  bool enter(XmlNode *element);
  void lookAtNode(XmlNode *node, XmlNode *parent);
  void lookForComments(XmlNode *element);
  void addComment(XmlNode *comment);
  void add(Vec<XmlNode *> &list, XmlNode *node) {
    if (list.size() < kMostUncovered) {
      list.push_back(node);
    } else {
      found_->isCut = true;
    }
  }

  CoverageWalk walk_;
  bool anyComment_;
  Uncovered *found_;
  bool isBesideText(const XmlNode *comment);

  std::vector<Place> places_;
  std::unordered_map<const XmlNode *, bool> holdsText_;
};

// In a ds:Signature, but not in what an Object of it holds.
bool isOfSignature(const XmlNode *comment) noexcept {
  const XmlNode *inner = comment;
  for (const XmlNode *node = talvo_xml_node_getparent(comment); kindOf(node) == NodeKind::element;
       node = talvo_xml_node_getparent(node)) {
    if (talvo_xml_signature_issignaturenode(node) == 1) {
      return inner == comment ||
             !isElement(inner, g_xml_signature_object_name, g_xml_signature_nsuri);
    }
    inner = node;
  }
  return false;
}

bool hasText(const XmlNode *element) noexcept {
  for (const XmlNode *node = firstChildOf(element); node != nullptr; node = followingNode(node)) {
    if (isText(node) && !isBlankText(node)) {
      return true;
    }
  }
  return false;
}

// A comment beside text can change what a program reads there: some read only the text before it.
// Each element is looked through once, however many comments it has.
bool Finder::isBesideText(const XmlNode *comment) {
  const XmlNode *parent = talvo_xml_node_getparent(comment);
  const auto [found, isNew] = holdsText_.try_emplace(parent, false);
  if (isNew) {
    found->second = hasText(parent);
  }
  return found->second;
}

void Finder::addComment(XmlNode *comment) {
  const bool counts = anyComment_ || isBesideText(comment);
  add(counts ? found_->comments : found_->otherComments, comment);
}

void Finder::lookForComments(XmlNode *element) {
  XmlNode *node = firstChildOf(element);
  while (node != nullptr) {
    if (kindOf(node) == NodeKind::comment && !isOfSignature(node) &&
        !walk_.isSigned(node, talvo_xml_node_getparent(node), places_.front())) {
      addComment(node);
    }
    XmlNode *child = firstChildOf(node);
    node = child != nullptr ? child : nextOutside(node, element);
  }
}

// Whether to go on inside of the element, whose place is then the innermost one.
bool Finder::enter(XmlNode *element) {
  const Place place = walk_.enter(element, places_.back());
  if (walk_.isWhole(element, place)) {
    if (place.zone == Zone::content && place.depth.comments == 0) {
      lookForComments(element);
    }
    return false;
  }
  if (!walk_.isElementFine(element, place)) {
    add(found_->nodes, element);
    return false;
  }
  if (talvo_xml_node_getchildren(element) == nullptr) {
    return false;
  }
  places_.push_back(place);
  return true;
}

void Finder::lookAtNode(XmlNode *node, XmlNode *parent) {
  if (walk_.isNodeFine(node, parent, places_.back())) {
    return;
  }
  if (kindOf(node) == NodeKind::comment) {
    addComment(node);
  } else if (kindOf(parent) == NodeKind::element || kindOf(node) != NodeKind::unsupported) {
    add(found_->nodes, node);  // beside the root a node of no kind is the document type
  }
}

void Finder::lookAt(XmlNode *top, const Place &place) {
  places_.assign(1, place);
  XmlNode *node = top;
  for (;;) {
    const bool isElement = kindOf(node) == NodeKind::element;
    if (isElement && enter(node)) {
      node = talvo_xml_node_getchildren(node);
      continue;
    }
    if (!isElement) {
      lookAtNode(node, talvo_xml_node_getparent(node));
    }
    while (node != top && followingNode(node) == nullptr) {
      node = talvo_xml_node_getparent(node);
      places_.pop_back();
    }
    if (node == top) {
      return;
    }
    node = followingNode(node);
  }
}

}  // namespace

void findUncoveredAt(const Coverage &coverage, XmlNode *top, const Place &around,
                     Uncovered *uncovered) {
  Finder(coverage, false, uncovered).lookAt(top, around);
}

void findUncovered(const Coverage &coverage, XmlDoc *document, XmlNode *top, bool anyComment,
                   Uncovered *uncovered) {
  const CoverageWalk walk(coverage);
  Finder finder(coverage, anyComment, uncovered);
  if (top != nullptr) {
    XmlNode *parent = talvo_xml_node_getparent(top);
    finder.lookAt(top, kindOf(parent) == NodeKind::element ? walk.placeOf(parent) : walk.top());
    return;
  }
  for (XmlNode *node = firstOf(document); node != nullptr; node = followingNode(node)) {
    finder.lookAt(node, walk.top());
  }
}

}  // namespace talvo::policy
