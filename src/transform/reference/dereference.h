// From the URI of a reference to its data: parts of the same document, files, and, where that is
// allowed, the network. Codes are those of the verifying family.
#pragma once

#include "talvo_xml.h"

#include "base/boundary.h"
#include "base/bytes.h"
#include "transform/reference/digest.h"
#include "transform/reference/reach.h"
#include "transform/transform.h"

namespace talvo {

// Against what relative references are resolved: the base that the document gives the element when
// that is absolute, else the base path (3 when it is no text without NUL), else the current
// directory (2 when it cannot be read). 4 for a base over 64 kB.
bool findBase(const Reach &reach, TextBuffer *base, bool *isOfDocument, uint32_t *error) noexcept;
// The file that a relative reference names below a "file://" URL or an absolute path; null for any
// other base, and where the two cannot be joined.
TextBuffer filePathFrom(const char *base, const char *uri) noexcept;

}  // namespace talvo

extern "C" {

// talvo_xml_siganture_uri2input resolves the URI: 1 and new data, or 0. A URI over 64 kB is 4.
int32_t talvo_xml_siganture_uri2input(const talvo::Reach &reach, const talvo_ustring *uri,
                                      TransformData **data, uint32_t *error) noexcept;

// The whole document as a node set of the same document.
TransformData *getwholedoc(XmlDoc *document, int32_t withComments) noexcept;
// What a URI that begins with "#" selects.
TransformData *getxpointer(const talvo::Reach &reach, const char *uri, uint32_t *error) noexcept;
TransformData *getxpointerid(const talvo::Reach &reach, const talvo_ustring *id,
                             int32_t withComments, uint32_t *error) noexcept;

// Data from elsewhere, as octets.
TransformData *getdatafromrelpath(const char *base, const char *uri, const talvo::Reach &reach,
                                  uint32_t *error) noexcept;
// Null when the path is no regular file, or it cannot be read to its end, or holds 2 GiB or more,
// or more than its size said.
TransformData *getdatafromfile(const char *path) noexcept;
TransformData *fetchhttp(const char *url, uint32_t *error) noexcept;
// New text of talvo_malloc, or null.
char *GetCurrentDir() noexcept;

// The digest of the file that a plain relative URI names, read in chunks.
int32_t calcOctstreamUriHash(const talvo::Reach &reach, int32_t digestId, const talvo_ustring *uri,
                             talvo_ustring **text, uint32_t *error) noexcept;
int32_t verifyOctstreamUriHash(const talvo::Reach &reach, int32_t digestId,
                               const talvo_ustring *uri, talvo::Bytes expected,
                               uint32_t *error) noexcept;
int32_t calchashfromrelpath(const char *base, const char *uri, const talvo::Reach &reach,
                            int32_t digestId, talvo_ustring **text, uint32_t *error) noexcept;
int32_t verifyhashfromrelpath(const char *base, const char *uri, const talvo::Reach &reach,
                              int32_t digestId, talvo::Bytes expected, uint32_t *error) noexcept;
int32_t calchashfromfromfile(const char *path, int32_t digestId, talvo_ustring **text,
                             uint32_t *error) noexcept;
int32_t verifyhashfromfromfile(const char *path, int32_t digestId, talvo::Bytes expected,
                               uint32_t *error) noexcept;
}
