/* Signs an XML document and verifies the result.
 *
 *   cat cert.pem key.pem > signer.pem
 *   sign_verify signer.pem invoice.xml invoice-signed.xml
 *
 * Build it against the installed library:
 *
 *   cc -std=c11 sign_verify.c $(pkg-config --cflags --libs talvo_xml) -o sign_verify
 */
#include <stdio.h>
#include <stdlib.h>

#include <talvo_xml.h>

/* The whole file in a new blob, or NULL. */
static talvo_data_blob *readFile(const char *path) {
  FILE *file = fopen(path, "rb");
  if (file == NULL) {
    return NULL;
  }
  talvo_data_blob *content = NULL;
  if (fseek(file, 0, SEEK_END) == 0) {
    long size = ftell(file);
    char *buffer = size > 0 ? malloc((size_t)size) : NULL;
    rewind(file);
    if (buffer != NULL && fread(buffer, 1, (size_t)size, file) == (size_t)size) {
      content = talvo_data_blob_new(buffer, (size_t)size);
    }
    free(buffer);
  }
  fclose(file);
  return content;
}

static int writeFile(const char *path, const talvo_data_blob *content) {
  FILE *file = fopen(path, "wb");
  if (file == NULL) {
    return 0;
  }
  size_t length = talvo_data_blob_getlength(content);
  int written = fwrite(talvo_data_blob_getdata(content), 1, length, file) == length;
  return fclose(file) == 0 && written;
}

/* A document from a stranger: nothing is fetched while it is parsed. */
static XmlDoc *parse(const talvo_data_blob *content) {
  return talvo_xml_parse_ex(talvo_data_blob_getdata(content),
                            (int64_t)talvo_data_blob_getlength(content),
                            TALVO_PARSE_NO_NETWORK | TALVO_PARSE_NO_EXTERNALS);
}

/* A new list of one borrowed item. The functions that take a list keep references of their own. */
static talvo_arraylist *listOf(void *item) {
  talvo_arraylist *list = talvo_arraylist_new(NULL, NULL);
  talvo_arraylist_pushback(list, item);
  return list;
}

/* What is to be signed: the document without its signature, digested with SHA-256. */
static SignedInfoCtx *newSignedInfo(int32_t method) {
  TransformCtx *enveloped = talvo_xml_signature_transformctx_new(TALVO_TRANSFORM_ENVELOPED, NULL);
  talvo_arraylist *transforms = listOf(enveloped);
  talvo_ustring *wholeDocument = talvo_ustring_newutf8("", 0);
  ReferenceCtx *reference = talvo_xml_signature_referencectx_new(
      TALVO_DIGEST_SHA256, NULL, wholeDocument, NULL, NULL, transforms);
  talvo_arraylist *references = listOf(reference);
  SignedInfoCtx *signedInfo =
      talvo_xml_signature_signedinfoctx_new(NULL, TALVO_C14N_10, NULL, method, references);
  talvo_arraylist_free(references);
  talvo_xml_signature_referencectx_free(reference);
  talvo_ustring_free(wholeDocument);
  talvo_arraylist_free(transforms);
  talvo_xml_signature_transformctx_free(enveloped);
  return signedInfo;
}

/* Appends a signature to the children of the root element. */
static int sign(XmlDoc *doc, TalvoPKICert *signer) {
  int32_t keyType = 0;
  TalvoPKICertGetCertIntegerAttribute(signer, TALVO_CERT_KEY_TYPE, &keyType);
  SignedInfoCtx *signedInfo = newSignedInfo(
      keyType == TALVO_KEY_TYPE_EC ? TALVO_SIGNATURE_ECDSA_SHA256 : TALVO_SIGNATURE_RSA_SHA256);
  XmlNode *signature = NULL; /* borrowed: it belongs to the document */
  uint32_t error = 0;
  int done = talvo_xml_signature_sign(doc, talvo_xml_doc_getrootelement(doc), NULL, NULL,
                                      signedInfo, NULL, signer, NULL, &signature, &error);
  if (!done) {
    fprintf(stderr, "signing failed: error %u\n", (unsigned)error);
  }
  talvo_xml_signature_signedinfoctx_free(signedInfo);
  return done;
}

/* Says whose key a signature was verified with. Whether that signer is trusted is for the caller to
 * decide; the library does not. */
static void printSigner(const SignatureKey *key) {
  TalvoPKICert *certificate = talvo_xml_signature_key_getcert(key);
  talvo_ustring *subject = TalvoPKICertGetCertStringAttribute(certificate, TALVO_CERT_SUBJECT);
  printf("signed by %s\n", subject != NULL ? talvo_ustring_getutf8(subject) : "a bare key");
  talvo_ustring_free(subject);
  TalvoPKICertFreeCert(certificate);
}

static int verify(const talvo_data_blob *content) {
  XmlDoc *doc = parse(content);
  talvo_arraylist *keys = NULL;
  uint32_t error = 0;
  int valid = talvo_xml_signature_verify(doc, NULL, 0, &keys, &error);
  if (!valid) {
    fprintf(stderr, "not valid: error %u\n", (unsigned)error);
  }
  for (int32_t i = 0; valid && i < talvo_arraylist_getcount(keys); ++i) {
    printSigner(talvo_arraylist_getitem(keys, i));
  }
  talvo_arraylist_free(keys);
  talvo_xml_doc_free(doc);
  return valid;
}

static int run(const char *signerPath, const char *inPath, const char *outPath) {
  talvo_data_blob *signerFile = readFile(signerPath);
  talvo_data_blob *in = readFile(inPath);
  TalvoPKICert *signer = TalvoPKICertOpen(talvo_data_blob_getdata(signerFile),
                                          talvo_data_blob_getlength(signerFile), NULL);
  XmlDoc *doc = parse(in);
  talvo_data_blob *out = NULL;
  if (signer == NULL || doc == NULL) {
    fprintf(stderr, "cannot read the %s\n", signer == NULL ? "signer" : "document");
  } else if (sign(doc, signer)) {
    out = talvo_xml_doc_dump(doc, 0);
  }
  int done = out != NULL && writeFile(outPath, out) && verify(out);
  talvo_data_blob_free(out);
  talvo_xml_doc_free(doc);
  TalvoPKICertFreeCert(signer);
  talvo_data_blob_free(in);
  talvo_data_blob_free(signerFile);
  return done;
}

int main(int argc, char **argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: sign_verify SIGNER.pem IN.xml OUT.xml\n");
    return 2;
  }
  if (!talvo_xml_init()) {
    return 2;
  }
  int done = run(argv[1], argv[2], argv[3]);
  talvo_xml_end();
  return done ? 0 : 1;
}
