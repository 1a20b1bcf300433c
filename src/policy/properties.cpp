// XAdES: that what claims to be signed is, that the certificate is the one that was meant, and what
// time-stamps are worth.
#include <algorithm>

#include "base/list.h"
#include "base/utf8.h"
#include "policy/run.h"
#include "policy/signing_certificate.h"
#include "signature/decode/element_reader.h"
#include "signature/decode/xades.h"

namespace talvo::policy {
namespace {

using TimeStampObject = Handle<TalvoPKITimeStamp, TalvoPKIMsgFreeTimeStamp>;

class PropertyExamination {
 public:
  PropertyExamination(Run &run, int32_t signature)
      : run_(run), signature_(signature), entry_(run.entry(signature)), record_(*entry_.record) {}

  void examine();

 private:
  void examineSignedProperties(XmlNode *qualifying);
  bool isCovered(XmlNode *properties);
  void examineTimeStamps(XmlNode *qualifying);
  void examineTimeStamp(int32_t index);
  void list(const XmlNode *container, bool isSigned);

  Run &run_;
  int32_t signature_;
  SignatureEntry &entry_;
  const Signature &record_;
};

// By a reference of the type for it, whose digest holds, and which takes nothing out.
bool PropertyExamination::isCovered(XmlNode *properties) {
  for (const Reference *reference : items<Reference>(record_.signedInfo->references)) {
    const bool isHeld = std::any_of(
        entry_.references.begin(), entry_.references.end(), [&](const ReferenceEntry &item) {
          return item.element == reference->element && item.verdict == TALVO_XML_REFERENCE_VALID;
        });
    if (!isHeld || viewOf(reference->type.get()) != TALVO_XML_TYPE_SIGNED_PROPERTIES) {
      continue;
    }
    const Reach reach{run_.document(), reference->element, run_.basePath(), 0};
    Selection selection;
    Coverage coverage;
    if (selectionOf(*reference, reach, static_cast<uint64_t>(run_.policy().limits.xpathOperations),
                    &selection)) {
      coverage.add(std::move(selection));
      if (CoverageWalk(coverage).isSubtreeFine(properties)) {
        return true;
      }
    }
  }
  return false;
}

void PropertyExamination::examineSignedProperties(XmlNode *qualifying) {
  XmlNode *properties = xadesChild(qualifying, g_xml_xades_signedproperties);
  if (properties == nullptr) {
    return;
  }
  const bool isSigned = isCovered(properties);
  if (!isSigned) {
    run_.refuse(signature_, {Reason::signedPropertiesUncovered, {}, 0, -1, properties});
  }
  for (const XmlNode *part = firstElementChild(properties); part != nullptr;
       part = nextElement(part)) {
    list(part, isSigned);
  }
}

void PropertyExamination::list(const XmlNode *container, bool isSigned) {
  for (const XmlNode *property = firstElementChild(container); property != nullptr;
       property = nextElement(property)) {
    entry_.properties.push_back({Text(localName(property)), isSigned});
  }
}

void PropertyExamination::examineTimeStamp(int32_t index) {
  const TalvoXmlPolicy &policy = run_.policy();
  TimeStampEntry stamp;
  TalvoPKITimeStamp *object = nullptr;
  stamp.isSound =
      talvo_xml_signature_xades_verifysignaturetimestamp(&record_, index, nullptr, &object) == 1;
  const TimeStampObject owner(stamp.isSound ? object : nullptr);
  if (!stamp.isSound) {
    entry_.timeStamps.push_back(std::move(stamp));
    run_.refuse(signature_, {Reason::timeStampInvalid});
    return;
  }
  stamp.time.reset(TalvoPKIMsgTimeStampGetTime(object));
  stamp.authority.reset(TalvoPKIMsgTimeStampGetSigner(object));
  const List &own = policy.tsaAnchors;
  const List &anchors = items<TalvoPKICert>(own).empty() ? policy.anchors : own;
  TalvoPKITimeStamp *again = nullptr;
  stamp.isTrusted =
      !items<TalvoPKICert>(anchors).empty() && talvo_xml_signature_xades_verifysignaturetimestamp(
                                                   &record_, index, anchors.get(), &again) == 1;
  const TimeStampObject second(stamp.isTrusted ? again : nullptr);
  const bool isTrusted = stamp.isTrusted;
  entry_.timeStamps.push_back(std::move(stamp));
  if (!isTrusted && policy.timeStamps == TimeStamps::require) {
    run_.refuse(signature_, {Reason::timeStampNotTrusted});
  } else if (!isTrusted) {
    run_.warn(signature_, {Reason::timeStampNotTrusted});
  }
}

void PropertyExamination::examineTimeStamps(XmlNode *qualifying) {
  const XmlNode *container = xadesChild(xadesChild(qualifying, g_xml_xades_unsignedproperties),
                                        g_xml_xades_unsignedsignatureproperties);
  int32_t written = 0;
  for (const XmlNode *property = firstElementChild(container); property != nullptr;
       property = nextElement(property)) {
    const std::string_view name = localName(property);
    if (isXadesElement(property, g_xml_xades_signaturetimestamp)) {
      ++written;
    } else if (name.ends_with("TimeStamp") || name.ends_with("TimeStampV2")) {
      run_.warn(signature_, {Reason::timeStampNotExamined, name});
    }
  }
  const int32_t read = talvo_xml_signature_xades_getsignaturetimestampcount(&record_);
  if (std::max(read, 0) != written) {
    run_.refuse(signature_, {Reason::timeStampInvalid});  // one that cannot be read
  }
  for (int32_t i = 0; i < read; ++i) {
    examineTimeStamp(i);
  }
  list(container, false);
}

void PropertyExamination::examine() {
  const PropertySets sets = propertySetsOf(record_);
  if (sets.first == nullptr) {
    return;
  }
  if (sets.count > 1) {
    run_.refuse(signature_, {Reason::severalQualifyingProperties});
  }
  examineSignedProperties(sets.first);
  if (entry_.hasValue && namesCertificate(record_) &&
      !isNamedBy(record_, entry_.certificate.get())) {
    run_.refuse(signature_, {Reason::signingCertificateMismatch});
  }
  examineTimeStamps(sets.first);
}

}  // namespace

void examineProperties(Run &run, int32_t signature) {
  if (run.policy().isJudging) {
    PropertyExamination(run, signature).examine();
  }
}

}  // namespace talvo::policy
