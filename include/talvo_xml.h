/* talvo_xml.h - XML documents, W3C XML Signatures and ETSI XAdES properties as plain C functions.
 *
 * Conventions that every function here shares:
 *
 * - Call talvo_xml_init once before anything else and talvo_xml_end once at the end.
 * - Text crosses the interface as talvo_ustring (UTF-8). A string, list, blob, certificate or key
 * that a function returns is new and the caller's to release, unless its comment says "borrowed".
 * Arguments are only read, never adopted; strings that are kept are copied, counted objects are
 * kept by one more reference.
 * - Results: 1 for success and 0 for failure; a handle, and NULL on failure; counts are -1 for a
 * NULL handle. NULL arguments are allowed everywhere and make a function fail.
 * - The error word (uint32_t *error, always the last argument) receives a code on failure only.
 * Without an error word such a function does nothing and answers 0 or NULL. There are two families
 * of codes, TALVO_SIGN_ERROR_ and TALVO_VERIFY_ERROR_; where a comment lists those that a function
 * can give, it lists their numbers.
 * - Nodes: an XmlNode is a node of any kind, an XmlDoc one of kind document. Nodes that the library
 * made and nobody linked yet ("free-standing") belong to the caller and are released with
 * talvo_xml_node_free or at talvo_xml_end; a node inside a document belongs to the document.
 * Records and contexts point at nodes and never own them: the document must outlive them.
 * - Contexts (..._ctx) and Signature records are reference counted: ..._dup adds a reference,
 * ..._free drops one.
 * - Threads: the library starts none. Distinct documents, records and contexts may be used in
 * distinct threads; one of them must not be used by two threads at once. Start-up and shut-down run
 * alone.
 */
#ifndef TALVO_XML_H
#define TALVO_XML_H

#include "talvo_crypto.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Types of references that XAdES defines. */
#define TALVO_XML_TYPE_SIGNED_PROPERTIES "http://uri.etsi.org/01903#SignedProperties"
#define TALVO_XML_TYPE_COUNTERSIGNED_SIGNATURE "http://uri.etsi.org/01903#CountersignedSignature"
/* The type of a reference to a Manifest (XML Signature). */
#define TALVO_XML_TYPE_MANIFEST "http://www.w3.org/2000/09/xmldsig#Manifest"

typedef struct XmlNode XmlNode;
typedef XmlNode XmlDoc;
typedef struct Signature Signature;
typedef struct Reference Reference;
typedef struct SignedInfoCtx SignedInfoCtx;
typedef struct ReferenceCtx ReferenceCtx;
typedef struct TransformCtx TransformCtx;
typedef struct ObjectCtx ObjectCtx;
typedef struct SignaturePropCtx SignaturePropCtx;
typedef struct SignatureKey SignatureKey;
typedef struct CertId CertId;
typedef struct TalvoXmlPolicy talvo_xml_policy;
typedef struct TalvoXmlReport talvo_xml_report;

/* ---- algorithms and options ---- */

/* Every number of an algorithm can also be this one, which a signature that was read can hold. */
enum {
  TALVO_ALGORITHM_UNKNOWN = -1 /* an identifier that the library does not know */
};
/* Canonicalisation methods. */
enum {
  TALVO_C14N_10 = 1,
  TALVO_C14N_10_WITH_COMMENTS = 2,
  TALVO_C14N_EXCLUSIVE = 3,
  TALVO_C14N_EXCLUSIVE_WITH_COMMENTS = 4,
  TALVO_C14N_MINIMAL = 5, /* recognised and written, never computed */
  TALVO_C14N_11 = 6,
  TALVO_C14N_11_WITH_COMMENTS = 7
};
/* Transforms: the canonicalisation methods but TALVO_C14N_MINIMAL, and these. */
enum {
  TALVO_TRANSFORM_BASE64 = 16,
  TALVO_TRANSFORM_XPATH = 32, /* the XPath filter */
  TALVO_TRANSFORM_ENVELOPED = 48
};
/* Digest methods. */
enum {
  TALVO_DIGEST_SHA1 = 1,
  TALVO_DIGEST_MD5 = 2, /* recognised and written, never computed */
  TALVO_DIGEST_SHA224 = 3,
  TALVO_DIGEST_SHA256 = 4,
  TALVO_DIGEST_SHA384 = 5,
  TALVO_DIGEST_SHA512 = 6,
  TALVO_DIGEST_RIPEMD160 = 7, /* recognised and written, never computed */
  TALVO_DIGEST_SM3 = 8
};
/* Signature methods. HMAC and RSA-MD5 are verified only; those of RIPEMD-160 and ESIGN are
 * recognised only; RSA-SHA224 has no identifier, so that nothing can be signed with it. */
enum {
  TALVO_SIGNATURE_HMAC_SHA1 = 33,
  TALVO_SIGNATURE_HMAC_MD5 = 34,
  TALVO_SIGNATURE_HMAC_SHA224 = 35,
  TALVO_SIGNATURE_HMAC_SHA256 = 36,
  TALVO_SIGNATURE_HMAC_SHA384 = 37,
  TALVO_SIGNATURE_HMAC_SHA512 = 38,
  TALVO_SIGNATURE_HMAC_RIPEMD160 = 39,
  TALVO_SIGNATURE_RSA_SHA1 = 65,
  TALVO_SIGNATURE_RSA_MD5 = 66,
  TALVO_SIGNATURE_RSA_SHA224 = 67,
  TALVO_SIGNATURE_RSA_SHA256 = 68,
  TALVO_SIGNATURE_RSA_SHA384 = 69,
  TALVO_SIGNATURE_RSA_SHA512 = 70,
  TALVO_SIGNATURE_RSA_RIPEMD160 = 71,
  TALVO_SIGNATURE_DSA_SHA1 = 72,
  TALVO_SIGNATURE_ECDSA_SHA1 = 73,
  TALVO_SIGNATURE_ECDSA_SHA224 = 74,
  TALVO_SIGNATURE_ECDSA_SHA256 = 75,
  TALVO_SIGNATURE_ECDSA_SHA384 = 76,
  TALVO_SIGNATURE_ECDSA_SHA512 = 77,
  TALVO_SIGNATURE_ESIGN_SHA1 = 78,
  TALVO_SIGNATURE_ESIGN_SHA224 = 79,
  TALVO_SIGNATURE_ESIGN_SHA256 = 80,
  TALVO_SIGNATURE_ESIGN_SHA384 = 81,
  TALVO_SIGNATURE_ESIGN_SHA512 = 82,
  TALVO_SIGNATURE_SM2_SM3 = 83
};
/* Certificate options. */
enum {
  TALVO_CERTIFICATES_NONE = 1,
  TALVO_CERTIFICATES_SELF = 2, /* the signer's own */
  TALVO_CERTIFICATES_PATH = 3, /* its path without the root */
  TALVO_CERTIFICATES_PATH_WITH_ROOT = 4
};
/* Dereferencing flags. */
enum {
  TALVO_DEREFERENCE_NETWORK = 1,  /* allows http and https */
  TALVO_DEREFERENCE_MANIFESTS = 2 /* verifies the references of a Manifest that a same-document URI
                                     names */
};

/* ---- start and stop ---- */

/* talvo_xml_init starts the library: it prepares libxml2, builds the names that signatures are
 * written and compared with, and creates the registry of the nodes handed out. 1, or 0 when memory
 * is exhausted; after a 0 only talvo_xml_end may be called, or talvo_xml_init again. From then on
 * libxml2 prints nothing, in this thread and in threads that start later, and loads DTDs with
 * their IDs and defaults. Those settings hold for the whole process. A second call without
 * talvo_xml_end between them loses what the first one made. */
TALVO_API int32_t talvo_xml_init(void) TALVO_NOEXCEPT;
/* talvo_xml_end cleans up libxml2's parser, which concerns every user of libxml2 in the process,
 * and frees all documents and nodes that nobody freed: every handle is void afterwards. Always 1,
 * also when nothing was started. talvo_xml_init may follow, any number of times. */
TALVO_API int32_t talvo_xml_end(void) TALVO_NOEXCEPT;
/* talvo_xml_getversion returns the borrowed version text, for example "2.0.0", started or not. */
TALVO_API const char *talvo_xml_getversion(void) TALVO_NOEXCEPT;

/* ---- nodes: kinds, navigation, names, values ----
 *
 * These functions only read. Three rules hold for all navigation:
 * - A run of adjacent texts and CDATA sections counts as one sibling: stepping on from one of its
 *   nodes skips the others in that direction.
 * - The only child of a document is its root element; what stands around it is reached as
 *   siblings.
 * - Namespace declarations are nodes. They have siblings only forward, and no parent.
 *
 * Entity references and document types are nodes too, of no kind: they can be stepped on, and every
 * question to them is answered as for NULL. */

/* The kinds of nodes. */
enum {
  TALVO_NODE_ELEMENT = 1,
  TALVO_NODE_ATTRIBUTE = 2,
  TALVO_NODE_TEXT = 3, /* or CDATA section */
  TALVO_NODE_PROCESSING_INSTRUCTION = 4,
  TALVO_NODE_COMMENT = 5,
  TALVO_NODE_DOCUMENT = 6,
  TALVO_NODE_NAMESPACE = 7 /* a namespace declaration */
};
/* talvo_xml_node_gettype returns what a node is, and (uint32_t)-1 for NULL and everything else,
 * entity references among it. */
TALVO_API uint32_t talvo_xml_node_gettype(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getdoc returns the borrowed document of a node, the node itself when it is one;
 * NULL for a node that has none, which every namespace declaration, most new nodes and removed
 * nodes are. */
TALVO_API XmlDoc *talvo_xml_node_getdoc(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getparent returns the borrowed parent: the element of an attribute, the document
 * of a root element; NULL for documents, namespace declarations and nodes without parent. */
TALVO_API XmlNode *talvo_xml_node_getparent(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getnextsibling returns the borrowed next sibling; from a text, the first node
 * behind that is no text; from an attribute or namespace declaration, the next one of the element.
 * NULL at the end and for a document. */
TALVO_API XmlNode *talvo_xml_node_getnextsibling(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getprevsibling is the same backwards; NULL for namespace declarations. */
TALVO_API XmlNode *talvo_xml_node_getprevsibling(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getattribute returns the borrowed first attribute of an element, or NULL. The
 * others are its next siblings. */
TALVO_API XmlNode *talvo_xml_node_getattribute(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getnsnode returns the borrowed first namespace declaration made on an element, or
 * NULL. */
TALVO_API XmlNode *talvo_xml_node_getnsnode(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getassociatednsnode returns the borrowed declaration that the name of an element
 * or attribute is bound to, or NULL for none; of a namespace declaration, itself. The declaration
 * lives as long as the element that holds it. For "xml:" names, and for a removed node whose
 * declaration is elsewhere, it stands on no element. */
TALVO_API XmlNode *talvo_xml_node_getassociatednsnode(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getchildren returns the borrowed first child of any kind; of a document its root
 * element, though a comment may stand before it. NULL for none and for attributes. */
TALVO_API XmlNode *talvo_xml_node_getchildren(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getelemchildren returns the borrowed first element child when nothing but white
 * space, comments and processing instructions stands before it, else NULL. */
TALVO_API XmlNode *talvo_xml_node_getelemchildren(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_skipignorenode returns the first of the following siblings, borrowed, that is no
 * processing instruction, no comment and no text of white space only; NULL for none. */
TALVO_API XmlNode *talvo_xml_node_skipignorenode(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getname returns a new string: the local name of an element, attribute or
 * processing instruction, "comment" for a comment, the prefix of a namespace declaration. NULL for
 * a default declaration, a text and a document. */
TALVO_API talvo_ustring *talvo_xml_node_getname(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getprefixedname returns a new string with the prefix alone of an element's or
 * attribute's name, or that of a namespace declaration; NULL when there is none. */
TALVO_API talvo_ustring *talvo_xml_node_getprefixedname(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getnsuri returns a new string with the namespace of a name. An element that is
 * bound to none is in the default namespace in scope; the empty string says that xmlns="" is in
 * force. An attribute is only in its own namespace. NULL for no namespace and for other kinds. */
TALVO_API talvo_ustring *talvo_xml_node_getnsuri(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getvalue returns a new string: the value of an attribute, the text of a text,
 * comment or processing instruction, the URI of a namespace declaration. NULL for elements and
 * documents, and where there is no content at all. */
TALVO_API talvo_ustring *talvo_xml_node_getvalue(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_getpcdata returns a new string that joins the texts from `first` (usually an
 * element's first child) to its last sibling. Comments, processing instructions and texts of white
 * space only are skipped; of a run of adjacent texts only the first counts. NULL when any other
 * node is among them, and when `first` is NULL. */
TALVO_API talvo_ustring *talvo_xml_node_getpcdata(const XmlNode *first) TALVO_NOEXCEPT;
/* talvo_xml_doc_getrootelement returns the borrowed root element, or NULL for none. */
TALVO_API XmlNode *talvo_xml_doc_getrootelement(const XmlDoc *doc) TALVO_NOEXCEPT;

/* ---- nodes: building and editing ----
 *
 * Who frees a node. Documents, and elements, texts, comments and processing instructions that
 * stand free, are registered: they belong to the caller, who frees them, links them, or leaves
 * them to talvo_xml_end. Linking a node unregisters it: it belongs to the tree. Attributes and
 * namespace declarations are never registered: they belong to their element. The free functions
 * ignore what is not registered, so nothing is freed twice and nothing that a document still
 * needs.
 *
 * A node that talvo_xml_node_remove takes out of a document, and a copy of an attribute, are not
 * registered either: they can be linked again, and are freed by talvo_xml_end at the latest.
 *
 * Between documents. A node that comes from another document takes along what it needs; the two
 * documents can be freed in any order. Its IDs are no longer known to the old document, nor yet to
 * the new one.
 *
 * Namespaces of what moves. A name is bound to a declaration of its prefix and namespace in scope
 * at the new place. Where there is none, one is made on the node that moved, or, where the prefix
 * means something else at the name, on its own element. An attribute then takes another prefix of
 * its namespace that is in scope, or gets a new one ("ns1", "ns2" ...), and so does one that is
 * bound to a default declaration. An element that declares its own prefix for another namespace
 * than the one it is bound to cannot be moved once it has had a parent.
 *
 * Names bound to a declaration by a call (talvo_xml_node_newelem, newattr, setns) stay bound to
 * exactly that declaration while they have no parent, and when they get their first one, also in
 * another document: the element that holds the declaration must outlive them. */

enum { TALVO_XML_10 = 0, TALVO_XML_11 = 1 };
/* talvo_xml_doc_new returns a new, registered, empty document: `version` is TALVO_XML_10 or
 * TALVO_XML_11. NULL for another version. */
TALVO_API XmlDoc *talvo_xml_doc_new(uint32_t version) TALVO_NOEXCEPT;
/* talvo_xml_node_newelem returns a new, registered element with a local name, bound to the
 * namespace declaration `ns` (NULL for none). The name is not checked. */
TALVO_API XmlNode *talvo_xml_node_newelem(const XmlNode *ns,
                                          const talvo_ustring *name) TALVO_NOEXCEPT;
/* talvo_xml_node_newtext, talvo_xml_node_newcomment and talvo_xml_node_newpi return a new,
 * registered text, comment or processing instruction. `doc` may be NULL, and so may `content`. The
 * text is taken as it stands: "&" is a character. */
TALVO_API XmlNode *talvo_xml_node_newtext(XmlDoc *doc, const talvo_ustring *text) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_node_newcomment(XmlDoc *doc, const talvo_ustring *text) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_node_newpi(XmlDoc *doc, const talvo_ustring *name,
                                        const talvo_ustring *content) TALVO_NOEXCEPT;
/* talvo_xml_node_newns declares a namespace on an element and returns the borrowed declaration.
 * NULL `prefix` declares the default namespace. NULL when the element declares that prefix
 * already. */
TALVO_API XmlNode *talvo_xml_node_newns(XmlNode *element, const talvo_ustring *uri,
                                        const talvo_ustring *prefix) TALVO_NOEXCEPT;
/* talvo_xml_node_newattr gives an element an attribute, in the namespace of the declaration `ns`
 * or, with NULL, in none, and returns it borrowed. A name that begins with "xml:" is put into the
 * XML namespace. When the element's first attribute has that name, it gets the value instead, as
 * talvo_xml_node_setvalue sets it; of other attributes the name is not looked for, so that one
 * name can come to stand twice. The value of a new attribute is taken as it stands. */
TALVO_API XmlNode *talvo_xml_node_newattr(XmlNode *element, const XmlNode *ns,
                                          const talvo_ustring *name,
                                          const talvo_ustring *value) TALVO_NOEXCEPT;
/* talvo_xml_node_dup returns a deep copy: registered, but for attributes and namespace
 * declarations. A copied attribute is in no namespace. NULL for kinds without a code. */
TALVO_API XmlNode *talvo_xml_node_dup(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_addchild makes a registered node, and the siblings that follow it, the last
 * children of an element or document. It returns the node; but a text that comes behind a text is
 * joined to that one, which is then returned, and the node's handle is void. NULL, and nothing
 * changed, when the node is not registered (it has a parent, or was removed from a document), is a
 * document, or is above `parent`, and for a namespace that cannot move (see above). */
TALVO_API XmlNode *talvo_xml_node_addchild(XmlNode *parent, XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_addprevsibling and talvo_xml_node_addnextsibling move a node, registered or not,
 * out of wherever it is to right before or after `ref`, and return it. An attribute goes only
 * beside an attribute, anything else never beside one; an attribute of the same name that the new
 * element has is freed, its handle void. NULL, and nothing changed, for a text beside a text, a
 * document or namespace declaration on either side, a `ref` that is the node or below it, and a
 * namespace that cannot move (see above).
 * Among nodes without parent a registered node is unregistered, and all its new siblings with it:
 * they are freed by talvo_xml_end, if no tree has taken them in before. */
TALVO_API XmlNode *talvo_xml_node_addprevsibling(XmlNode *ref, XmlNode *node) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_node_addnextsibling(XmlNode *ref, XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_addsibling moves a node and the siblings that follow it to right after `ref`, in
 * order, and returns the last one. As everywhere a run of texts counts as one: of such a run only
 * the first text is moved. NULL, and nothing changed, under the conditions of
 * talvo_xml_node_addnextsibling, for any of the nodes. */
TALVO_API XmlNode *talvo_xml_node_addsibling(XmlNode *ref, XmlNode *first) TALVO_NOEXCEPT;
/* talvo_xml_node_remove takes a node out of its tree, with everything below it. From a tree
 * without document an element, text, comment or processing instruction comes out registered. From
 * a document it comes out unregistered: the free functions do not take it, and IDs in it are not
 * found any more, until it is linked into the document again. Nothing happens to documents,
 * document types and namespace declarations. */
TALVO_API void talvo_xml_node_remove(XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_setdoc makes `doc` the document of a node and of everything below it, without
 * moving it: 1, or 0 for a document as `tree`. A namespace declaration has no document: 1, and no
 * change. */
TALVO_API int32_t talvo_xml_node_setdoc(XmlNode *tree, XmlDoc *doc) TALVO_NOEXCEPT;
/* talvo_xml_node_setns binds the name of an element or attribute to a namespace declaration: 1 or
 * 0. */
TALVO_API int32_t talvo_xml_node_setns(XmlNode *node, const XmlNode *ns) TALVO_NOEXCEPT;
/* talvo_xml_node_setvalue replaces the whole content of a node: 1, or 0 with the node unchanged.
 * For texts, comments and processing instructions the value is taken as it stands. For elements
 * and attributes it is read as XML text: "&amp;" stands for "&", and a lone "&", a reference to a
 * declared entity and one to what is no character of XML ("&#0;") are refused. What was below an
 * element is freed, its handles void. An attribute that is an ID is one under its new value, unless
 * that is empty or taken within the document. A document has no content: 1, and no change. 0 for a
 * namespace declaration. */
TALVO_API int32_t talvo_xml_node_setvalue(XmlNode *node, const talvo_ustring *value) TALVO_NOEXCEPT;
/* talvo_xml_doc_setrootelement makes a registered element the root of a document and returns it.
 * The root before it comes out as by talvo_xml_node_remove, but keeps its document. Siblings
 * before the element must be comments or processing instructions, and stay where they are; an
 * element with any sibling behind it is refused. NULL, and nothing changed, otherwise. */
TALVO_API XmlNode *talvo_xml_doc_setrootelement(XmlDoc *doc, XmlNode *root) TALVO_NOEXCEPT;
/* talvo_xml_node_free frees a registered node, or document, with everything below it. Anything
 * else is left alone. */
TALVO_API void talvo_xml_node_free(XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_doc_free frees a registered document with everything in it. What was removed from it,
 * or made with it and not linked, lives on without document. */
TALVO_API void talvo_xml_doc_free(XmlDoc *doc) TALVO_NOEXCEPT;

/* ---- parsing and saving ----
 *
 * A document is parsed with entities replaced, attribute defaults of its DTD added, CDATA sections
 * turned into text and white space kept; IDs that its DTD declares, and "xml:id", are known. It
 * must be well-formed; that prefixes are declared is not asked. Behind the root element everything
 * from an octet 0 on is ignored.
 *
 * Elements nest at most 257 deep. A comment, processing instruction, CDATA section or text has at
 * most 10,000,000 bytes, an attribute value a few less, a name 50,000; but a text of ASCII alone
 * may be longer when it is parsed from memory.
 *
 * DTDs and external entities that the document names are loaded, from files and over HTTP. Read
 * what comes from strangers with talvo_xml_parse_ex and both flags. */

/* Parse flags. */
enum {
  TALVO_PARSE_NO_NETWORK = 1,  /* nothing is fetched over the network; what is there only counts as
                                  missing */
  TALVO_PARSE_NO_EXTERNALS = 2 /* neither network nor files: an external DTD stays unread, and so do
                                  external parameter entities; a document that uses an external
                                  entity is refused */
};
/* Dump flags. */
enum {
  TALVO_DUMP_NO_DECLARATION = 1 /* leaves out the XML declaration */
};

/* talvo_xml_parse returns a new, registered document read from `size` bytes (1 to 2,147,483,647);
 * NULL when they are no well-formed document. */
TALVO_API XmlDoc *talvo_xml_parse(const void *buffer, int64_t size) TALVO_NOEXCEPT;
/* talvo_xml_parse_ex is talvo_xml_parse with parse flags. NULL for others. */
TALVO_API XmlDoc *talvo_xml_parse_ex(const void *buffer, int64_t size,
                                     uint32_t flags) TALVO_NOEXCEPT;
/* talvo_xml_parsefile returns a new, registered document read from a file, which may be compressed
 * with gzip; a path "http://..." is fetched. The path becomes the document's base. NULL when the
 * file cannot be read or is no well-formed document, and for "-". */
TALVO_API XmlDoc *talvo_xml_parsefile(const char *path) TALVO_NOEXCEPT;
/* talvo_xml_doc_dump_ex returns a new blob with the document as text in the encoding of that name
 * (NULL for the document's own). Nothing is indented. Other flags than dump flags mean nothing.
 * NULL for an unknown encoding and for a document without root element. */
TALVO_API talvo_data_blob *talvo_xml_doc_dump_ex(const XmlDoc *doc, const char *encoding,
                                                 uint32_t flags) TALVO_NOEXCEPT;
/* talvo_xml_doc_dump is talvo_xml_doc_dump_ex in UTF-8. */
TALVO_API talvo_data_blob *talvo_xml_doc_dump(const XmlDoc *doc, uint32_t flags) TALVO_NOEXCEPT;
/* talvo_xml_doc_save_ex writes what talvo_xml_doc_dump_ex returns to a file of exactly that name:
 * 1, or 0 when it cannot be written to the end. The file may then hold a part. */
TALVO_API int32_t talvo_xml_doc_save_ex(const XmlDoc *doc, const char *encoding,
                                        const char *filename, uint32_t flags) TALVO_NOEXCEPT;
/* talvo_xml_doc_save is talvo_xml_doc_save_ex in UTF-8. */
TALVO_API int32_t talvo_xml_doc_save(const XmlDoc *doc, const char *filename,
                                     uint32_t flags) TALVO_NOEXCEPT;
/* talvo_xml_element_dump_ex returns a new blob with one element as text, without XML declaration
 * and without the namespace declarations that stand above it. With NULL as encoding, characters
 * beyond ASCII are written as references; in attribute values they are in any encoding, unless the
 * document declares one. */
TALVO_API talvo_data_blob *talvo_xml_element_dump_ex(const XmlNode *element,
                                                     const char *encoding) TALVO_NOEXCEPT;
/* talvo_xml_element_dump is talvo_xml_element_dump_ex in UTF-8. */
TALVO_API talvo_data_blob *talvo_xml_element_dump(const XmlNode *element) TALVO_NOEXCEPT;

/* ---- search, ID attributes ----
 *
 * Names are compared whole and with regard to case: the local name, and the namespace that
 * talvo_xml_node_getnsuri tells, where NULL as `nsuri` means none. A search goes through the node
 * itself and everything below it in document order, from a document through its root element and
 * what follows it. It is built on the navigation above, so that it does not see what stands behind
 * an entity reference among its siblings. */

/* talvo_xml_node_match returns 1 when a node of any kind has that name and namespace, else 0. */
TALVO_API int32_t talvo_xml_node_match(const XmlNode *node, const talvo_ustring *name,
                                       const talvo_ustring *nsuri) TALVO_NOEXCEPT;
/* talvo_xml_node_findelemnode returns the first matching element, borrowed, or NULL. */
TALVO_API XmlNode *talvo_xml_node_findelemnode(const XmlNode *node, const talvo_ustring *name,
                                               const talvo_ustring *nsuri) TALVO_NOEXCEPT;
/* talvo_xml_node_findallelemnode hands out a new list of all matching elements, borrowed; it may
 * be empty. 1, or 0 with NULL in `list`. */
TALVO_API int32_t talvo_xml_node_findallelemnode(const XmlNode *node, const talvo_ustring *name,
                                                 const talvo_ustring *nsuri,
                                                 talvo_arraylist **list) TALVO_NOEXCEPT;
/* talvo_xml_node_findallelemnodeinlist appends all matching elements to the caller's list: 1, or 0
 * when that fails, with some of them appended. */
TALVO_API int32_t talvo_xml_node_findallelemnodeinlist(const XmlNode *node,
                                                       const talvo_ustring *name,
                                                       const talvo_ustring *nsuri,
                                                       talvo_arraylist *list) TALVO_NOEXCEPT;
/* talvo_xml_node_findsignature is talvo_xml_node_findallelemnode for Signature elements of XML
 * Signature. */
TALVO_API int32_t talvo_xml_node_findsignature(const XmlNode *node,
                                               talvo_arraylist **list) TALVO_NOEXCEPT;
/* talvo_xml_signature_issignaturenode and talvo_xml_signature_ismanifestnode return 1 for a
 * Signature or Manifest element of XML Signature, else 0. */
TALVO_API int32_t talvo_xml_signature_issignaturenode(const XmlNode *node) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_ismanifestnode(const XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_node_findattribute returns the first attribute of an element, borrowed, when it
 * matches, else NULL: the other attributes are not looked at. To find any attribute walk from
 * talvo_xml_node_getattribute with talvo_xml_node_getnextsibling. */
TALVO_API XmlNode *talvo_xml_node_findattribute(const XmlNode *element, const talvo_ustring *name,
                                                const talvo_ustring *nsuri) TALVO_NOEXCEPT;
/* talvo_xml_node_getattributevalue returns a new string with the value of the attribute that
 * talvo_xml_node_findattribute finds, or NULL. */
TALVO_API talvo_ustring *talvo_xml_node_getattributevalue(
    const XmlNode *element, const talvo_ustring *name, const talvo_ustring *nsuri) TALVO_NOEXCEPT;
/* talvo_xml_node_findxpath hands out a new list (items borrowed) of the nodes that the XPath 1.0
 * expression selects, in document order, evaluated with `node` as context node and with the
 * namespace prefixes in scope there. Namespace nodes that it selects are left out. A tree without
 * document is taken for a document of its own. 0, with NULL in `list`, when the expression does not
 * compile or does not give a node set. */
TALVO_API int32_t talvo_xml_node_findxpath(XmlNode *node, const talvo_ustring *expression,
                                           talvo_arraylist **list) TALVO_NOEXCEPT;
/* talvo_xml_getidattribute returns the attribute, borrowed, that is declared an ID of the document
 * with that value and is part of it, or NULL. The first declaration of a value wins. */
TALVO_API XmlNode *talvo_xml_getidattribute(const XmlDoc *doc,
                                            const talvo_ustring *id) TALVO_NOEXCEPT;
/* talvo_xml_getidelemnode returns the element of that attribute. */
TALVO_API XmlNode *talvo_xml_getidelemnode(const XmlDoc *doc,
                                           const talvo_ustring *id) TALVO_NOEXCEPT;
/* talvo_xml_node_setidattr declares an attribute of the document, or of a tree without document,
 * to be an ID: 1, also when another attribute in the document is an ID of that value already and
 * stays it, while one that is no longer part of the document gives way; 0 for an empty value and
 * for an attribute of another document. The value counts as it stands, blanks included. */
TALVO_API int32_t talvo_xml_node_setidattr(XmlDoc *doc, XmlNode *attr) TALVO_NOEXCEPT;

/* ---- decoding a signature, queries ---- */

/* talvo_xml_decode_signature reads a ds:Signature element of a document into a new record, or
 * returns NULL when the element is not laid out exactly as the XML Signature schema says (order of
 * the children, foreign or repeated attributes, values that are not Base64), or memory is
 * exhausted. Algorithms that the library does not know are no failure: they are kept with the
 * number -1. XAdES properties (namespace of version 1.3.2 only) that cannot be read count as
 * absent. Nothing is fetched and nothing is verified.
 *
 * When something stands behind KeyInfo (or, without KeyInfo, behind SignatureValue), the Id
 * attributes of all signatures of the document are declared as IDs, as talvo_xml_signature_setid
 * does; a signature that ends there is decoded without that and without XAdES properties. The
 * document must outlive the record. The caller releases the record with talvo_xml_free_signature.
 */
TALVO_API Signature *talvo_xml_decode_signature(XmlNode *signatureElement) TALVO_NOEXCEPT;
/* talvo_xml_signature_dup adds a reference to the record and returns it; NULL for NULL. */
TALVO_API Signature *talvo_xml_signature_dup(Signature *signature) TALVO_NOEXCEPT;
/* talvo_xml_free_signature drops one reference and releases the record with the last. Nodes stay in
 * their document. NULL is ignored. */
TALVO_API void talvo_xml_free_signature(Signature *signature) TALVO_NOEXCEPT;

/* talvo_xml_signature_getnode returns the borrowed ds:Signature element; NULL for NULL. */
TALVO_API XmlNode *talvo_xml_signature_getnode(const Signature *signature) TALVO_NOEXCEPT;
/* talvo_xml_signature_getid and talvo_xml_signature_getsignaturevalueid return a new string with
 * the Id of the Signature and of the SignatureValue element, or NULL without that attribute. */
TALVO_API talvo_ustring *talvo_xml_signature_getid(const Signature *signature) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_getsignaturevalueid(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_getsignedinfoid returns a new string with the Id of SignedInfo, or NULL. */
TALVO_API talvo_ustring *talvo_xml_signature_getsignedinfoid(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_getsignaturevalue returns the octets of SignatureValue as a new blob. */
TALVO_API talvo_data_blob *talvo_xml_signature_getsignaturevalue(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_getc14nmethod returns the number of the canonicalisation method of
 * SignedInfo, -1 for an unknown one and for NULL; talvo_xml_signature_getc14nuri returns its
 * identifier as written, a new string. */
TALVO_API int32_t talvo_xml_signature_getc14nmethod(const Signature *signature) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_getc14nuri(const Signature *signature) TALVO_NOEXCEPT;
/* talvo_xml_signature_getsignalgothrim hands out the number of the signature method (-1 for an
 * unknown one) and returns 1; 0 for a NULL argument. */
TALVO_API int32_t talvo_xml_signature_getsignalgothrim(const Signature *signature,
                                                       int32_t *method) TALVO_NOEXCEPT;
/* talvo_xml_signature_getsignatureuri returns the identifier of the signature method as written, a
 * new string. */
TALVO_API talvo_ustring *talvo_xml_signature_getsignatureuri(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_gethmaclength hands out the octets that an HMAC signature value must have:
 * HMACOutputLength divided by 8, or the full output without that element. 0 for a method that is
 * no HMAC and for a length that is not a multiple of 8 bits. */
TALVO_API int32_t talvo_xml_signature_gethmaclength(const Signature *signature,
                                                    int32_t *length) TALVO_NOEXCEPT;
/* talvo_xml_signature_getreflist returns a new list of the Reference records of SignedInfo in
 * document order. The records are borrowed: they live as long as the signature, and the caller
 * releases only the list. NULL for NULL. */
TALVO_API talvo_arraylist *talvo_xml_signature_getreflist(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_getsignedinfo returns a new context that describes SignedInfo
 * (canonicalisation with its prefixes, method, references with their digests as given digests),
 * or NULL where such a context cannot be made: an HMAC or unknown method, an unknown algorithm,
 * exclusive canonicalisation without a prefix list, a reference without URI. The caller releases
 * it with talvo_xml_signature_signedinfoctx_free. */
TALVO_API SignedInfoCtx *talvo_xml_signature_getsignedinfo(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_getsigncert returns a new handle of the certificate whose key verified the
 * signature value, or NULL before verification and after one without certificate. */
TALVO_API TalvoPKICert *talvo_xml_signature_getsigncert(const Signature *signature) TALVO_NOEXCEPT;

/* talvo_xml_signature_decodemanifestnode reads a ds:Manifest element strictly and returns a new
 * list of its Reference records in document order, or NULL. The records are the caller's: each is
 * released with talvo_xml_free_signature_reference, then the list. */
TALVO_API talvo_arraylist *talvo_xml_signature_decodemanifestnode(XmlNode *manifestElement)
    TALVO_NOEXCEPT;
TALVO_API void talvo_xml_free_signature_reference(Reference *reference) TALVO_NOEXCEPT;
/* What a Reference record holds. The node is borrowed; strings and the blob are new. A NULL string
 * means that the attribute is absent; an empty URI is an empty string. */
TALVO_API XmlNode *talvo_xml_signature_reference_getnode(const Reference *reference) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_reference_getid(const Reference *reference)
    TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_reference_geturi(const Reference *reference)
    TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_reference_gettype(const Reference *reference)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_reference_getdigestmethod returns the number of the digest method, -1 for an
 * unknown one and for NULL; ..._getdigesturi returns its identifier as written. */
TALVO_API int32_t talvo_xml_signature_reference_getdigestmethod(const Reference *reference)
    TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_reference_getdigesturi(const Reference *reference)
    TALVO_NOEXCEPT;
TALVO_API talvo_data_blob *talvo_xml_signature_reference_getdigestvalue(const Reference *reference)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_reference_gettransformcount returns how many transforms the reference has; 0
 * without ds:Transforms; -1 for NULL. The three getters behind it answer for the transform at
 * `index`: its number (-1 for an unknown identifier or no such transform), its identifier as
 * written (new), its element (borrowed). */
TALVO_API int32_t talvo_xml_signature_reference_gettransformcount(const Reference *reference)
    TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_reference_gettransform(const Reference *reference,
                                                             int32_t index) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_reference_gettransformuri(
    const Reference *reference, int32_t index) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_signature_reference_gettransformnode(const Reference *reference,
                                                                  int32_t index) TALVO_NOEXCEPT;

/* The kinds of the children of KeyInfo. */
enum {
  TALVO_KEYINFO_OTHER = -1, /* or no such child */
  TALVO_KEYINFO_KEY_NAME = 1,
  TALVO_KEYINFO_KEY_VALUE = 2,
  TALVO_KEYINFO_RETRIEVAL_METHOD = 3,
  TALVO_KEYINFO_X509_DATA = 4,
  TALVO_KEYINFO_MGMT_DATA = 7
};
/* The kinds of a KeyValue. */
enum {
  TALVO_KEY_VALUE_OTHER = -1, /* or no KeyValue */
  TALVO_KEY_VALUE_DSA = 1,
  TALVO_KEY_VALUE_RSA = 2
};
/* The children of KeyInfo, in document order. talvo_xml_signature_getkeyinfocount returns how many
 * there are; 0 without KeyInfo; -1 for NULL. talvo_xml_signature_getkeyinfokind returns the kind.
 */
TALVO_API int32_t talvo_xml_signature_getkeyinfocount(const Signature *signature) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_getkeyinfokind(const Signature *signature,
                                                     int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_getkeyinfotext returns a new string: the text of a KeyName or MgmtData, the
 * URI of a RetrievalMethod; NULL for another kind. */
TALVO_API talvo_ustring *talvo_xml_signature_getkeyinfotext(const Signature *signature,
                                                            int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_getkeyinfokeytype returns the kind of a KeyValue;
 * talvo_xml_signature_getkeyinfokeybits the bits of its modulus or of its P, 0 for a
 * DSA key that leaves P to the caller, -1 for another child. */
TALVO_API int32_t talvo_xml_signature_getkeyinfokeytype(const Signature *signature,
                                                        int32_t index) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_getkeyinfokeybits(const Signature *signature,
                                                        int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_getkeyinfonode returns the borrowed node of a child that the library does not
 * know (TALVO_KEYINFO_OTHER), else NULL. */
TALVO_API XmlNode *talvo_xml_signature_getkeyinfonode(const Signature *signature,
                                                      int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_getkeyinfocertcount returns how many X509Certificate elements KeyInfo holds
 * in all; -1 for NULL. talvo_xml_signature_getkeyinfocert returns a new certificate, or NULL when
 * the index is out of range or the octets are no certificate. */
TALVO_API int32_t talvo_xml_signature_getkeyinfocertcount(const Signature *signature)
    TALVO_NOEXCEPT;
TALVO_API TalvoPKICert *talvo_xml_signature_getkeyinfocert(const Signature *signature,
                                                           int32_t index) TALVO_NOEXCEPT;

/* The ds:Object elements of the signature. The count is 0 without any and -1 for NULL; the node is
 * borrowed, the three attributes are new strings or NULL. */
TALVO_API int32_t talvo_xml_signature_getobjectcount(const Signature *signature) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_signature_getobjectnode(const Signature *signature,
                                                     int32_t index) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_getobjectid(const Signature *signature,
                                                         int32_t index) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_getobjectmimetype(const Signature *signature,
                                                               int32_t index) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_getobjectencoding(const Signature *signature,
                                                               int32_t index) TALVO_NOEXCEPT;
/* What an Object holds: the items of one that was read, or all of an ObjectCtx. */
enum {
  TALVO_OBJECT_TEXT = 1,
  TALVO_OBJECT_SIGNATURE = 2, /* read only */
  TALVO_OBJECT_SIGNATURE_PROPERTIES = 3,
  TALVO_OBJECT_MANIFEST = 4,
  TALVO_OBJECT_NODE = 5 /* any other node, and those behind it in an ObjectCtx */
};
/* The content of the Object at `index`: its nodes from the first element child on, without blank
 * text, comments and processing instructions. The count is 0 for an Object without element child
 * and -1 for NULL or no such Object. The kind is -1 for no such item. The node is borrowed; NULL
 * for text. */
TALVO_API int32_t talvo_xml_signature_getobjectcontentcount(const Signature *signature,
                                                            int32_t index) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_getobjectcontentkind(const Signature *signature,
                                                           int32_t index,
                                                           int32_t item) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_signature_getobjectcontentnode(const Signature *signature,
                                                            int32_t index,
                                                            int32_t item) TALVO_NOEXCEPT;

/* talvo_xml_signature_xades_hassigningcertificate returns 1 when the signature names its signing
 * certificate in a readable XAdES SigningCertificate, else 0. */
TALVO_API int32_t talvo_xml_signature_xades_hassigningcertificate(const Signature *signature)
    TALVO_NOEXCEPT;
/* The certificates named there: -1 for NULL, 0 without any; a new CertId, or NULL when the index is
 * out of range. */
TALVO_API int32_t talvo_xml_signature_xades_getsigningcertificatecount(const Signature *signature)
    TALVO_NOEXCEPT;
TALVO_API CertId *talvo_xml_signature_xades_getsigningcertificate(const Signature *signature,
                                                                  int32_t index) TALVO_NOEXCEPT;
/* A new string with the Id of the XAdES container, or NULL without the container or the attribute.
 * The Id of SignedProperties is that of the first child of QualifyingProperties, whatever its
 * name. */
TALVO_API talvo_ustring *talvo_xml_signature_xades_getqualifyingpropertiesid(
    const Signature *signature) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_xades_getsignedpropertiesid(const Signature *signature)
    TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_xades_getsignedsignaturepropertiesid(
    const Signature *signature) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getcertificatevaluescount returns how many certificates the XAdES
 * CertificateValues hold; 0 without them, and also when one of them cannot be read; -1 for NULL. */
TALVO_API int32_t talvo_xml_signature_xades_getcertificatevaluescount(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getcertificatevalue returns a new handle of the certificate at `index`
 * of the certificate values, or NULL when the index is out of range. */
TALVO_API TalvoPKICert *talvo_xml_signature_xades_getcertificatevalue(const Signature *signature,
                                                                      int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getcompleterevocationrefscount and
 * talvo_xml_signature_xades_getcompleterevocationref serve, in spite of their names, the
 * certificates listed in CompleteCertificateRefs: their number (0 without any, -1 for NULL), and a
 * new CertId, or NULL when the index is out of range. */
TALVO_API int32_t
talvo_xml_signature_xades_getcompleterevocationrefscount(const Signature *signature) TALVO_NOEXCEPT;
TALVO_API CertId *talvo_xml_signature_xades_getcompleterevocationref(const Signature *signature,
                                                                     int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getcountersignaturecount returns the number of countersignatures; 0
 * without any; -1 for NULL. talvo_xml_signature_xades_getcountersignature returns the borrowed
 * ds:Signature element of one, or NULL. */
TALVO_API int32_t talvo_xml_signature_xades_getcountersignaturecount(const Signature *signature)
    TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_signature_xades_getcountersignature(const Signature *signature,
                                                                 int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getsignaturetimestampcount returns the number of signature
 * time-stamps; 0 without any, and also when one of them cannot be read; -1 for NULL. */
TALVO_API int32_t talvo_xml_signature_xades_getsignaturetimestampcount(const Signature *signature)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getsignaturetimestamptoken returns a new blob with the DER of a
 * time-stamp token, or NULL; ..._getsignaturetimestampc14n the number of the canonicalisation of
 * what was stamped, -1 for an unknown one, for none and for no such time-stamp. */
TALVO_API talvo_data_blob *talvo_xml_signature_xades_getsignaturetimestamptoken(
    const Signature *signature, int32_t index) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_xades_getsignaturetimestampc14n(const Signature *signature,
                                                                      int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getsigningtime returns the claimed signing time as a new time in UTC,
 * or NULL without one or when its text is no xsd:dateTime with time zone. Digits behind the decimal
 * point count as milliseconds, as they stand: ".5" is 5 ms. */
TALVO_API talvo_time *talvo_xml_signature_xades_getsigningtime(const Signature *signature)
    TALVO_NOEXCEPT;

/* A CertId names one certificate by digest, issuer and serial number. ..._getcerthashalgo returns
 * the digest number, -1 for an unknown one and for NULL; ..._getcerthashvalue hands out a new copy
 * of the digest, released with talvo_free, and returns 1 or 0; ..._getissuer returns the issuer as
 * written, a new NUL-terminated text released with talvo_free; ..._getsn the serial number, or NULL
 * when its text is no decimal number. */
TALVO_API int32_t talvo_xml_signature_xades_certid_getcerthashalgo(const CertId *certId)
    TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_xades_certid_getcerthashvalue(
    const CertId *certId, uint8_t **bytes, uint32_t *length) TALVO_NOEXCEPT;
TALVO_API char *talvo_xml_signature_xades_certid_getissuer(const CertId *certId) TALVO_NOEXCEPT;
TALVO_API talvo_biginteger *talvo_xml_signature_xades_certid_getsn(const CertId *certId)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_certid_matchcert returns 1 when the certificate is taken for the
 * named one, else 0. Digests of SHA-1, SHA-224 to SHA-512 and SM3 are compared; a digest of
 * another length does not match; a digest of the right length that DIFFERS matches at once; an
 * equal one matches when serial number and issuer are the same too. This established behaviour
 * is kept: do not build trust on it. */
TALVO_API int32_t talvo_xml_signature_xades_certid_matchcert(
    const CertId *certId, const TalvoPKICert *certificate) TALVO_NOEXCEPT;
TALVO_API void talvo_xml_signature_xades_certid_free(CertId *certId) TALVO_NOEXCEPT;

/* ---- what is to be signed: contexts and keys ----
 *
 * A SignedInfoCtx describes one signature and holds its ReferenceCtx, each of which holds its
 * TransformCtx; an ObjectCtx describes one Object to write into the signature, and a
 * SignaturePropCtx one property of such an Object. They are made by the ..._new functions, which
 * copy every string and keep one more reference to every context in a list, and return NULL for a
 * value that they refuse and when memory is exhausted. Generators and signing functions read them,
 * and write only the nodes that belong to the signature being made (see ..._objectctx_newnode). A
 * context can be used for several signatures, one after the other.
 *
 * The ..._dup functions add a reference and return the same handle; the ..._free functions drop one
 * and release the context with the last. Both accept NULL. */
TALVO_API SignedInfoCtx *talvo_xml_signature_signedinfoctx_dup(SignedInfoCtx *context)
    TALVO_NOEXCEPT;
TALVO_API void talvo_xml_signature_signedinfoctx_free(SignedInfoCtx *context) TALVO_NOEXCEPT;
TALVO_API ReferenceCtx *talvo_xml_signature_referencectx_dup(ReferenceCtx *context) TALVO_NOEXCEPT;
TALVO_API void talvo_xml_signature_referencectx_free(ReferenceCtx *context) TALVO_NOEXCEPT;
TALVO_API TransformCtx *talvo_xml_signature_transformctx_dup(TransformCtx *context) TALVO_NOEXCEPT;
TALVO_API void talvo_xml_signature_transformctx_free(TransformCtx *context) TALVO_NOEXCEPT;
TALVO_API ObjectCtx *talvo_xml_signature_objectctx_dup(ObjectCtx *context) TALVO_NOEXCEPT;
TALVO_API void talvo_xml_signature_objectctx_free(ObjectCtx *context) TALVO_NOEXCEPT;
TALVO_API SignaturePropCtx *talvo_xml_signature_signaturepropctx_dup(SignaturePropCtx *context)
    TALVO_NOEXCEPT;
TALVO_API void talvo_xml_signature_signaturepropctx_free(SignaturePropCtx *context) TALVO_NOEXCEPT;

/* talvo_xml_signature_signedinfoctx_new makes the context of a signature. `id` (may be NULL)
 * becomes the Id of SignedInfo. `c14nMethod` is any but TALVO_C14N_MINIMAL; the exclusive ones
 * need a list of at least one prefix (ustrings), the others ignore it. `signatureMethod` is one
 * of RSA but TALVO_SIGNATURE_RSA_MD5 and ..._RSA_RIPEMD160, of DSA, ECDSA or SM2; with
 * TALVO_SIGNATURE_RSA_SHA224, which has no identifier, generating SignedInfo will fail.
 * `references` is a list of at least one ReferenceCtx, in the order in which they are written.
 * The signer's own certificate is written into KeyInfo unless
 * talvo_xml_signature_signedinfoctx_setincludecertflag says otherwise, and no XAdES property is
 * asked for. */
TALVO_API SignedInfoCtx *talvo_xml_signature_signedinfoctx_new(
    const talvo_ustring *id, uint32_t c14nMethod, const talvo_arraylist *prefixes,
    int32_t signatureMethod, const talvo_arraylist *references) TALVO_NOEXCEPT;
/* talvo_xml_signature_referencectx_new makes the context of a reference. `digestMethod` is one that
 * is computed. `uri` is stored percent-encoded (talvo_xml_uri_encode); "" is the whole document,
 * and NULL a reference without URI, whose octets are `content` (copied; otherwise NULL). One of the
 * two is required. `transforms` is a list of TransformCtx in the order in which they run; NULL and
 * the empty list mean none. `id`, `type`: the attributes, may be NULL. */
TALVO_API ReferenceCtx *talvo_xml_signature_referencectx_new(
    uint32_t digestMethod, const talvo_ustring *id, const talvo_ustring *uri,
    const talvo_ustring *type, const talvo_data_blob *content,
    const talvo_arraylist *transforms) TALVO_NOEXCEPT;
/* talvo_xml_signature_referencectx_newwithhash makes the context of a reference whose digest is
 * already known: it is written as it stands, and the URI, which is required, is not read when
 * signing. `digest` must have the length that the method produces. */
TALVO_API ReferenceCtx *talvo_xml_signature_referencectx_newwithhash(
    uint32_t digestMethod, const talvo_data_blob *digest, const talvo_ustring *id,
    const talvo_ustring *uri, const talvo_ustring *type,
    const talvo_arraylist *transforms) TALVO_NOEXCEPT;
/* talvo_xml_signature_transformctx_new makes the context of a transform. For the exclusive
 * canonicalisations `parameter` is a `const talvo_arraylist *` of prefixes (ustrings), not empty;
 * NULL is accepted, but the transform cannot be run then, and signing fails with 3. For
 * TALVO_TRANSFORM_XPATH it is a `const talvo_ustring *` with the XPath expression, required; the
 * expression is evaluated with the namespaces in scope at the place where the signature writes it.
 * The other transforms ignore it. */
TALVO_API TransformCtx *talvo_xml_signature_transformctx_new(int32_t transform,
                                                             const void *parameter) TALVO_NOEXCEPT;
/* talvo_xml_signature_objectctx_newdata makes the context of an Object that holds a text. `data` is
 * required; the attributes may be NULL. */
TALVO_API ObjectCtx *talvo_xml_signature_objectctx_newdata(
    const talvo_ustring *id, const talvo_ustring *mimeType, const talvo_ustring *encoding,
    const talvo_ustring *data) TALVO_NOEXCEPT;
/* talvo_xml_signature_objectctx_newnode makes the context of an Object that holds nodes: `node`, an
 * element that is free-standing or in any document, and all siblings that follow it. They are
 * borrowed until the Object is generated. Then the whole run moves into the Object, the caller does
 * not own free-standing nodes any more, and the context holds no node: it can be used once. */
TALVO_API ObjectCtx *talvo_xml_signature_objectctx_newnode(const talvo_ustring *id,
                                                           XmlNode *node) TALVO_NOEXCEPT;
/* talvo_xml_signature_objectctx_newmanifest makes the context of an Object that holds a Manifest.
 * `id`, the Id of the Manifest, and a list of at least one ReferenceCtx are required. */
TALVO_API ObjectCtx *talvo_xml_signature_objectctx_newmanifest(
    const talvo_ustring *id, const talvo_arraylist *references) TALVO_NOEXCEPT;
/* talvo_xml_signature_objectctx_newsignprops makes the context of an Object that holds
 * SignatureProperties with the given Id (may be NULL) and at least one SignaturePropCtx. */
TALVO_API ObjectCtx *talvo_xml_signature_objectctx_newsignprops(
    const talvo_ustring *id, const talvo_arraylist *properties) TALVO_NOEXCEPT;
/* talvo_xml_signature_signaturepropctx_new makes the context of one SignatureProperty. `target` is
 * the value of its Target attribute, "#" and the Id of the signature; `content` is the first node
 * of its content and moves, with the siblings that follow it, as those of
 * talvo_xml_signature_objectctx_newnode do. Both are required. */
TALVO_API SignaturePropCtx *talvo_xml_signature_signaturepropctx_new(
    const talvo_ustring *id, const talvo_ustring *target, XmlNode *content) TALVO_NOEXCEPT;

/* What a SignatureKey holds. */
enum {
  TALVO_SIGNATURE_KEY_HMAC = 1, /* a secret; made by verification only */
  TALVO_SIGNATURE_KEY_CERTIFICATE = 4,
  TALVO_SIGNATURE_KEY_PUBLIC = 5
};
/* Keys are not counted: a copy is an object of its own that holds a new handle of the same
 * certificate or public key, or a copy of the secret.
 *
 * talvo_xml_signature_key_newcert makes a key that holds a certificate. */
TALVO_API SignatureKey *talvo_xml_signature_key_newcert(const TalvoPKICert *certificate)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_key_newpubkey makes a key that holds a public key. */
TALVO_API SignatureKey *talvo_xml_signature_key_newpubkey(TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
TALVO_API SignatureKey *talvo_xml_signature_key_dup(const SignatureKey *key) TALVO_NOEXCEPT;
TALVO_API void talvo_xml_signature_key_free(SignatureKey *key) TALVO_NOEXCEPT;
/* talvo_xml_signature_key_gettype returns what a key holds; 0 for NULL. */
TALVO_API uint32_t talvo_xml_signature_key_gettype(const SignatureKey *key) TALVO_NOEXCEPT;
/* talvo_xml_signature_key_getcert returns a new handle of the certificate that a key holds, else
 * NULL. */
TALVO_API TalvoPKICert *talvo_xml_signature_key_getcert(const SignatureKey *key) TALVO_NOEXCEPT;
/* talvo_xml_signature_key_getpubkey returns a new handle of the public key that a key holds, else
 * NULL. */
TALVO_API TalvoPKIPublicKey *talvo_xml_signature_key_getpubkey(const SignatureKey *key)
    TALVO_NOEXCEPT;

/* The setters return 1, or 0 for a value that they refuse; then the earlier value stays.
 *
 * talvo_xml_signature_signedinfoctx_setincludecertflag chooses the certificates written into
 * KeyInfo (certificate options). */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_setincludecertflag(
    SignedInfoCtx *context, int32_t option) TALVO_NOEXCEPT;
/* talvo_xml_signature_signedinfoctx_setsignaturevalueid sets the Id of SignatureValue, which a
 * countersignature needs. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_setsignaturevalueid(
    SignedInfoCtx *context, const talvo_ustring *id) TALVO_NOEXCEPT;
/* The XAdES properties below are written when at least one of signing time, signing certificate,
 * signature policy and production place is asked for; the Ids alone ask for nothing. They are only
 * signed when the caller lists a reference to them: URI "#" and the Id of SignedProperties.
 *
 * ..._xades_setusesigningtime writes the time of signing, or no time for 0. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_xades_setusesigningtime(
    SignedInfoCtx *context, int32_t flag) TALVO_NOEXCEPT;
/* ..._xades_setsigningcertificateinfo names the signer's certificate by a digest that is computed.
 * `option` is a certificate option but TALVO_CERTIFICATES_NONE. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(
    SignedInfoCtx *context, int32_t digestMethod, int32_t option) TALVO_NOEXCEPT;
/* ..._xades_setsignaturepolicyimplied states that the signature policy follows from the context. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(
    SignedInfoCtx *context) TALVO_NOEXCEPT;
/* ..._xades_setsignatureproductionplace replaces the place as a whole; what is NULL is not written.
 * At least one part is required. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
    SignedInfoCtx *context, const talvo_ustring *city, const talvo_ustring *stateOrProvince,
    const talvo_ustring *postalCode, const talvo_ustring *countryName) TALVO_NOEXCEPT;
/* The Ids of QualifyingProperties, SignedProperties and SignedSignatureProperties; required. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_xades_setqualifyingpropertiesid(
    SignedInfoCtx *context, const talvo_ustring *id) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid(
    SignedInfoCtx *context, const talvo_ustring *id) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_signedinfoctx_xades_setsignedsignaturepropertiesid(
    SignedInfoCtx *context, const talvo_ustring *id) TALVO_NOEXCEPT;

/* Getters. Strings are new, and NULL where the context has none; numbers are -1 for NULL. Lists are
 * new and the caller's to release: those of contexts hold one more reference to each (releasing the
 * list drops it), those of strings hold copies; what is empty is NULL. */
TALVO_API talvo_ustring *talvo_xml_signature_signedinfoctx_getid(const SignedInfoCtx *context)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_signedinfoctx_getsignalgoid returns the signature method. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_getsignalgoid(const SignedInfoCtx *context)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_signedinfoctx_getc14nmethon returns the canonicalisation of SignedInfo;
 * ..._getc14nparam its prefixes, NULL unless the method is exclusive. */
TALVO_API int32_t talvo_xml_signature_signedinfoctx_getc14nmethon(const SignedInfoCtx *context)
    TALVO_NOEXCEPT;
TALVO_API talvo_arraylist *talvo_xml_signature_signedinfoctx_getc14nparam(
    const SignedInfoCtx *context) TALVO_NOEXCEPT;
TALVO_API talvo_arraylist *talvo_xml_signature_signedinfoctx_getrefs(const SignedInfoCtx *context)
    TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_referencectx_getid(const ReferenceCtx *context)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_referencectx_geturi returns the URI as it will be written,
 * percent-encoded. */
TALVO_API talvo_ustring *talvo_xml_signature_referencectx_geturi(const ReferenceCtx *context)
    TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_signature_referencectx_gettype(const ReferenceCtx *context)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_referencectx_gethashalgoid returns the digest method; ..._gethashvalue a new
 * blob with the digest that the caller had supplied, else NULL. */
TALVO_API int32_t talvo_xml_signature_referencectx_gethashalgoid(const ReferenceCtx *context)
    TALVO_NOEXCEPT;
TALVO_API talvo_data_blob *talvo_xml_signature_referencectx_gethashvalue(
    const ReferenceCtx *context) TALVO_NOEXCEPT;
TALVO_API talvo_arraylist *talvo_xml_signature_referencectx_gettransforms(
    const ReferenceCtx *context) TALVO_NOEXCEPT;
/* talvo_xml_signature_referencectx_decode returns a new context that describes a Reference element
 * of a document, its DigestValue as a supplied digest. NULL when the element is no well-formed
 * Reference with URI, or uses an algorithm that contexts refuse. */
TALVO_API ReferenceCtx *talvo_xml_signature_referencectx_decode(XmlNode *referenceElement)
    TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_transformctx_getalgoid(const TransformCtx *context)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_transformctx_getparam returns a new talvo_arraylist of the prefixes for the
 * exclusive canonicalisations, a new talvo_ustring with the expression for TALVO_TRANSFORM_XPATH,
 * otherwise NULL. */
TALVO_API void *talvo_xml_signature_transformctx_getparam(const TransformCtx *context)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_objectctx_gettype returns one of the TALVO_OBJECT_ numbers; -1 for NULL. */
TALVO_API int32_t talvo_xml_signature_objectctx_gettype(const ObjectCtx *context) TALVO_NOEXCEPT;
/* The content by kind, NULL for a context of another kind: the borrowed node (NULL too once it has
 * moved), a list of SignaturePropCtx, a list of ReferenceCtx. */
TALVO_API XmlNode *talvo_xml_signature_objectctx_getnode(const ObjectCtx *context) TALVO_NOEXCEPT;
TALVO_API talvo_arraylist *talvo_xml_signature_objectctx_getsignatureprops(const ObjectCtx *context)
    TALVO_NOEXCEPT;
TALVO_API talvo_arraylist *talvo_xml_signature_objectctx_getmanifest(const ObjectCtx *context)
    TALVO_NOEXCEPT;
/* talvo_xml_signature_checkparameters tells whether talvo_xml_signature_sign_ex can read a JSON
 * document: 1, or 0 with a new message that names the first key that is wrong, what it holds and
 * what it may hold, for example
 *   References[1].HashAlgo: found "Sha3", allowed are "Sha1", "Sha224", "Sha256", ...
 * `message` may be NULL; it is set to NULL for 1, and when memory is exhausted. Unknown keys are no
 * mistake. */
TALVO_API int32_t talvo_xml_signature_checkparameters(const talvo_json *parameters,
                                                      talvo_ustring **message) TALVO_NOEXCEPT;

/* What a verifier gives to a decoded signature. Each returns 1, or 0 with nothing changed.
 *
 * talvo_xml_signature_sethmackey keeps a copy of the key; the signature method must be an HMAC. */
TALVO_API int32_t talvo_xml_signature_sethmackey(Signature *signature, const void *key,
                                                 size_t length) TALVO_NOEXCEPT;
/* talvo_xml_signature_sethdomainparam keeps copies of DSA domain parameters for key values that
 * carry none; the method must be DSA-SHA1. P and Q come together or not at all, and at least P
 * and Q or G must be given; what is NULL keeps its earlier value. */
TALVO_API int32_t talvo_xml_signature_sethdomainparam(Signature *signature,
                                                      const talvo_biginteger *p,
                                                      const talvo_biginteger *q,
                                                      const talvo_biginteger *g) TALVO_NOEXCEPT;
/* talvo_xml_signature_setbasepath keeps a copy of the directory against which relative references
 * are resolved. */
TALVO_API int32_t talvo_xml_signature_setbasepath(Signature *signature,
                                                  const talvo_ustring *path) TALVO_NOEXCEPT;
/* talvo_xml_signature_addcert adds a certificate (kept by a handle of its own) to those that may
 * hold the key. Its key usage must allow digital signatures, non-repudiation, certificate or CRL
 * signing; a certificate without that extension is unrestricted. */
TALVO_API int32_t talvo_xml_signature_addcert(Signature *signature,
                                              const TalvoPKICert *certificate) TALVO_NOEXCEPT;

/* ---- Id registration ---- */

/* Same-document references are resolved through the document's ID table, which learns of Id
 * attributes by declarations. An attribute whose value is declared already is left alone and counts
 * as success: the first one wins. An empty value cannot be declared. All return 1 or 0; on failure
 * the declarations made so far stay.
 *
 * talvo_xml_signature_setid declares the Id attributes of every ds:Signature element of the
 * document and of everything below; 0 also when there is no signature. Elements outside signatures
 * are never declared. */
TALVO_API int32_t talvo_xml_signature_setid(XmlDoc *doc) TALVO_NOEXCEPT;
/* talvo_xml_node_setsubtreeidattr does what talvo_xml_node_findsetidattr does for the node and each
 * element below it. */
TALVO_API int32_t talvo_xml_node_setsubtreeidattr(XmlDoc *doc, XmlNode *node,
                                                  const talvo_ustring *name) TALVO_NOEXCEPT;
/* talvo_xml_node_findsetidattr declares the element's attribute of that local name and without
 * namespace as an ID. A node without such an attribute is success too. */
TALVO_API int32_t talvo_xml_node_findsetidattr(XmlDoc *doc, XmlNode *node,
                                               const talvo_ustring *name) TALVO_NOEXCEPT;
/* talvo_xml_signature_setidattr declares the Id attributes of a decoded signature alone: of the
 * Signature, SignedInfo, each Reference, SignatureValue and each Object. */
TALVO_API int32_t talvo_xml_signature_setidattr(Signature *signature) TALVO_NOEXCEPT;

/* ---- generating signature elements ----
 *
 * Each generator returns a new free-standing element, or the first of a run of them; the caller
 * links it (talvo_xml_node_addchild, or talvo_xml_node_addsibling for a run) or frees each node
 * with talvo_xml_node_free. NULL on failure, with nothing left behind. New elements are bound to
 * the namespace declaration `ns`, which must be in scope where they will be linked; attributes
 * have no namespace, and Id comes first. `doc` is the document that the elements are meant for.
 * Every container holds a line feed, a child, a line feed, and so on, and ends in a line feed;
 * nothing is indented.
 *
 * talvo_xml_signedinfonode_gen makes SignedInfo with empty DigestValues. It fails for
 * TALVO_SIGNATURE_RSA_SHA224. */
TALVO_API XmlNode *talvo_xml_signedinfonode_gen(XmlDoc *doc, XmlNode *ns,
                                                SignedInfoCtx *context) TALVO_NOEXCEPT;
/* talvo_xml_c14nmethodnode_gen makes CanonicalizationMethod. The exclusive methods need a
 * list of at least one prefix, which stands inside as InclusiveNamespaces. */
TALVO_API XmlNode *talvo_xml_c14nmethodnode_gen(uint32_t c14nMethod,
                                                const talvo_arraylist *prefixes,
                                                XmlNode *ns) TALVO_NOEXCEPT;
/* talvo_xml_refsnode_gen makes a run of Reference elements, each followed by a line feed, from a
 * list of at least one ReferenceCtx. DigestValues are empty. The prefix list of an exclusive
 * canonicalisation is not written. TALVO_TRANSFORM_XPATH writes an XPath element, which its
 * context remembers until the context is used again. */
TALVO_API XmlNode *talvo_xml_refsnode_gen(XmlDoc *doc, const talvo_arraylist *references,
                                          XmlNode *ns) TALVO_NOEXCEPT;
/* talvo_xml_digestmethodnode_gen makes DigestMethod. */
TALVO_API XmlNode *talvo_xml_digestmethodnode_gen(uint32_t digestMethod,
                                                  XmlNode *ns) TALVO_NOEXCEPT;
/* talvo_xml_digestvalue_gen makes DigestValue with the octets as one line of Base64. */
TALVO_API XmlNode *talvo_xml_digestvalue_gen(XmlDoc *doc, XmlNode *ns, const void *bytes,
                                             size_t length) TALVO_NOEXCEPT;
/* talvo_xml_signvaluenode_gen makes an empty SignatureValue; `id` may be NULL. */
TALVO_API XmlNode *talvo_xml_signvaluenode_gen(XmlDoc *doc, XmlNode *ns,
                                               const talvo_ustring *id) TALVO_NOEXCEPT;
/* talvo_xml_keyinfonode_gen makes KeyInfo with one X509Data for each certificate: the signer's (not
 * with TALVO_CERTIFICATES_NONE; with any other option the key must hold it), its issuers upwards
 * (the two options with its path; none when the path cannot be built), and the extra certificates
 * (a list of TalvoPKICert, may be NULL) in their order. */
TALVO_API XmlNode *talvo_xml_keyinfonode_gen(
    XmlDoc *doc, XmlNode *ns, const SignatureKey *key, int32_t includeCertOption,
    const talvo_arraylist *extraCertificates) TALVO_NOEXCEPT;
/* talvo_xml_x509datanode_gen makes X509Data with one X509Certificate, in lines of 64 characters. */
TALVO_API XmlNode *talvo_xml_x509datanode_gen(XmlDoc *doc, XmlNode *ns,
                                              const TalvoPKICert *certificate) TALVO_NOEXCEPT;
/* talvo_xml_objectsnode_gen makes a run of Object elements, each followed by a line feed, from a
 * list of at least one ObjectCtx. The nodes of contexts move into them, or stay where they are
 * when the generation fails. An Object around SignatureProperties or a Manifest has no
 * attributes: the Id stands on the element inside. */
TALVO_API XmlNode *talvo_xml_objectsnode_gen(XmlDoc *doc, XmlNode *ns,
                                             const talvo_arraylist *objects) TALVO_NOEXCEPT;
/* talvo_xml_signature_inclusivenamespaces_gen makes InclusiveNamespaces, which declares its own
 * namespace with the prefix "ec", from a list of at least one prefix (ustrings). */
TALVO_API XmlNode *talvo_xml_signature_inclusivenamespaces_gen(const talvo_arraylist *prefixes)
    TALVO_NOEXCEPT;
/* talvo_xml_node_gen makes an element that holds only a text. */
TALVO_API XmlNode *talvo_xml_node_gen(XmlDoc *doc, XmlNode *ns, const talvo_ustring *name,
                                      const talvo_ustring *text) TALVO_NOEXCEPT;
/* talvo_xml_xadesnode_qualifyingproperties_gen makes an Object with QualifyingProperties (prefix
 * "xa", XAdES 1.3.2) that hold the signed properties the context asks for; SignedProperties is
 * empty when it asks for none. `ns` is the namespace of the signature, `signatureId` its Id,
 * `certificate` the signer's. Codes: 3 (also for a missing argument), 19 and 29 of the signing
 * family. */
TALVO_API XmlNode *talvo_xml_xadesnode_qualifyingproperties_gen(XmlDoc *doc, XmlNode *ns,
                                                                const talvo_ustring *signatureId,
                                                                SignedInfoCtx *context,
                                                                const TalvoPKICert *certificate,
                                                                uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_xadesnode_signingcertificate_cert_gen makes Cert, which names a certificate by a digest
 * that is computed, issuer and serial number. `ns` is the namespace of the signature. */
TALVO_API XmlNode *talvo_xml_xadesnode_signingcertificate_cert_gen(
    XmlDoc *doc, XmlNode *ns, XmlNode *xadesNs, int32_t digestMethod,
    const TalvoPKICert *certificate) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_encder_gen makes an element whose Encoding says DER and whose text
 * is the octets in Base64 lines of 64 characters. */
TALVO_API XmlNode *talvo_xml_signature_xades_encder_gen(XmlDoc *doc, XmlNode *ns,
                                                        const talvo_ustring *name,
                                                        const void *bytes,
                                                        size_t length) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_getLastChildPos returns the borrowed last child of an element, behind
 * which the next one is linked; an element without children first gets a line feed. */
TALVO_API XmlNode *talvo_xml_signature_xades_getLastChildPos(XmlDoc *doc,
                                                             XmlNode *element) TALVO_NOEXCEPT;

/* ---- signing ----
 *
 * XML Signature 1.1. A signature is made in a fixed order: the elements are generated, Ids are
 * declared, the references are digested (those of Manifests first), SignedInfo is canonicalised and
 * signed. */

/* The codes that the functions of this section, of the next one and the XAdES generators above
 * write into their error word. 2, 7, 18, 19 and 24 can also come from digesting a reference, with
 * the meaning that they have as TALVO_VERIFY_ERROR_. */
enum {
  /* the key could not sign (it does not fit the method, the method has no signing algorithm), or
     dereferencing failed for a reason that has no code of its own; in the next section: a
     required argument is missing or refused, or the property could not be built or placed */
  TALVO_SIGN_ERROR_FAILED = 1,
  /* memory is exhausted; an element could not be generated or linked (a method without
     identifier, a certificate that a key without one should have); SignedInfo or a prefix list
     could not be canonicalised or read */
  TALVO_SIGN_ERROR_OUT_OF_MEMORY = 3,
  /* a URI of a form that is not supported: a scheme other than http and https, an absolute path,
     a fragment behind a file name, a malformed XPointer */
  TALVO_SIGN_ERROR_UNSUPPORTED_URI = 4,
  /* what a URI names does not exist: no element with that Id in the document, no such file, no
     answer 200 from the server */
  TALVO_SIGN_ERROR_NOT_FOUND = 5,
  /* a required argument is missing */
  TALVO_SIGN_ERROR_MISSING_ARGUMENT = 6,
  /* the canonicalisation method cannot be used here */
  TALVO_SIGN_ERROR_C14N_METHOD = 8,
  /* no private key */
  TALVO_SIGN_ERROR_NO_KEY = 9,
  /* an HMAC method or secret: the library signs with key pairs only */
  TALVO_SIGN_ERROR_HMAC_KEY = 10,
  /* the signature method cannot sign (found by the key check) */
  TALVO_SIGN_ERROR_SIGNATURE_METHOD = 11,
  /* the digest method cannot be computed, or not be used for a time-stamp */
  TALVO_SIGN_ERROR_DIGEST_METHOD = 12,
  /* a transform yielded nothing */
  TALVO_SIGN_ERROR_TRANSFORM_FAILED = 13,
  /* more than one reference without URI, or one inside a Manifest */
  TALVO_SIGN_ERROR_REFERENCES_WITHOUT_URI = 14,
  /* an Id attribute could not be declared */
  TALVO_SIGN_ERROR_ID_REGISTRATION = 15,
  /* the parent is no element of the document, or the sibling no child of the parent */
  TALVO_SIGN_ERROR_PLACEMENT = 16,
  /* the key pair does not belong to the certificate or public key */
  TALVO_SIGN_ERROR_KEY_MISMATCH = 17,
  /* the key usage of the certificate does not allow signatures */
  TALVO_SIGN_ERROR_CERTIFICATE_USAGE = 18,
  /* a certificate of the signer's path cannot be named in SigningCertificate */
  TALVO_SIGN_ERROR_PATH_CERTIFICATE = 19,
  /* an element that should have been there is missing (SignedInfo, DigestValue, SignatureValue),
     or there are not as many Manifest elements as contexts of Manifests */
  TALVO_SIGN_ERROR_MISSING_ELEMENT = 20,
  /* not a Signature element, or one that cannot be completed or lacks its SignatureValue */
  TALVO_SIGN_ERROR_NOT_A_SIGNATURE = 21,
  /* SignatureValue could not be canonicalised */
  TALVO_SIGN_ERROR_CANONICALIZATION = 22,
  /* the time-stamp could not be obtained, or is asked for in a way that cannot be understood */
  TALVO_SIGN_ERROR_TIME_STAMP = 23,
  /* no private key for the certificate (talvo_xml_signature_sign_ex) */
  TALVO_SIGN_ERROR_NO_KEY_FOR_CERTIFICATE = 24,
  /* the JSON parameters are no object or cannot be understood;
     talvo_xml_signature_checkparameters tells what is wrong with them */
  TALVO_SIGN_ERROR_PARAMETERS = 25,
  /* the SignatureValue that is to be countersigned has no Id, or one that leads to another
     element */
  TALVO_SIGN_ERROR_NO_SIGNATURE_VALUE_ID = 26,
  /* not a Reference element, one that cannot be decoded, or one without URI */
  TALVO_SIGN_ERROR_NOT_A_REFERENCE = 27,
  /* a URI leads to the network, which the dereferencing flags forbid */
  TALVO_SIGN_ERROR_NETWORK_REFUSED = 28,
  /* the signer's certificate cannot be named in SigningCertificate, or its path not be built */
  TALVO_SIGN_ERROR_SIGNING_CERTIFICATE = 29
};

/* talvo_xml_signature_signex makes a new Signature element (prefix "ds") and signs.
 *
 * Its place: right behind `sibling`, a child of `parent`; without sibling, as the last child of
 * `parent`, an element of `doc`; without parent, as the new root element of `doc`, whose earlier
 * root is dropped; without document, as the root of a new document, which talvo_xml_node_getdoc
 * finds and the caller frees (a parent is then ignored).
 *
 * `signatureId` becomes its Id; without one it gets a new Id when the context asks for XAdES
 * properties, else none. `objects` (a list of ObjectCtx) and `extraCertificates` (a list of
 * TalvoPKICert, written into KeyInfo behind those of the key) may be NULL. `key` is what KeyInfo
 * speaks of, a certificate (whose key usage must allow signatures) or a public key; `keyPair`
 * signs. With a `checkKey` other than 0 a trial signature first shows that both belong together.
 * Relative URIs start from xml:base or the URL of the document where that is absolute, else from
 * `basePath`, else from the current directory; http and https are fetched.
 *
 * Returns 1 and hands out the borrowed element, or 0 with a code: 1 to 6, 8 to 20, 28, 29. On
 * failure the place is NULL (unless the very arguments were refused), a document made by the
 * call is freed, and the element is taken out of the caller's document again, which is then as
 * it was but for two things: Ids of other signatures stay declared, and a root that was replaced
 * does not come back. Contexts, keys and certificates stay the caller's in any case; nodes that
 * moved from object contexts into the element come back free-standing or to their old place. */
TALVO_API int32_t talvo_xml_signature_signex(
    XmlDoc *doc, XmlNode *parent, XmlNode *sibling, const talvo_ustring *signatureId,
    SignedInfoCtx *context, const talvo_arraylist *objects, const SignatureKey *key,
    TalvoPKIKeyPair *keyPair, int32_t checkKey, const talvo_arraylist *extraCertificates,
    const talvo_ustring *basePath, XmlNode **signatureElement, uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_sign is talvo_xml_signature_signex with the certificate's own private key,
 * unlocked by `credential` (NUL-terminated UTF-8, or NULL), without key check, extra
 * certificates and base path. 6 without certificate, 9 without private key or with the wrong
 * credential. */
TALVO_API int32_t talvo_xml_signature_sign(XmlDoc *doc, XmlNode *parent, XmlNode *sibling,
                                           const talvo_ustring *signatureId, SignedInfoCtx *context,
                                           const talvo_arraylist *objects,
                                           TalvoPKICert *certificate, const char *credential,
                                           XmlNode **signatureElement,
                                           uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_newsignaturenode links a new, empty ds:Signature element, which
 * talvo_xml_signature_sign_ex can then fill: as the root of `parent` when that is a document (an
 * old root leaves it), else right after its child `sibling` or, without one, as its last child.
 * The element declares the XML Signature namespace with `prefix`, or as the default namespace
 * for a NULL prefix. Returns the element, which belongs to the document, or NULL with nothing
 * changed. */
TALVO_API XmlNode *talvo_xml_signature_newsignaturenode(XmlNode *parent, XmlNode *sibling,
                                                        const talvo_ustring *prefix) TALVO_NOEXCEPT;
/* talvo_xml_signature_sign_ex completes and signs a Signature element that stands where the
 * caller wants it, with the private key of the certificate (not locked) and JSON parameters,
 * which docs/signing-parameters.md describes. The element may hold nothing, or Objects, comments
 * and white space. Its namespace declaration serves every new element, so its prefix is kept.
 *
 * SignedInfo goes behind the first child (an Object that comes first moves behind a new line
 * feed), then a line feed and SignatureValue, then, unless the option is "None", a line feed and
 * KeyInfo. An Object with XAdES properties, where they are asked for, goes behind the caller's
 * run of Objects; where another element ends that run, behind that element. "SignatureId"
 * replaces the Id of the element or gives it one; otherwise an Id is kept, and made when XAdES
 * properties need it. The key usage of the certificate is not looked at. Last comes the
 * time-stamp that the parameters may ask for.
 *
 * Returns 1, or 0 with a code. The element is untouched after 21, 24 and 25, and after 1 for a
 * missing argument. What was inserted before a later failure (1, 3 to 5, 12, 13, 15, 28, 29 ...)
 * stays: the element is the caller's to discard. 23 leaves a complete and valid signature
 * without time-stamp. */
TALVO_API int32_t talvo_xml_signature_sign_ex(XmlNode *signatureElement, TalvoPKICert *certificate,
                                              const talvo_json *parameters,
                                              uint32_t *error) TALVO_NOEXCEPT;

/* The steps of signing, one by one, for callers that generate the elements themselves.
 *
 * talvo_xml_signature_calcrefdigestvalue fills the empty DigestValue elements of SignedInfo from
 * the contexts, matched by position. A digest that a context brings along is written unread. Ids
 * must have been declared (talvo_xml_signature_setid). `dereferenceFlag` is
 * TALVO_DEREFERENCE_NETWORK or 0; `basePath` may be NULL. Returns 1, or 0 with 1 to 6, 12, 13,
 * 20 or 28; digests written before the failure stay. */
TALVO_API int32_t talvo_xml_signature_calcrefdigestvalue(XmlDoc *doc, XmlNode *signatureElement,
                                                         SignedInfoCtx *context,
                                                         const talvo_ustring *basePath,
                                                         uint32_t dereferenceFlag,
                                                         uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_calcsignature canonicalises SignedInfo, signs it and fills the empty
 * SignatureValue: RSA values as they are; r and s of DSA, ECDSA and SM2 one behind the other,
 * each as wide as the group order. Method and prefixes (needed for the exclusive methods) are
 * those that SignedInfo states; that is not checked. Returns 1, or 0 with 1, 3, 6, 8, 10 or 20
 * and the document as it was. */
TALVO_API int32_t talvo_xml_signature_calcsignature(XmlDoc *doc, XmlNode *signatureElement,
                                                    TalvoPKIKeyPair *keyPair,
                                                    int32_t signatureMethod, uint32_t c14nMethod,
                                                    const talvo_arraylist *prefixes,
                                                    uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_calref returns the digest that an existing Reference should carry, as a new
 * string of Base64, or NULL with 1 to 7, 12, 13, 18, 24, 27 or 28. The document is not changed,
 * but the Ids of its signatures are declared. */
TALVO_API talvo_ustring *talvo_xml_signature_calref(XmlNode *referenceElement,
                                                    uint32_t dereferenceFlag,
                                                    const talvo_ustring *basePath,
                                                    uint32_t *error) TALVO_NOEXCEPT;

/* ---- properties added after signing (XAdES) ----
 *
 * XAdES 1.3.2. Unsigned signature properties are added to a signature that is complete; they
 * change neither its value nor its digests, unless a reference covers the whole document without
 * the enveloped-signature transform. A property goes behind those that are there: the order is
 * that of the calls. Object, QualifyingProperties (prefix "xa") and the containers inside are
 * made where they are missing, and so is the Id of the Signature, which the properties have to
 * name. They stay when a later step fails; apart from them a function that fails leaves the
 * document as it was unless it says otherwise. `signatureElement` is a ds:Signature element of a
 * document that holds a SignatureValue. Decoded records do not follow: decode again to see a new
 * property.
 *
 * talvo_xml_signature_xades_addsignaturetimestamp asks the authority (RFC 3161, http or https
 * URL) for a time-stamp over the canonical form of SignatureValue and adds it as
 * SignatureTimeStamp. `c14nMethod` is any but TALVO_C14N_MINIMAL (the exclusive ones need
 * `prefixes`) and is written into the property; below 1 none is written, which stands for C14N
 * 1.0. Note that a verifier reads back the prefixes of TALVO_C14N_EXCLUSIVE only. `digestMethod`
 * is one that is computed. `id` may be NULL. `timeStamp` (may be NULL) receives a new object,
 * released with TalvoPKIMsgFreeTimeStamp.
 *
 * Returns 1, or 0 with 1, 8, 12, 21, 22 or 23 of the table above. 23 covers everything between
 * the request and a granted, matching token. The call blocks for at most 60 seconds. */
TALVO_API int32_t talvo_xml_signature_xades_addsignaturetimestamp(
    XmlNode *signatureElement, const talvo_ustring *id, int32_t c14nMethod,
    const talvo_arraylist *prefixes, const talvo_ustring *tsa, int32_t digestMethod,
    TalvoPKITimeStamp **timeStamp, uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_verifysignaturetimestamp returns 1 when the token of the signature
 * time-stamp at `index` (from 0) is sound and imprints the canonical form of SignatureValue, and
 * hands out a new time-stamp object, released with TalvoPKIMsgFreeTimeStamp, that tells time and
 * authority. `trusted`, a list of TalvoPKICert, asks for a path from the authority to one of
 * them; with NULL only the signature of the token and the usage of its certificate are judged,
 * not whom to believe. 0 when the index is out of range, an argument but `trusted` is NULL, or
 * the time-stamp does not hold; `timeStamp` is then NULL or untouched. */
TALVO_API int32_t talvo_xml_signature_xades_verifysignaturetimestamp(
    const Signature *signature, int32_t index, const talvo_arraylist *trusted,
    TalvoPKITimeStamp **timeStamp) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_addcertificatevalues adds the certificate to CertificateValues, behind
 * those that are there; any certificate, in any order. Verification tries these certificates after
 * those of KeyInfo. Returns 1 or 0. */
TALVO_API int32_t talvo_xml_signature_xades_addcertificatevalues(
    XmlNode *signatureElement, const TalvoPKICert *certificate) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_addcompletecertificaterefs adds CompleteCertificateRefs, which names
 * the issuers of the certificate from the nearest up to the self-issued one, each by a digest
 * that is computed, issuer and serial number. The issuers are taken from the certificate's
 * companions. `id` may be NULL; `reserved` must be NULL. Each call adds a property of its own.
 * Returns 1, also for a self-issued certificate, which has no issuers, so that nothing is added;
 * 0 when the path cannot be built or a certificate not be named. */
TALVO_API int32_t talvo_xml_signature_xades_addcompletecertificaterefs(
    XmlNode *signatureElement, const talvo_ustring *id, int32_t digestMethod,
    const TalvoPKICert *certificate, const void *reserved) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_add_revocationvalues_crl adds a CRL (`length` bytes of DER, PEM or
 * Base64 text; written as DER) to RevocationValues. Lists that the library makes have no
 * namespace and are not found again, so each call adds a CRLValues of its own, behind the second
 * child of the property; a CRLValues of the XAdES namespace that comes first is used. 0 when the
 * CRL cannot be read, or the property holds no child behind which the list could go. */
TALVO_API int32_t talvo_xml_signature_xades_add_revocationvalues_crl(XmlNode *signatureElement,
                                                                     const void *crl,
                                                                     int32_t length) TALVO_NOEXCEPT;
enum { TALVO_CRL_REF_IDENTIFIER = 1 };
/* talvo_xml_signature_xades_add_completerevocationrefs_crl adds a reference to a CRL to
 * CompleteRevocationRefs: its digest by a method that is computed and, with
 * TALVO_CRL_REF_IDENTIFIER, an identifier of issuer, time of issue and, when the CRL states it,
 * number. The list is made and found as that of CRL values is;
 * its established name is CRLRef where it is made and CRLRefs where it is looked for. Returns 1 or
 * 0. */
TALVO_API int32_t talvo_xml_signature_xades_add_completerevocationrefs_crl(
    XmlNode *signatureElement, int32_t digestMethod, uint32_t flags, const void *crl,
    int32_t length) TALVO_NOEXCEPT;
/* The three functions set the Id of a property that exists, in place of an earlier one. 0
 * without the property or without Id; the document is then as it was. */
TALVO_API int32_t talvo_xml_signature_xades_set_revocationvalues_id(
    XmlNode *signatureElement, const talvo_ustring *id) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_xades_set_certificatevalues_id(
    XmlNode *signatureElement, const talvo_ustring *id) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_signature_xades_set_completerevocationrefs_id(
    XmlNode *signatureElement, const talvo_ustring *id) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_countersign countersigns: it adds a CounterSignature with a
 * Signature that covers the SignatureValue of this one, which must have an Id as its first
 * attribute. `key` holds a certificate that carries its private key. `parameters` are those of
 * talvo_xml_signature_sign_ex; to their "References", which may be absent, the one to the
 * SignatureValue is appended with `digestMethod`, one that is computed. They are not changed.
 * `id` (may be NULL) is the Id of the new Signature. `counterSignature` (may be NULL) receives
 * the new, borrowed element as soon as it stands in the document, also when signing then fails.
 *
 * Returns 1, or 0 with 1, 21, 25 or 26 of the table above and the document as it was, or with a
 * code of talvo_xml_signature_sign_ex (25 for parameters that it cannot read, 24 without private
 * key ...). In the latter case the CounterSignature stays with what had been written; to take it
 * back, remove the parent of the element that was handed out. */
TALVO_API int32_t talvo_xml_signature_xades_countersign(
    XmlNode *signatureElement, const SignatureKey *key, int32_t digestMethod,
    const talvo_ustring *id, const talvo_json *parameters, XmlNode **counterSignature,
    uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_xades_verifycountersignature returns 1 when the countersignature at `index`
 * (from 0) is valid and really covers this signature: its value verifies with a certificate, one of
 * its references has exactly the URI "#" and the Id of this SignatureValue, and all its references
 * hold. `certificate` (may be NULL) is added to those that may verify it; it must be one that may
 * sign. The base path of `signature` holds for the countersignature too, and http and https are
 * fetched. `signerCertificate` receives a new handle of the certificate that verified, or NULL on
 * failure; `counterSignature` the borrowed Signature element, also when it is not valid. */
TALVO_API int32_t talvo_xml_signature_xades_verifycountersignature(
    const Signature *signature, int32_t index, const TalvoPKICert *certificate,
    TalvoPKICert **signerCertificate, XmlNode **counterSignature) TALVO_NOEXCEPT;

/* ---- verifying ----
 *
 * Core validation of XML Signature 1.1 in two halves: the signature value over SignedInfo, and
 * the digests of the references. A valid signature says that the holder of some key signed this
 * data; whose key that is, and whether to trust it, is the caller's to decide from the keys that
 * are handed out. Keys come from the signature itself: the certificates and key values of
 * KeyInfo in their order, then certificates added by talvo_xml_signature_addcert, then XAdES
 * certificate values; the first one that verifies is taken. Certificates need a key of the
 * method's family and a key usage that allows signatures; ECDSA and SM2 use no key values. HMAC
 * uses the key of talvo_xml_signature_sethmackey. */

/* The codes of this section, and of dereferencing, transforming and digesting a reference. */
enum {
  /* no candidate key verifies the signature value, or the value has the wrong length */
  TALVO_VERIFY_ERROR_INVALID_SIGNATURE = 1,
  /* a DigestValue differs or has the wrong length for its method; a file could not be digested;
     the current directory cannot be read */
  TALVO_VERIFY_ERROR_INVALID_REFERENCE = 2,
  /* memory is exhausted, or SignedInfo could not be canonicalised */
  TALVO_VERIFY_ERROR_OUT_OF_MEMORY = 3,
  /* a URI or base of a form that is not supported: a fragment behind a file name, an absolute
     path, a scheme other than http and https, a malformed XPointer */
  TALVO_VERIFY_ERROR_UNSUPPORTED_URI = 4,
  /* what a URI names does not exist: no element with that Id, no such file, no answer 200 */
  TALVO_VERIFY_ERROR_NOT_FOUND = 5,
  /* a required argument is missing; no external data for the reference without URI */
  TALVO_VERIFY_ERROR_MISSING_ARGUMENT = 6,
  /* a transform that the library does not know */
  TALVO_VERIFY_ERROR_UNKNOWN_TRANSFORM = 7,
  /* the canonicalisation method of SignedInfo is not supported */
  TALVO_VERIFY_ERROR_C14N_METHOD = 8,
  /* no key that could be tried */
  TALVO_VERIFY_ERROR_NO_KEY = 9,
  /* the HMAC method is not supported */
  TALVO_VERIFY_ERROR_HMAC_METHOD = 10,
  /* the signature method is not supported */
  TALVO_VERIFY_ERROR_SIGNATURE_METHOD = 11,
  /* the digest method is not supported (external data) */
  TALVO_VERIFY_ERROR_DIGEST_METHOD = 12,
  /* a transform or the final canonicalisation of a reference yielded nothing */
  TALVO_VERIFY_ERROR_TRANSFORM_FAILED = 13,
  /* more than one reference without URI */
  TALVO_VERIFY_ERROR_REFERENCES_WITHOUT_URI = 14,
  /* the Ids of the document could not be declared */
  TALVO_VERIFY_ERROR_ID_REGISTRATION = 15,
  /* the document holds no signature */
  TALVO_VERIFY_ERROR_NO_SIGNATURE = 16,
  /* a Signature element cannot be decoded */
  TALVO_VERIFY_ERROR_UNDECODABLE = 17,
  /* the prefix list of an exclusive canonicalisation is malformed */
  TALVO_VERIFY_ERROR_PREFIX_LIST = 18,
  /* not a Reference element that can be decoded, or a hash failed */
  TALVO_VERIFY_ERROR_NOT_A_REFERENCE = 19,
  /* a URI leads to the network, which the flags forbid */
  TALVO_VERIFY_ERROR_NETWORK_REFUSED = 21,
  /* a Manifest cannot be decoded, leads back to itself, or stands too deep in others */
  TALVO_VERIFY_ERROR_MANIFEST = 22,
  /* the key that verifies is not a certificate that the XAdES SigningCertificate names */
  TALVO_VERIFY_ERROR_SIGNING_CERTIFICATE = 23,
  /* an XPath transform without its expression */
  TALVO_VERIFY_ERROR_XPATH_ELEMENT = 24
};

/* Verification reads files and fetches URLs that the document names; only the functions with
 * flags can be kept off the network (TALVO_DEREFERENCE_NETWORK absent), and relative references
 * always reach files below and above the base path.
 *
 * talvo_xml_signature_verify_ex verifies every ds:Signature element of the document, nested ones
 * too, in document order: first the value, then the references. `basePath` (may be NULL) is
 * where relative references start; `externalData` stands for the one reference without URI of a
 * signature, to which its transforms are not applied. Manifests are digested, not followed.
 * Returns 1 when all signatures are valid and hands out through `keys` (may be NULL) a new list
 * that owns one SignatureKey for each, in document order; 0 with the code of the first failure
 * (1 to 19, 23, 24) and NULL for the list. The document is not changed, but the Ids of its
 * signatures are declared. */
TALVO_API int32_t talvo_xml_signature_verify_ex(XmlDoc *doc, const talvo_ustring *basePath,
                                                const void *externalData, size_t length,
                                                talvo_arraylist **keys,
                                                uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_verify is talvo_xml_signature_verify_ex without base path. */
TALVO_API int32_t talvo_xml_signature_verify(XmlDoc *doc, const void *externalData, size_t length,
                                             talvo_arraylist **keys,
                                             uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_signaturevalidation checks the signature value of a decoded signature.
 * Returns
 * 1 and hands out through `key` (may be NULL) the key that verified: a certificate, which the
 * record also remembers for talvo_xml_signature_getsigncert, a public key or an HMAC secret. The
 * caller releases it with talvo_xml_signature_key_free. 0 with 1, 3, 6, 8 to 11, 18 or 23 and
 * NULL for the key. */
TALVO_API int32_t talvo_xml_signature_signaturevalidation(Signature *signature, SignatureKey **key,
                                                          uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_referencevalidation_ex checks the references of a decoded signature in
 * document order and stops at the first that does not hold. `flags` are dereferencing flags.
 * Relative URIs start from the base path of the record. `externalData` is digested for the one
 * reference without URI. Ids must have been declared. Returns 1, or 0 with 2 to 7, 12 to 14, 18,
 * 19, 21, 22 or 24. */
TALVO_API int32_t talvo_xml_signature_referencevalidation_ex(const Signature *signature,
                                                             uint32_t flags,
                                                             const void *externalData,
                                                             size_t length,
                                                             uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_referencevalidation_ex2 is the same and says which reference failed:
 * `failed` (may be NULL) is its index from 0 in the list of talvo_xml_signature_getreflist, or
 * -1 when all are valid and when the failure is of none in particular (6 for a NULL signature,
 * 14). */
TALVO_API int32_t talvo_xml_signature_referencevalidation_ex2(const Signature *signature,
                                                              uint32_t flags,
                                                              const void *externalData,
                                                              size_t length, int32_t *failed,
                                                              uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_referencevalidation is the first of them with TALVO_DEREFERENCE_NETWORK. */
TALVO_API int32_t talvo_xml_signature_referencevalidation(const Signature *signature,
                                                          const void *externalData, size_t length,
                                                          uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_verifyref_ex checks one Reference element, of a SignedInfo or of a
 * Manifest, in a signature or not, and declares the Ids of the document's signatures by itself.
 * Codes as for talvo_xml_signature_referencevalidation_ex but 14. */
TALVO_API int32_t talvo_xml_signature_verifyref_ex(XmlNode *referenceElement, uint32_t flags,
                                                   const talvo_ustring *basePath,
                                                   const void *externalData, size_t length,
                                                   uint32_t *error) TALVO_NOEXCEPT;
/* talvo_xml_signature_verifyref is the same with TALVO_DEREFERENCE_NETWORK and without base path.
 */
TALVO_API int32_t talvo_xml_signature_verifyref(XmlNode *referenceElement, const void *externalData,
                                                size_t length, uint32_t *error) TALVO_NOEXCEPT;

/* ---- verifying by a policy ----
 *
 * The functions above say whether the arithmetic of signatures holds. Those below answer what
 * whoever acts on a document wants to know: did somebody whom I trust sign what I am about to
 * act on? A policy says what is demanded; docs/policy.md describes each of its members and the
 * names of all reasons.
 *
 * A policy is filled by one thread; while nobody changes it, several threads may verify by it at
 * once. */
enum {
  TALVO_XML_POLICY_PLAIN = 0, /* the arithmetic alone */
  TALVO_XML_POLICY_STANDARD =
      1,                      /* the whole document, signed by all signers, each of them trusted */
  TALVO_XML_POLICY_STRICT = 2 /* the same, drawn tighter */
};
/* What a certificate, key or CRL is given to a policy for. */
enum {
  TALVO_XML_POLICY_ANCHOR = 1,           /* whoever it vouches for is trusted */
  TALVO_XML_POLICY_INTERMEDIATE = 2,     /* paths may lead through it */
  TALVO_XML_POLICY_PIN = 3,              /* exactly this signer is trusted */
  TALVO_XML_POLICY_CRL = 4,              /* a CRL; only for talvo_xml_policy_addbundle */
  TALVO_XML_POLICY_TIMESTAMP_ANCHOR = 5, /* time-stamps are believed by it, not by the anchors */
  TALVO_XML_POLICY_EXPECTED = 6,         /* one of these has to be among the signers */
  TALVO_XML_POLICY_CANDIDATE = 7         /* may hold the key of a signature that brings none */
};
enum {
  TALVO_XML_VERDICT_VALID = 1,
  TALVO_XML_VERDICT_REFUSED = 2, /* the arithmetic holds, but policy or trust refuses */
  TALVO_XML_VERDICT_INVALID = 3
};
/* Of a reference: what is known of its digest. */
enum {
  TALVO_XML_REFERENCE_VALID = 1,
  TALVO_XML_REFERENCE_INVALID = 2,
  TALVO_XML_REFERENCE_UNAVAILABLE = 3,
  TALVO_XML_REFERENCE_REFUSED = 4,
  TALVO_XML_REFERENCE_NOT_EXAMINED = 5
};
/* Where the key of a signature came from. */
enum {
  TALVO_XML_KEY_NONE = 0,
  TALVO_XML_KEY_CERTIFICATE = 1, /* a certificate of the signature, or one that was added */
  TALVO_XML_KEY_VALUE = 2,       /* a bare key in the signature */
  TALVO_XML_KEY_PINNED = 3,      /* a pinned key or certificate that the signature does not bring */
  TALVO_XML_KEY_SECRET = 4       /* the secret of an HMAC */
};

/* A resolver answers what a reference outside of its document names: 1 with a new blob, which the
 * library releases, or 0. It is asked instead of files and network. */
typedef int32_t (*talvo_xml_resolver)(void *userData, const talvo_ustring *uri,
                                      talvo_data_blob **octets);

/* talvo_xml_policy_new returns a new policy with the rules of a preset, which trusts nobody yet.
 * NULL for another number. */
TALVO_API talvo_xml_policy *talvo_xml_policy_new(uint32_t preset) TALVO_NOEXCEPT;
/* talvo_xml_policy_fromjson returns a new policy of a JSON object (docs/policy.md). Paths in it
 * start at `folder` (NULL: the current directory). NULL when it is no object, a member is
 * unknown or has a value that it does not take, or a file cannot be used; `problem` (may be
 * NULL) then receives a new string that names the member, or NULL when memory is exhausted. */
TALVO_API talvo_xml_policy *talvo_xml_policy_fromjson(const talvo_json *json,
                                                      const talvo_ustring *folder,
                                                      talvo_ustring **problem) TALVO_NOEXCEPT;
/* talvo_xml_policy_dup adds a reference and returns its argument. */
TALVO_API talvo_xml_policy *talvo_xml_policy_dup(talvo_xml_policy *policy) TALVO_NOEXCEPT;
/* talvo_xml_policy_free drops a reference. NULL is ignored. */
TALVO_API void talvo_xml_policy_free(talvo_xml_policy *policy) TALVO_NOEXCEPT;
/* talvo_xml_policy_getpreset returns the number of the preset; (uint32_t)-1 for NULL. */
TALVO_API uint32_t talvo_xml_policy_getpreset(const talvo_xml_policy *policy) TALVO_NOEXCEPT;
/* talvo_xml_policy_setmember sets the member that has this name in JSON, all of them but
 * "preset". Lists of certificates and CRLs are added to; other members are replaced. 1, or 0
 * with a problem as above; certificates that stood before the one that cannot be used stay
 * added. */
TALVO_API int32_t talvo_xml_policy_setmember(talvo_xml_policy *policy, const char *name,
                                             const talvo_json *value, const talvo_ustring *folder,
                                             talvo_ustring **problem) TALVO_NOEXCEPT;
/* talvo_xml_policy_addcert, _addkey and _addcrl give the policy a certificate in a role, a pinned
 * public key, a CRL. They are copied. 1 or 0. */
TALVO_API int32_t talvo_xml_policy_addcert(talvo_xml_policy *policy, uint32_t role,
                                           const TalvoPKICert *certificate) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_policy_addkey(talvo_xml_policy *policy,
                                          TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_policy_addcrl(talvo_xml_policy *policy,
                                          const talvo_crl *crl) TALVO_NOEXCEPT;
/* talvo_xml_policy_addbundle gives the policy everything in a PEM text, or one certificate, CRL
 * or, as a pin, public key in DER. 0 when there is nothing in it or anything in it is not for
 * this role; what stood before that stays added. */
TALVO_API int32_t talvo_xml_policy_addbundle(talvo_xml_policy *policy, uint32_t role,
                                             const void *bytes, size_t length) TALVO_NOEXCEPT;
/* talvo_xml_policy_settime sets the time of verification; NULL for the time of each call. */
TALVO_API int32_t talvo_xml_policy_settime(talvo_xml_policy *policy,
                                           const talvo_time *time) TALVO_NOEXCEPT;
/* talvo_xml_policy_sethmackey sets the secret of HMAC signatures. Whoever knows it is trusted. */
TALVO_API int32_t talvo_xml_policy_sethmackey(talvo_xml_policy *policy, const void *key,
                                              size_t length) TALVO_NOEXCEPT;
/* talvo_xml_policy_setdomainparam sets P, Q and G for DSA key values that leave them out. */
TALVO_API int32_t talvo_xml_policy_setdomainparam(talvo_xml_policy *policy,
                                                  const talvo_biginteger *p,
                                                  const talvo_biginteger *q,
                                                  const talvo_biginteger *g) TALVO_NOEXCEPT;
/* talvo_xml_policy_setresolver sets a resolver, or takes it away (NULL). */
TALVO_API int32_t talvo_xml_policy_setresolver(talvo_xml_policy *policy,
                                               talvo_xml_resolver resolver,
                                               void *userData) TALVO_NOEXCEPT;
/* talvo_xml_policy_addnamespace binds a prefix for the XPath expressions of "cover"; those in
 * scope at the root element are bound anyway. */
TALVO_API int32_t talvo_xml_policy_addnamespace(talvo_xml_policy *policy,
                                                const talvo_ustring *prefix,
                                                const talvo_ustring *uri) TALVO_NOEXCEPT;
/* talvo_xml_policy_keepoctets says whether reports keep the octets that references digest: not by
 * default, since they are as large as what is signed. */
TALVO_API int32_t talvo_xml_policy_keepoctets(talvo_xml_policy *policy,
                                              int32_t keep) TALVO_NOEXCEPT;

/* talvo_xml_signature_verify_policy verifies every signature of a document by a policy. It never
 * stops at the first failure, looks at nothing outside of the document before the signer is
 * trusted, and answers 1 exactly when the verdict is valid. `basePath`, `externalData` and
 * `length` are those of talvo_xml_signature_verify_ex. `report` (may be NULL) receives a new
 * report in both cases, released with talvo_xml_report_free; it borrows from the document, which
 * must outlive it and stay unchanged.
 * 0 with `error`: for an invalid document the code that the plain functions have for the first
 * failure,
 * for a refused one 0; 3 and no report when memory is exhausted, 6 and no report for a missing
 * argument. The document is not changed, but the Ids of its signatures are declared. */
TALVO_API int32_t talvo_xml_signature_verify_policy(XmlDoc *doc, const talvo_xml_policy *policy,
                                                    const talvo_ustring *basePath,
                                                    const void *externalData, size_t length,
                                                    talvo_xml_report **report,
                                                    uint32_t *error) TALVO_NOEXCEPT;

/* talvo_xml_report_free releases a report. NULL is ignored. */
TALVO_API void talvo_xml_report_free(talvo_xml_report *report) TALVO_NOEXCEPT;
/* talvo_xml_report_getverdict returns a TALVO_XML_VERDICT_; 0 for NULL. */
TALVO_API int32_t talvo_xml_report_getverdict(const talvo_xml_report *report) TALVO_NOEXCEPT;
/* talvo_xml_report_geterror returns the code that the verification handed out. */
TALVO_API uint32_t talvo_xml_report_geterror(const talvo_xml_report *report) TALVO_NOEXCEPT;
/* Reasons, which are none when the verdict is valid, and warnings: how many; the borrowed stable
 * name of one; a new string with its sentence and its place; the index of the signature that it
 * is about, -1 for the document. NULL and -1 for an index out of range. */
TALVO_API int32_t talvo_xml_report_getreasoncount(const talvo_xml_report *report) TALVO_NOEXCEPT;
TALVO_API const char *talvo_xml_report_getreasonname(const talvo_xml_report *report,
                                                     int32_t index) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_report_getreasontext(const talvo_xml_report *report,
                                                        int32_t index) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_report_getreasonsignature(const talvo_xml_report *report,
                                                      int32_t index) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_report_getwarningcount(const talvo_xml_report *report) TALVO_NOEXCEPT;
TALVO_API const char *talvo_xml_report_getwarningname(const talvo_xml_report *report,
                                                      int32_t index) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_report_getwarningtext(const talvo_xml_report *report,
                                                         int32_t index) TALVO_NOEXCEPT;
/* Signatures in document order: how many were examined (-1 for NULL); and of one its borrowed
 * element, its path and its Id as new strings, its method (-1: unknown), its verdict, whether
 * its signer is trusted (1 or 0), the source of its key, the certificate of its signer as a new
 * handle, and the path of certificates as it was built, the signer first, as a new list that
 * owns them. NULL, -1 or 0 for what there is not. */
TALVO_API int32_t talvo_xml_report_getsignaturecount(const talvo_xml_report *report) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_report_getsignaturenode(const talvo_xml_report *report,
                                                     int32_t signature) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_report_getsignaturepath(const talvo_xml_report *report,
                                                           int32_t signature) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_report_getsignatureid(const talvo_xml_report *report,
                                                         int32_t signature) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_report_getsignaturemethod(const talvo_xml_report *report,
                                                      int32_t signature) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_report_getsignatureverdict(const talvo_xml_report *report,
                                                       int32_t signature) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_report_istrusted(const talvo_xml_report *report,
                                             int32_t signature) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_report_getkeysource(const talvo_xml_report *report,
                                                int32_t signature) TALVO_NOEXCEPT;
TALVO_API TalvoPKICert *talvo_xml_report_getcertificate(const talvo_xml_report *report,
                                                        int32_t signature) TALVO_NOEXCEPT;
TALVO_API talvo_arraylist *talvo_xml_report_getchain(const talvo_xml_report *report,
                                                     int32_t signature) TALVO_NOEXCEPT;
/* References of a signature, those of a Manifest that was followed right behind the one that
 * leads to it: how many; the URI as a new string (NULL without); a TALVO_XML_REFERENCE_; the
 * expected and the computed digest as new blobs (NULL where there is none); how many octets were
 * digested (-1 when none were); and the octets, when the policy keeps them. */
TALVO_API int32_t talvo_xml_report_getreferencecount(const talvo_xml_report *report,
                                                     int32_t signature) TALVO_NOEXCEPT;
TALVO_API talvo_ustring *talvo_xml_report_getreferenceuri(const talvo_xml_report *report,
                                                          int32_t signature,
                                                          int32_t reference) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_xml_report_getreferenceverdict(const talvo_xml_report *report,
                                                       int32_t signature,
                                                       int32_t reference) TALVO_NOEXCEPT;
TALVO_API talvo_data_blob *talvo_xml_report_getexpecteddigest(const talvo_xml_report *report,
                                                              int32_t signature,
                                                              int32_t reference) TALVO_NOEXCEPT;
TALVO_API talvo_data_blob *talvo_xml_report_getcomputeddigest(const talvo_xml_report *report,
                                                              int32_t signature,
                                                              int32_t reference) TALVO_NOEXCEPT;
TALVO_API int64_t talvo_xml_report_getdigestedlength(const talvo_xml_report *report,
                                                     int32_t signature,
                                                     int32_t reference) TALVO_NOEXCEPT;
TALVO_API talvo_data_blob *talvo_xml_report_getdigestedoctets(const talvo_xml_report *report,
                                                              int32_t signature,
                                                              int32_t reference) TALVO_NOEXCEPT;
/* talvo_xml_report_iscovered returns 1 when a node of the document and everything in it is
 * covered by valid signatures, with the exceptions that the policy's cover "root" makes
 * (docs/policy.md), else 0. Signatures count whose own verdict is valid, whatever that of the
 * document is. */
TALVO_API int32_t talvo_xml_report_iscovered(const talvo_xml_report *report,
                                             XmlNode *node) TALVO_NOEXCEPT;
/* The topmost nodes that are not covered, at most 100 of them, as borrowed nodes. They are
 * looked for when the policy asks for the root. */
TALVO_API int32_t talvo_xml_report_getuncoveredcount(const talvo_xml_report *report) TALVO_NOEXCEPT;
TALVO_API XmlNode *talvo_xml_report_getuncovered(const talvo_xml_report *report,
                                                 int32_t index) TALVO_NOEXCEPT;
/* talvo_xml_report_getjson returns the whole report as a new JSON value, or NULL. */
TALVO_API talvo_json *talvo_xml_report_getjson(const talvo_xml_report *report) TALVO_NOEXCEPT;
/* talvo_xml_report_gethtml returns the report as one self-contained page, for a person: the
 * verdict, the signers, and the document with what is signed and what is not told apart. `title`
 * names the document (may be NULL). A new string of HTML in which nothing of the document is
 * markup, or NULL. */
TALVO_API talvo_ustring *talvo_xml_report_gethtml(const talvo_xml_report *report,
                                                  const talvo_ustring *title) TALVO_NOEXCEPT;

/* talvo_xml_errortext returns the borrowed sentence for a code of an error word, or NULL for one
 * that the family does not have. `family` is 1 for signing and properties, 2 for verifying and
 * references. */
TALVO_API const char *talvo_xml_errortext(uint32_t family, uint32_t code) TALVO_NOEXCEPT;

/* ---- canonicalisation and URIs ----
 *
 * How the URI of a reference is resolved, when signing and when verifying:
 *
 *   ""                     the document, without comments
 *   "#name"                the element with this ID, without comments
 *   "#xpointer(/)"         the document, with comments
 *   "#xpointer(id('x'))"   the element with this ID, with comments; double quotes do as well
 *   "http:", "https:"      fetched, when TALVO_DEREFERENCE_NETWORK allows it
 *   "folder/file.bin"      the file below the base of the Reference element, when xml:base or the
 *                          location of the document gives it an absolute one; otherwise below the
 *                          base path, an absolute path or a "file://" URL; otherwise below the
 *                          current directory. The base counts as a folder, its last part included.
 *                          "." and ".." are folded, and "%" escapes are decoded, in the base too.
 *
 * Anything else is refused: other schemes, absolute paths, a "#" behind the last "/", and a URI
 * or base over 64 kB. Only regular files are read, and none that yields more than its size says.
 * A relative reference may climb out of the base with "..": whoever verifies documents of
 * strangers lets them name any file that the process may read, and learn no more than whether
 * its digest is the expected one.
 *
 * Canonicalisation fails, as the standard has it, for a document with a relative namespace URI,
 * wherever in it that stands, and for entity references that were not replaced. Its cost grows
 * with the document and what is written, not with depth or the namespaces in scope. It departs
 * from the standards in a few cases, in which many signatures were made this way: the URI of a
 * namespace is written without escapes ("&" stands as it is), C14N 1.1 leaves out xml:base="",
 * and XPath filters that drop single attributes or namespaces see to it that xml:lang, xml:space
 * and xml:base (with C14N 1.1) and the namespaces of attributes (exclusive) are written all the
 * same. */

/* talvo_xml_c14nnode returns a new blob with the canonical octets of the node's subtree, in the
 * context of its document: namespaces in scope and, for the inclusive methods, inherited xml:
 * attributes count. `mode` is a canonicalisation method but TALVO_C14N_MINIMAL. A document stands
 * for all of its nodes. `prefixes`, a list of ustrings, is the InclusiveNamespaces PrefixList of
 * the exclusive methods ("#default" for the default namespace); NULL for none, and not looked at by
 * the other methods. The document is not changed.
 *
 * NULL for another mode, a NULL node, a node that is not linked into a document, a prefix that
 * holds a NUL, a document that cannot be canonicalised (see above), and exhausted memory. */
TALVO_API talvo_data_blob *talvo_xml_c14nnode(XmlNode *node, uint32_t mode,
                                              const talvo_arraylist *prefixes) TALVO_NOEXCEPT;

/* talvo_xml_uri_encode returns a new string, the text in the form that a URI attribute takes. Text
 * without ":" is a file path: what a URI cannot hold is escaped ("a b" becomes "a%20b"). Text with
 * ":" is a URI: it stays as it is when it is well-formed, and is escaped where that makes it so.
 * NULL for a NULL string, one that holds a NUL, and exhausted memory. */
TALVO_API talvo_ustring *talvo_xml_uri_encode(const talvo_ustring *uri) TALVO_NOEXCEPT;

/* ---- algorithms by number ---- */

/* Kinds of algorithms. */
enum {
  TALVO_ALGORITHM_C14N = 1,
  TALVO_ALGORITHM_DIGEST = 2,
  TALVO_ALGORITHM_SIGNATURE = 3,
  TALVO_ALGORITHM_TRANSFORM = 4,
  TALVO_ALGORITHM_CERTIFICATES = 5 /* certificate options, which have JSON names only */
};
/* talvo_xml_algorithm_getname returns the borrowed short English name of an algorithm (for example
 * "RSA-SHA256"), or NULL for a number that its kind does not have. */
TALVO_API const char *talvo_xml_algorithm_getname(uint32_t kind, int32_t number) TALVO_NOEXCEPT;
/* talvo_xml_algorithm_geturi returns the identifier that is written for the algorithm as a new
 * string, or NULL where there is none. */
TALVO_API talvo_ustring *talvo_xml_algorithm_geturi(uint32_t kind, int32_t number) TALVO_NOEXCEPT;
/* talvo_xml_algorithm_getjsonname returns the borrowed name that chooses the algorithm in the JSON
 * signing parameters, or NULL where it cannot be chosen there. */
TALVO_API const char *talvo_xml_algorithm_getjsonname(uint32_t kind, int32_t number) TALVO_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
