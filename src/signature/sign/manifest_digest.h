// The references of the Manifests that a new signature brings along are digested before those of
// SignedInfo, which may cover them.
#pragma once

#include <cstdint>

#include "talvo_xml.h"

namespace talvo {

// Fills the DigestValue elements of every Manifest below the Signature element from the contexts of
// kind manifest, in list order. Errors: 20 the numbers of Manifests and of contexts differ, and
// those of calcref.
bool digestManifests(XmlDoc *doc, XmlNode *signatureElement, const talvo_arraylist *objects,
                     const talvo_ustring *basePath, uint32_t *error) noexcept;

// References without URI in the Manifests.
int32_t countManifestReferencesWithoutUri(const talvo_arraylist *objects) noexcept;
// References without URI in one list of contexts.
int32_t countReferencesWithoutUri(const talvo_arraylist *references) noexcept;

}  // namespace talvo
