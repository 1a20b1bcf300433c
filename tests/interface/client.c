/* A program in C11 that sees only the public headers and links only the shared libraries: the plain
 * C interface works from C, NULL is harmless, and nothing is left behind. */
#include <stdio.h>
#include <string.h>

#include "talvo_xml.h"

static int failures = 0;

static void expect(int holds, const char *claim) {
  if (!holds) {
    fprintf(stderr, "does not hold: %s\n", claim);
    ++failures;
  }
}

static void readsADocument(void) {
  static const char kText[] = "<a xmlns='urn:x' b='1'><c>caf\xC3\xA9</c></a>";
  XmlDoc *doc = talvo_xml_parse_ex(kText, (int64_t)strlen(kText),
                                   TALVO_PARSE_NO_NETWORK | TALVO_PARSE_NO_EXTERNALS);
  XmlNode *child = talvo_xml_node_getchildren(talvo_xml_doc_getrootelement(doc));
  talvo_ustring *name = talvo_xml_node_getname(child);
  talvo_ustring *value = talvo_xml_node_getpcdata(talvo_xml_node_getchildren(child));
  talvo_ustring *namespaceUri = talvo_xml_node_getnsuri(child);
  expect(name != NULL && strcmp(talvo_ustring_getutf8(name), "c") == 0, "the child is a c");
  expect(value != NULL && talvo_ustring_getlength(value) == 5, "five octets of text");
  expect(namespaceUri != NULL && strcmp(talvo_ustring_getutf8(namespaceUri), "urn:x") == 0,
         "the default namespace is inherited");
  talvo_ustring_free(namespaceUri);
  talvo_ustring_free(value);
  talvo_ustring_free(name);
  talvo_data_blob *canonical = talvo_xml_c14nnode(child, TALVO_C14N_10, NULL);
  static const char kCanonical[] = "<c xmlns=\"urn:x\">caf\xC3\xA9</c>";
  expect(talvo_data_blob_getlength(canonical) == strlen(kCanonical) &&
             memcmp(talvo_data_blob_getdata(canonical), kCanonical, strlen(kCanonical)) == 0,
         "canonical text of the child");
  talvo_data_blob_free(canonical);
  talvo_xml_doc_free(doc);
}

static void saysWhyVerifyingFails(void) {
  XmlDoc *doc = talvo_xml_parse("<a/>", 4);
  uint32_t error = 0;
  expect(talvo_xml_signature_verify(doc, NULL, 0, NULL, &error) == 0 &&
             error == TALVO_VERIFY_ERROR_NO_SIGNATURE,
         "a document without signature has an error of its own");
  talvo_xml_doc_free(doc);
}

static void toleratesNull(void) {
  uint32_t error = 0;
  expect(talvo_xml_parse(NULL, 0) == NULL, "no text, no document");
  expect(talvo_xml_node_getname(NULL) == NULL, "no node, no name");
  expect(talvo_arraylist_getcount(NULL) == -1, "no list, no count");
  expect(talvo_xml_decode_signature(NULL) == NULL, "no element, no signature");
  expect(
      talvo_xml_signature_sign(NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, &error) == 0,
      "nothing to sign");
  expect(TalvoPKICertOpen(NULL, 0, NULL) == NULL, "no bytes, no certificate");
  talvo_xml_doc_free(NULL);
  talvo_xml_node_free(NULL);
  talvo_xml_free_signature(NULL);
  talvo_ustring_free(NULL);
  TalvoPKICertFreeCert(NULL);
}

int main(void) {
  /* Start-up and shut-down may follow each other any number of times. */
  for (int round = 0; round < 3; ++round) {
    expect(talvo_xml_init() == 1, "start-up");
    readsADocument();
    saysWhyVerifyingFails();
    toleratesNull();
    talvo_xml_end();
    expect(talvo_memory_getliveblocks() == 0, "nothing is left behind");
  }
  return failures == 0 ? 0 : 1;
}
