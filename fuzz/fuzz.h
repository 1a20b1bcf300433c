// What the fuzzing programs share: the library is started once, and no input may leave a block behind.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "talvo_xml.h"

#include "base/list.h"

namespace talvo::fuzz {

using Document = Handle<XmlDoc, talvo_xml_doc_free>;
using SignatureHandle = Handle<Signature, talvo_xml_free_signature>;

inline void start() {
  static const bool started = talvo_xml_init() == 1;
  if (!started) {
    std::abort();
  }
}

// Nothing is fetched: flag 1 keeps the parser from the network, 2 from files.
inline Document parse(const uint8_t *data, size_t size) {
  start();
  return Document(talvo_xml_parse_ex(data, static_cast<int64_t>(size), 3));
}

// Calls the body with every Signature element of the document that the octets are, if they are one.
template <class Body>
void forEachSignature(const uint8_t *data, size_t size, Body body) {
  const Document document = parse(data, size);
  talvo_arraylist *found = nullptr;
  if (!document || talvo_xml_node_findsignature(document.get(), &found) != 1) {
    return;
  }
  const List elements(found);
  for (XmlNode *element : items<XmlNode>(elements)) {
    body(element);
  }
}

// Stops the run when a block of the library's outlives its input.
class LeakCheck {
 public:
  LeakCheck() {
    start();
    before_ = talvo_memory_getliveblocks();
  }
  LeakCheck(const LeakCheck &) = delete;
  LeakCheck &operator=(const LeakCheck &) = delete;
  ~LeakCheck() {
    if (talvo_memory_getliveblocks() != before_) {
      std::fprintf(stderr, "blocks were left behind\n");
      std::abort();
    }
  }

 private:
  int64_t before_ = 0;
};

}  // namespace talvo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
