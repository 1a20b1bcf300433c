// Where a reference stands and how far it may reach: one value that is handed on from the entry to
// whatever opens something.
#pragma once

#include <cstdint>

#include "talvo_xml.h"

namespace talvo {

class ManifestWalk;

// Everything is borrowed.
struct Reach {
  XmlDoc *document = nullptr;
  XmlNode *element = nullptr;               // the Reference
  const talvo_ustring *basePath = nullptr;  // absolute; null for the current directory
  uint32_t flags = 0;
  ManifestWalk *manifests = nullptr;  // null outside of a Manifest that is being verified

  bool mayUseNetwork() const noexcept { return (flags & TALVO_DEREFERENCE_NETWORK) != 0; }
  bool followsManifests() const noexcept { return (flags & TALVO_DEREFERENCE_MANIFESTS) != 0; }
};

}  // namespace talvo
