// Where an element stands in its document, as a person writes it: "/inv:Invoice/ds:Signature[2]".
#pragma once

#include <string>
#include <unordered_map>

#include "cli/handle.h"

namespace talvo::cli {

// Remembers positions, so that asking for many siblings in document order does not count them again
// and again.
class NodePaths {
 public:
  std::string of(const XmlNode *element);

 private:
  std::string step(const XmlNode *element);
  int positionOf(const XmlNode *element, const std::string &name);

  std::unordered_map<const XmlNode *, int> positions_;
};

}  // namespace talvo::cli
