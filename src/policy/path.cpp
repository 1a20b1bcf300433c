#include "policy/path.h"

#include "base/utf8.h"
#include "xml/node.h"

namespace talvo::policy {
namespace {

std::string qualifiedName(const XmlNode *node) {
  const UString prefix(talvo_xml_node_getprefixedname(node));
  std::string name(viewOf(prefix.get()));
  return (name.empty() ? name : name + ":") + std::string(localName(node));
}

std::string nameOf(const XmlNode *node) {
  switch (kindOf(node)) {
    case NodeKind::element:
      return qualifiedName(node);
    case NodeKind::attribute:
      return "@" + qualifiedName(node);
    case NodeKind::text:
      return "text()";
    case NodeKind::comment:
      return "comment()";
    case NodeKind::processingInstruction:
      return "processing-instruction()";
    case NodeKind::namespaceDeclaration:
      return "namespace::" + std::string(localName(node));
    default:
      return "node()";
  }
}

}  // namespace

std::string NodePaths::of(const XmlNode *node) {
  if (kindOf(node) == NodeKind::document) {
    return "/";
  }
  std::string path;
  for (; node != nullptr && kindOf(node) != NodeKind::document;
       node = talvo_xml_node_getparent(node)) {
    path.insert(0, step(node));
  }
  return path;
}

std::string NodePaths::step(const XmlNode *node) {
  const std::string name = nameOf(node);
  const NodeKind kind = kindOf(node);
  if (kind == NodeKind::attribute || kind == NodeKind::namespaceDeclaration) {
    return "/" + name;
  }
  const int position = positionOf(node, name);
  bool isAlone = position == 1;
  for (const XmlNode *next = followingNode(node); isAlone && next != nullptr;
       next = followingNode(next)) {
    isAlone = nameOf(next) != name;
  }
  return isAlone ? "/" + name : "/" + name + "[" + std::to_string(position) + "]";
}

int NodePaths::positionOf(const XmlNode *node, const std::string &name) {
  int position = 1;
  for (const XmlNode *sibling = precedingNode(node); sibling != nullptr;
       sibling = precedingNode(sibling)) {
    if (const auto known = positions_.find(sibling);
        known != positions_.end() && nameOf(sibling) == name) {
      position += known->second;
      break;
    }
    position += nameOf(sibling) == name ? 1 : 0;
  }
  positions_[node] = position;
  return position;
}

}  // namespace talvo::policy
