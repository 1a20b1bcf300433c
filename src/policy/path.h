// The paths of nodes as a person writes them: prefixed names, with a position where siblings share
// a name.
#pragma once

#include <string>
#include <unordered_map>

#include "talvo_xml.h"

namespace talvo::policy {

class NodePaths {
 public:
  // May throw when memory is exhausted.
  std::string of(const XmlNode *node);

 private:
  std::string step(const XmlNode *node);
  int positionOf(const XmlNode *node, const std::string &name);

  // Positions that are known, so that many paths below one parent do not count its children anew.
  std::unordered_map<const XmlNode *, int> positions_;
};

}  // namespace talvo::policy
