#include "transform/canonical/base_uri.h"

#include <libxml/uri.h>

#include "xml/native.h"

namespace talvo {

Joined joinBaseUri(std::string *uri, std::string_view base) {
  std::string folder(base);
  // Deliberate: a base that ends in a dot and one more character gets a slash, which is meant for
  // ".." and does the same to "a.b".
  if (folder.size() > 1 && folder[folder.size() - 2] == '.') {
    folder += '/';
  }
  const MemoryWatch watch;
  const XmlChars joined(xmlBuildURI(xmlText(uri->c_str()), xmlText(folder.c_str())));
  if (watch.exhausted()) {
    return Joined::outOfMemory;
  }
  if (joined == nullptr) {
    return Joined::impossible;
  }
  *uri = viewOf(joined.get());
  return Joined::done;
}

}  // namespace talvo
