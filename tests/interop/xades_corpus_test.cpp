// The unsigned properties of foreign signatures: which of their time-stamps and countersignatures are believed. Those
// that are not are named here; all others have to hold.
#include <functional>
#include <set>

#include "interop/corpus_support.h"
#include "support/keys.h"

namespace talvo::test {
namespace {

using TimeStampObject = Handle<TalvoPKITimeStamp, TalvoPKIMsgFreeTimeStamp>;
using Judge = std::function<bool(const Signature *, int32_t index)>;

struct Verdicts {
  int32_t believed = 0;
  std::set<std::string> refused;  // files, "@" behind one that was judged with its base path
};

class XadesCorpusTest : public CorpusTest {
 protected:
  // Judges each of the properties of every signature of every file, once with each base path.
  static Verdicts judgeAll(int32_t (*count)(const Signature *), const Judge &holds) {
    Verdicts verdicts;
    std::set<std::string> seen;
    for (const CorpusRow &row : corpusTable("MANIFEST.tsv")) {
      const std::string name = row.at("file") + (row.at("base").empty() ? "" : "@");
      if (seen.insert(name).second) {
        judgeFile(row, name, count, holds, &verdicts);
      }
    }
    return verdicts;
  }

 private:
  static void judgeFile(const CorpusRow &row, const std::string &name,
                        int32_t (*count)(const Signature *), const Judge &holds,
                        Verdicts *verdicts) {
    const Document document = corpusDocument(row);
    const List signatures = signaturesOf(document);
    for (XmlNode *element : items<XmlNode>(signatures)) {
      const SignatureRecord record(talvo_xml_decode_signature(element));
      if (const UString base = basePathOf(row)) {
        talvo_xml_signature_setbasepath(record.get(), base.get());
      }
      for (int32_t index = 0; index < count(record.get()); ++index) {
        if (holds(record.get(), index)) {
          ++verdicts->believed;
        } else {
          verdicts->refused.insert(name);
        }
      }
    }
  }
};

TEST_F(XadesCorpusTest, TimeStampsHoldButThoseOverSomethingElse) {
  const Verdicts verdicts = judgeAll(talvo_xml_signature_xades_getsignaturetimestampcount,
                                     [](const Signature *record, int32_t index) {
                                       TalvoPKITimeStamp *timeStamp = nullptr;
                                       const int32_t result =
                                           talvo_xml_signature_xades_verifysignaturetimestamp(
                                               record, index, nullptr, &timeStamp);
                                       const TimeStampObject owner(timeStamp);
                                       return result == 1;
                                     });
  const std::set<std::string> refused = {
      "generated/xades-completecertificaterefs.xml",  // octets that are no token
      // Stamped over the exclusive form without saying so.
      "third-party/dss-asic/container-with-custom-manifest-namespace.asice/META-INF/"
      "signatures-1.xml",
      "third-party/dss/validation/xades-two-sig-copied-tst.xml",  // the other signature's
  };
  EXPECT_EQ(verdicts.refused, refused);
  EXPECT_GE(verdicts.believed, 47);
}

TEST_F(XadesCorpusTest, CounterSignaturesHoldButTheBrokenOnes) {
  const Verdicts verdicts = judgeAll(talvo_xml_signature_xades_getcountersignaturecount,
                                     [](const Signature *record, int32_t index) {
                                       TalvoPKICert *signer = nullptr;
                                       XmlNode *element = nullptr;
                                       const int32_t result =
                                           talvo_xml_signature_xades_verifycountersignature(
                                               record, index, nullptr, &signer, &element);
                                       const Certificate owner(signer);
                                       return result == 1;
                                     });
  const std::set<std::string> refused = {
      "generated/xades-countersignature-broken.xml",
      "generated/xades-countersignature-no-cert.xml",
      // A file that is missing without base path, a digest that differs, a reference to something else.
      "third-party/dss-asic/container-with-counter-signature.asice/META-INF/signatures0.xml",
      "third-party/dss/validation/TEST_S1a_C1a_InTL_VALID.xml",
      "third-party/dss/validation/xades-fake-counter-signature.xml",
  };
  EXPECT_EQ(verdicts.refused, refused);
  EXPECT_GE(verdicts.believed, 5);
}

}  // namespace
}  // namespace talvo::test
