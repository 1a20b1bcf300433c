// Manifests that references lead to: the references in one are verified before its octets count.
#pragma once

#include <unordered_set>
#include <vector>

#include "transform/reference/reach.h"

namespace talvo {

// The Manifests met below the outermost one: each is verified once, however many references lead to
// it, and none may lead back to itself.
class ManifestWalk {
 public:
  // Whether the Manifest and its references hold; the codes are those of verifying. May throw
  // when memory is exhausted.
  bool verify(XmlNode *manifest, const Reach &reach, uint32_t *error);

 private:
  std::vector<const XmlNode *> open_;
  std::unordered_set<const XmlNode *> done_;
};

// In the walk that the reach belongs to, or in a new one.
bool verifyManifest(XmlNode *manifest, const Reach &reach, uint32_t *error) noexcept;

}  // namespace talvo
