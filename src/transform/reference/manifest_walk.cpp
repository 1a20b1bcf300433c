// A Manifest inside a Manifest is walked on the stack, so their number is bounded.
#include "transform/reference/manifest_walk.h"

#include <algorithm>

#include "base/boundary.h"
#include "base/list.h"
#include "signature/decode/reference.h"
#include "transform/reference/reference_check.h"

namespace talvo {
namespace {

constexpr size_t kMostManifests = 32;  // one inside the other

}  // namespace

bool ManifestWalk::verify(XmlNode *manifest, const Reach &reach, uint32_t *error) {
  if (done_.contains(manifest)) {
    return true;
  }
  const bool isOpen = std::find(open_.begin(), open_.end(), manifest) != open_.end();
  const bool mayOpen = !isOpen && open_.size() < kMostManifests;
  const Owned<Manifest> decoded(
      mayOpen ? talvo_xml_decode_signature_manifest(manifest, findEnclosingSignature(manifest))
              : nullptr);
  if (!decoded) {
    return refuse(error, TALVO_VERIFY_ERROR_MANIFEST);
  }
  open_.push_back(manifest);
  Reach inner = reach;
  inner.manifests = this;
  for (const Reference *reference : items<Reference>(decoded->references)) {
    inner.element = reference->element;
    if (talvo_xml_signature_iverifyref(reference, inner, {}, error) != 1) {
      return false;  // the outermost call fails with it, so nothing need be put back
    }
  }
  open_.pop_back();
  done_.insert(manifest);
  return true;
}

bool verifyManifest(XmlNode *manifest, const Reach &reach, uint32_t *error) noexcept {
  return guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY, [&] {
    if (reach.manifests != nullptr) {
      return reach.manifests->verify(manifest, reach, error);
    }
    ManifestWalk walk;
    return walk.verify(manifest, reach, error);
  });
}

}  // namespace talvo
