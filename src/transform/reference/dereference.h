// From the URI of a reference to its data: parts of the same document, files, and, where that is
// allowed, the network. Codes are those of DereferenceError.
#pragma once

#include "talvo_xml.h"

#include "base/boundary.h"
#include "base/bytes.h"
#include "transform/reference/digest.h"
#include "transform/transform.h"

namespace talvo {

constexpr uint32_t kAllowNetwork = 1;
constexpr uint32_t kVerifyManifests = 2;

// Against what relative references of an element are resolved: the base that its document gives it
// when that is absolute, else the base path (3 when it is no text without NUL), else the current
// directory (2 when it cannot be read).
bool findBase(const XmlDoc *document, const XmlNode *element, const talvo_ustring *basePath,
              TextBuffer *base, bool *isOfDocument, uint32_t *error) noexcept;
// The file that a relative reference names below a "file://" URL or an absolute path; null for any
// other base, and where the two cannot be joined.
TextBuffer filePathFrom(const char *base, const char *uri) noexcept;

}  // namespace talvo

extern "C" {

// talvo_xml_siganture_uri2input resolves the URI for the Reference element: 1 and new data, or 0.
// The base path, an absolute one, counts where the element has no absolute base of its own; null is
// the current directory.
int32_t talvo_xml_siganture_uri2input(XmlDoc *document, uint32_t flags, XmlNode *referenceElement,
                                      const talvo_ustring *uri, const talvo_ustring *basePath,
                                      TransformData **data, uint32_t *error) noexcept;

// The whole document as a node set of the same document.
TransformData *getwholedoc(XmlDoc *document, int32_t withComments) noexcept;
// What a URI that begins with "#" selects.
TransformData *getxpointer(XmlDoc *document, uint32_t flags, const talvo_ustring *basePath,
                           const char *uri, uint32_t *error) noexcept;
TransformData *getxpointerid(XmlDoc *document, uint32_t flags, const talvo_ustring *basePath,
                             const talvo_ustring *id, int32_t withComments,
                             uint32_t *error) noexcept;

// Data from elsewhere, as octets.
TransformData *getdatafromrelpath(const char *base, const char *uri, uint32_t flags,
                                  uint32_t *error) noexcept;
// Null when the path is no regular file, or it cannot be read to its end, or holds 2 GiB or more.
TransformData *getdatafromfile(const char *path) noexcept;
TransformData *fetchhttp(const char *url, uint32_t *error) noexcept;
// New text of talvo_malloc, or null.
char *GetCurrentDir() noexcept;

// The digest of the file that a plain relative URI names, read in chunks.
int32_t calcOctstreamUriHash(XmlDoc *document, XmlNode *referenceElement,
                             const talvo_ustring *basePath, int32_t digestId,
                             const talvo_ustring *uri, uint32_t flags, talvo_ustring **text,
                             uint32_t *error) noexcept;
int32_t verifyOctstreamUriHash(XmlDoc *document, XmlNode *referenceElement,
                               const talvo_ustring *basePath, int32_t digestId,
                               const talvo_ustring *uri, const void *expected,
                               size_t expectedLength, uint32_t flags, uint32_t *error) noexcept;
int32_t calchashfromrelpath(const char *base, const char *uri, uint32_t flags, int32_t digestId,
                            talvo_ustring **text, uint32_t *error) noexcept;
int32_t verifyhashfromrelpath(const char *base, const char *uri, uint32_t flags, int32_t digestId,
                              const void *expected, size_t expectedLength,
                              uint32_t *error) noexcept;
int32_t calchashfromfromfile(const char *path, int32_t digestId, talvo_ustring **text,
                             uint32_t *error) noexcept;
int32_t verifyhashfromfromfile(const char *path, int32_t digestId, const void *expected,
                               size_t expectedLength, uint32_t *error) noexcept;
}
