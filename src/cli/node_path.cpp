#include "cli/node_path.h"

#include "cli/text.h"

namespace talvo::cli {

namespace {

std::string qualifiedName(const XmlNode *element) {
  const UString prefix(talvo_xml_node_getprefixedname(element));
  const UString name(talvo_xml_node_getname(element));
  return (prefix == nullptr ? "" : std::string(view(prefix)) + ":") + std::string(view(name));
}

bool isElementNamed(const XmlNode *node, const std::string &name) {
  return talvo_xml_node_gettype(node) == TALVO_NODE_ELEMENT && qualifiedName(node) == name;
}

bool hasFollowerNamed(const XmlNode *element, const std::string &name) {
  const XmlNode *next = talvo_xml_node_getnextsibling(element);
  while (next != nullptr && !isElementNamed(next, name)) {
    next = talvo_xml_node_getnextsibling(next);
  }
  return next != nullptr;
}

}  // namespace

std::string NodePaths::of(const XmlNode *element) {
  std::string path;
  for (; element != nullptr && talvo_xml_node_gettype(element) == TALVO_NODE_ELEMENT;
       element = talvo_xml_node_getparent(element)) {
    path.insert(0, step(element));
  }
  return path;
}

// The position stands only where another sibling has the same name.
std::string NodePaths::step(const XmlNode *element) {
  const std::string name = qualifiedName(element);
  const int position = positionOf(element, name);
  if (position == 1 && !hasFollowerNamed(element, name)) {
    return "/" + name;
  }
  return "/" + name + "[" + std::to_string(position) + "]";
}

int NodePaths::positionOf(const XmlNode *element, const std::string &name) {
  int position = 1;
  for (const XmlNode *sibling = talvo_xml_node_getprevsibling(element); sibling != nullptr;
       sibling = talvo_xml_node_getprevsibling(sibling)) {
    if (!isElementNamed(sibling, name)) {
      continue;
    }
    if (const auto known = positions_.find(sibling); known != positions_.end()) {
      position += known->second;
      break;
    }
    ++position;
  }
  positions_[element] = position;
  return position;
}

}  // namespace talvo::cli
