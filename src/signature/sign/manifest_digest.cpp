// Manifests and contexts are matched by position, and so are the references inside.
#include "signature/sign/manifest_digest.h"

#include "base/boundary.h"
#include "base/list.h"
#include "signature/context/context.h"
#include "signature/sign/reference_digest.h"
#include "signature/vocabulary/vocabulary.h"

namespace talvo {
namespace {

struct ManifestRun {
  XmlDoc *doc;
  XmlNode *signatureElement;
  const talvo_arraylist *objects;
  const talvo_ustring *basePath;
};

List findAll(XmlNode *node, const talvo_ustring *name) noexcept {
  talvo_arraylist *found = nullptr;
  talvo_xml_node_findallelemnode(node, name, g_xml_signature_nsuri, &found);
  return List(found);
}

// Gives every manifest's transforms the Signature element for one scope.
class ManifestTargets {
 public:
  explicit ManifestTargets(const ManifestRun &run) noexcept : run_(run) {
    set(run.signatureElement);
  }
  ManifestTargets(const ManifestTargets &) = delete;
  ManifestTargets &operator=(const ManifestTargets &) = delete;
  ~ManifestTargets() { set(nullptr); }

 private:
  void set(XmlNode *signatureElement) noexcept {
    for (const ObjectCtx *object : items<ObjectCtx>(run_.objects)) {
      if (object->kind != TALVO_OBJECT_MANIFEST) {
        continue;
      }
      for (ReferenceCtx *reference : items<ReferenceCtx>(object->contents)) {
        setrefssignnode(reference, signatureElement);
      }
    }
  }

  const ManifestRun &run_;
};

bool digestManifest(const ManifestRun &run, XmlNode *manifest, const ObjectCtx &object,
                    uint32_t *error) noexcept {
  const List owner = findAll(manifest, g_xml_signature_reference_name);
  if (!owner) {
    return refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  const ListView<XmlNode> elements = items<XmlNode>(owner);
  int32_t position = 0;
  for (ReferenceCtx *reference : items<ReferenceCtx>(object.contents)) {
    const Reach reach{run.doc, elements[position++], run.basePath, TALVO_DEREFERENCE_NETWORK};
    if (calcref(reach, reference, error) != 1) {
      return false;
    }
  }
  return true;
}

int32_t countManifests(const talvo_arraylist *objects) noexcept {
  int32_t count = 0;
  for (const ObjectCtx *object : items<ObjectCtx>(objects)) {
    count += object->kind == TALVO_OBJECT_MANIFEST ? 1 : 0;
  }
  return count;
}

bool digestInOrder(const ManifestRun &run, uint32_t *error) noexcept {
  const List owner = findAll(run.signatureElement, g_xml_signature_manifest);
  const ListView<XmlNode> manifests = items<XmlNode>(owner);
  if (!owner || manifests.size() != countManifests(run.objects)) {
    return refuse(error, TALVO_SIGN_ERROR_MISSING_ELEMENT);
  }
  const ManifestTargets targets(run);
  int32_t position = 0;
  for (const ObjectCtx *object : items<ObjectCtx>(run.objects)) {
    if (object->kind == TALVO_OBJECT_MANIFEST &&
        !digestManifest(run, manifests[position++], *object, error)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool digestManifests(XmlDoc *doc, XmlNode *signatureElement, const talvo_arraylist *objects,
                     const talvo_ustring *basePath, uint32_t *error) noexcept {
  return countManifests(objects) == 0 ||
         digestInOrder({doc, signatureElement, objects, basePath}, error);
}

int32_t countReferencesWithoutUri(const talvo_arraylist *references) noexcept {
  int32_t count = 0;
  for (const ReferenceCtx *reference : items<ReferenceCtx>(references)) {
    count += reference->uri ? 0 : 1;
  }
  return count;
}

int32_t countManifestReferencesWithoutUri(const talvo_arraylist *objects) noexcept {
  int32_t count = 0;
  for (const ObjectCtx *object : items<ObjectCtx>(objects)) {
    count += object->kind == TALVO_OBJECT_MANIFEST
                 ? countReferencesWithoutUri(object->contents.get())
                 : 0;
  }
  return count;
}

}  // namespace talvo
