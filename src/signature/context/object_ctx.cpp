// What stands in an Object. Nodes are borrowed until a generator moves them into a document; only a
// context that owns them releases them.
#include "signature/context/copy.h"
#include "xml/edit.h"
#include "xml/node.h"

namespace {

using namespace talvo;

ObjectContext newObject(uint32_t kind, const talvo_ustring *id) noexcept {
  ObjectContext context(make<ObjectCtx>(kSource).release());
  if (!context || !copyOptional(context->id, id)) {
    return nullptr;
  }
  context->kind = kind;
  return context;
}

template <class Item>
ObjectCtx *newListObject(uint32_t kind, const talvo_ustring *id,
                         const talvo_arraylist *contents) noexcept {
  ObjectContext context = newObject(kind, id);
  if (!context) {
    return nullptr;
  }
  context->contents = shareContexts<Item>(contents);
  return context->contents == nullptr ? nullptr : context.release();
}

template <class Item>
talvo_arraylist *contentsOf(const ObjectCtx *context, uint32_t kind) noexcept {
  if (context == nullptr || context->kind != kind) {
    return nullptr;
  }
  return shareContexts<Item>(context->contents.get()).release();
}

}  // namespace

ObjectCtx::~ObjectCtx() {
  if (ownsNode) {
    takeRun(node).reset();
  }
}

SignaturePropCtx::~SignaturePropCtx() {
  if (ownsContent) {
    takeRun(content).reset();
  }
}

ObjectCtx *talvo_xml_signature_objectctx_dup(ObjectCtx *context) noexcept {
  return dup(context);
}

void talvo_xml_signature_objectctx_free(ObjectCtx *context) noexcept {
  release(context);
}

SignaturePropCtx *talvo_xml_signature_signaturepropctx_dup(SignaturePropCtx *context) noexcept {
  return dup(context);
}

void talvo_xml_signature_signaturepropctx_free(SignaturePropCtx *context) noexcept {
  release(context);
}

ObjectCtx *talvo_xml_signature_objectctx_newdata(const talvo_ustring *id,
                                                 const talvo_ustring *mimeType,
                                                 const talvo_ustring *encoding,
                                                 const talvo_ustring *data) noexcept {
  ObjectContext context = newObject(TALVO_OBJECT_TEXT, id);
  if (!context || !copyOptional(context->mimeType, mimeType) ||
      !copyOptional(context->encoding, encoding) || !replaceRequired(context->text, data)) {
    return nullptr;
  }
  return context.release();
}

ObjectCtx *talvo_xml_signature_objectctx_newnode(const talvo_ustring *id, XmlNode *node) noexcept {
  if (kindOf(node) != NodeKind::element) {
    return nullptr;
  }
  ObjectContext context = newObject(TALVO_OBJECT_NODE, id);
  if (context) {
    context->node = node;
  }
  return context.release();
}

ObjectCtx *talvo_xml_signature_objectctx_newmanifest(const talvo_ustring *id,
                                                     const talvo_arraylist *references) noexcept {
  return id == nullptr ? nullptr
                       : newListObject<ReferenceCtx>(TALVO_OBJECT_MANIFEST, id, references);
}

ObjectCtx *talvo_xml_signature_objectctx_newsignprops(const talvo_ustring *id,
                                                      const talvo_arraylist *properties) noexcept {
  return newListObject<SignaturePropCtx>(TALVO_OBJECT_SIGNATURE_PROPERTIES, id, properties);
}

SignaturePropCtx *talvo_xml_signature_signaturepropctx_new(const talvo_ustring *id,
                                                           const talvo_ustring *target,
                                                           XmlNode *content) noexcept {
  if (content == nullptr) {
    return nullptr;
  }
  SignaturePropContext context(make<SignaturePropCtx>(kSource).release());
  if (!context || !copyOptional(context->id, id) || !replaceRequired(context->target, target)) {
    return nullptr;
  }
  context->content = content;
  return context.release();
}

int32_t talvo_xml_signature_objectctx_gettype(const ObjectCtx *context) noexcept {
  return context == nullptr ? -1 : static_cast<int32_t>(context->kind);
}

XmlNode *talvo_xml_signature_objectctx_getnode(const ObjectCtx *context) noexcept {
  return context == nullptr || context->kind != TALVO_OBJECT_NODE ? nullptr : context->node;
}

talvo_arraylist *talvo_xml_signature_objectctx_getsignatureprops(
    const ObjectCtx *context) noexcept {
  return contentsOf<SignaturePropCtx>(context, TALVO_OBJECT_SIGNATURE_PROPERTIES);
}

talvo_arraylist *talvo_xml_signature_objectctx_getmanifest(const ObjectCtx *context) noexcept {
  return contentsOf<ReferenceCtx>(context, TALVO_OBJECT_MANIFEST);
}
