#include "signature/decode/reference_context.h"

#include "signature/generate/reference.h"
#include "support/signature_namespace.h"

namespace talvo::test {
namespace {

class ReferenceContextTest : public LibraryTest {};

// The Reference element of a context, with a digest.
XmlNode *hostReference(const SignatureHost &host, ReferenceCtx *context, std::string_view digest) {
  host.textOf(generateReferences(host.doc(), host.ns(), listOf({context}).get()));
  XmlNode *value = talvo_xml_node_findelemnode(host.root(), g_xml_signature_digestvalue_name,
                                               g_xml_signature_nsuri);
  talvo_xml_node_setvalue(value, str(digest).get());
  return talvo_xml_node_findelemnode(host.root(), g_xml_signature_reference_name,
                                     g_xml_signature_nsuri);
}

constexpr char kSha1Digest[] = "AQIDBAUGBwgJCgsMDQ4PEBESExQ=";

TEST_F(ReferenceContextTest, AReferenceElementDescribesItself) {
  const SignatureHost host;
  const TransformContext enveloped = transform(48);
  const TransformContext xpath = transform(32, str("self::a").get());
  const ReferenceContext made(
      talvo_xml_signature_referencectx_new(1, str("r").get(), str("#a").get(), str("urn:t").get(),
                                           nullptr, listOf({enveloped.get(), xpath.get()}).get()));
  const ReferenceContext read(
      talvo_xml_signature_referencectx_decode(hostReference(host, made.get(), kSha1Digest)));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(textOf(read->id) + " " + textOf(read->uri) + " " + textOf(read->type), "r #a urn:t");
  EXPECT_EQ(read->digestMethod, 1U);
  EXPECT_EQ(textOf(read->digestValue), kSha1Digest);
  ASSERT_EQ(items<TransformCtx>(read->transforms).size(), 2);
  EXPECT_EQ(items<TransformCtx>(read->transforms)[0]->algorithm, 48);
  EXPECT_EQ(test::textOf(items<TransformCtx>(read->transforms)[1]->expression), "self::a");
}

TEST_F(ReferenceContextTest, WhatAContextRefusesIsNotConverted) {
  const SignatureHost host;
  const Blob content(talvo_data_blob_new("x", 1));
  const ReferenceContext withoutUri(
      talvo_xml_signature_referencectx_new(1, nullptr, nullptr, nullptr, content.get(), nullptr));
  const ReferenceContext plain = reference("#a", 1);
  EXPECT_EQ(
      talvo_xml_signature_referencectx_decode(hostReference(host, withoutUri.get(), kSha1Digest)),
      nullptr);
  // A digest of another length, and no digest.
  EXPECT_EQ(talvo_xml_signature_referencectx_decode(hostReference(host, plain.get(), "AAAA")),
            nullptr);
  EXPECT_EQ(talvo_xml_signature_referencectx_decode(hostReference(host, plain.get(), "")), nullptr);
  EXPECT_EQ(talvo_xml_signature_referencectx_decode(host.root()), nullptr);
  EXPECT_EQ(talvo_xml_signature_referencectx_decode(nullptr), nullptr);
}

}  // namespace
}  // namespace talvo::test
