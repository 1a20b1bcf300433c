// One self-contained page: no script, nothing from elsewhere, and a policy for the browser that
// says so.
#include "policy/page.h"

#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "policy/certificate.h"

namespace talvo::policy {
namespace {

constexpr std::string_view kHead = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="referrer" content="no-referrer">
<style>
:root { color-scheme: light; }
body { font: 16px/1.5 sans-serif; color: #1b1b1b; background: #fff; margin: 0 auto; padding: 1rem; max-width: 60rem; }
a.skip { position: absolute; left: -100rem; } a.skip:focus { position: static; }
:focus-visible { outline: 3px solid #1a4fa0; outline-offset: 2px; }
.verdict { border: 3px solid; border-radius: .5rem; padding: .5rem 1rem; }
.verdict h1 { margin: .25rem 0; font-size: 1.5rem; }
.valid { border-color: #17652b; background: #eaf6ed; } .valid h1 { color: #17652b; }
.refused { border-color: #8a5300; background: #fdf3e1; } .refused h1 { color: #7a4900; }
.invalid { border-color: #a01420; background: #fdebec; } .invalid h1 { color: #a01420; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .1rem 1rem; margin: .5rem 0; }
dt { font-weight: bold; } dd { margin: 0; overflow-wrap: anywhere; unicode-bidi: isolate; }
section.signer { border-left: .3rem solid #888; padding-left: 1rem; margin: 1rem 0; }
.name { color: #555; font-family: monospace; }
.doc { white-space: pre-wrap; overflow-wrap: anywhere; font: 14px/1.6 monospace; border: 1px solid #777; padding: .75rem; unicode-bidi: isolate; }
.signed { background: #e3f4e7; color: #0e3d1a; border-bottom: 2px solid #17652b; }
.signed::before { content: "\2713\00a0"; font-weight: bold; }
.unsigned { background: #ffe0e0; color: #6d0a13; border-bottom: 2px dashed #a01420; text-decoration: none; }
.unsigned::before { content: "\2717\00a0not signed:\00a0"; font-weight: bold; }
.free { color: #555; }
.hidden { border: 1px solid #a01420; color: #a01420; font-weight: bold; }
summary { cursor: pointer; font-weight: bold; } details { display: block; border: 1px solid #aaa; padding: .1rem .5rem; margin: .2rem 0; }
@media print { body { max-width: none; } .signed, .unsigned, .verdict { print-color-adjust: exact; -webkit-print-color-adjust: exact; } a.skip { display: none; } }
</style>
)html";

struct VerdictWords {
  std::string_view mark;
  std::string_view heading;
  std::string_view meaning;
};

VerdictWords wordsOf(int32_t verdict) noexcept {
  switch (verdict) {
    case TALVO_XML_VERDICT_VALID:
      return {"\u2713", "Valid",
              "The document was signed by somebody you trust and has not been changed since."};
    case TALVO_XML_VERDICT_REFUSED:
      return {"\u26A0", "Refused",
              "What was signed has not been changed, but this is not enough to rely on the "
              "document. Do not act on it before the reasons below are cleared up."};
    default:
      return {"\u2717", "Invalid",
              "The document or its signature was changed, or it cannot be checked. Do not act on "
              "it."};
  }
}

class Page {
 public:
  explicit Page(const TalvoXmlReport &report) : report_(report) {}

  std::string write(std::string_view title);

 private:
  void writeVerdict(std::string_view title);
  void writeNotes(const Vec<Note> &notes, std::string_view heading);
  void writeSigners();
  void writeSigner(const SignatureEntry &entry, size_t number);
  void writeCertificate(const SignatureEntry &entry);
  void writeTrust(const SignatureEntry &entry);
  void writeTimes(const SignatureEntry &entry);
  void row(std::string_view term, std::string_view text);
  void text(std::string_view text) { appendEscaped(page_, text); }

  const TalvoXmlReport &report_;
  std::string page_;
  NodePaths paths_;
};

void Page::row(std::string_view term, std::string_view value) {
  page_ += "<dt>";
  text(term);
  page_ += "</dt><dd>";
  text(value);
  page_ += "</dd>\n";
}

void Page::writeVerdict(std::string_view title) {
  const VerdictWords words = wordsOf(report_.verdict);
  page_ += "<title>" + std::string(words.heading) + ": ";
  text(title);
  page_ += "</title>\n</head>\n<body>\n<a class=skip href=\"#document\">To the document</a>\n";
  page_ += "<header class=\"verdict " + std::string(verdictName(report_.verdict)) + "\">\n<h1>";
  page_ += std::string(words.mark) + " " + std::string(words.heading) + "</h1>\n<p>";
  text(words.meaning);
  page_ += "</p>\n<dl>\n";
  row("Document", title);
  row("Verified for", isoTime(report_.time.get()));
  row("Policy", presetName(report_.preset));
  page_ += "</dl>\n</header>\n<main>\n";
}

void Page::writeNotes(const Vec<Note> &notes, std::string_view heading) {
  if (notes.empty()) {
    return;
  }
  page_ += "<h2>";
  text(heading);
  page_ += "</h2>\n<ul>\n";
  for (const Note &note : notes) {
    page_ += "<li>";
    text(sentenceOf(note, paths_));
    page_ += " <span class=name>" + std::string(nameOf(note.reason)) + "</span>";
    if (note.signature >= 0) {
      page_ += " (signature " + std::to_string(note.signature + 1) + ")";
    }
    page_ += "</li>\n";
  }
  page_ += "</ul>\n";
}

void Page::writeCertificate(const SignatureEntry &entry) {
  const TalvoPKICert *certificate = entry.certificate.get();
  if (certificate == nullptr) {
    row("Signer", entry.keySource == TALVO_XML_KEY_SECRET ? "whoever knows the shared secret"
                                                          : "nobody is named by a certificate");
    return;
  }
  constexpr int32_t kIssuer = 49;
  row("Signer", subjectOf(certificate));
  const UString issuer(TalvoPKICertGetCertStringAttribute(certificate, kIssuer));
  row("Named so by", viewOf(issuer.get()));
  const Time from(TalvoPKICertGetCertValidity(certificate, 0));
  const Time to(TalvoPKICertGetCertValidity(certificate, 1));
  row("Certificate valid", isoTime(from.get()) + " to " + isoTime(to.get()));
}

void Page::writeTrust(const SignatureEntry &entry) {
  std::string why = "No: nobody who is trusted vouches for this signer.";
  if ((entry.findings & TALVO_TRUST_PINNED) != 0) {
    why = "exactly this certificate or key was given as one to trust.";
  } else if ((entry.findings & TALVO_TRUST_ANCHORED) != 0) {
    const auto chain = items<TalvoPKICert>(entry.chain);
    why = "vouched for by " + subjectOf(chain[chain.size() - 1]) + ".";
  } else if (entry.isTrusted) {
    why = "the key was given as one to trust.";
  }
  const bool isSome = (entry.findings & (TALVO_TRUST_PINNED | TALVO_TRUST_ANCHORED)) != 0;
  row("Trusted", (entry.isTrusted ? "Yes: " : isSome ? "No, although " : "") + why);
}

void Page::writeTimes(const SignatureEntry &entry) {
  if (entry.record != nullptr && entry.record->signingTime != nullptr) {
    row("Signed at", isoTime(entry.record->signingTime.get()) + ", as the signer himself says");
  }
  for (const TimeStampEntry &stamp : entry.timeStamps) {
    const std::string time = stamp.time == nullptr ? "" : isoTime(stamp.time.get());
    row("Time-stamp", !stamp.isSound    ? "does not fit"
                      : stamp.isTrusted ? time + ", by " + subjectOf(stamp.authority.get())
                                        : time + ", by an authority that nobody vouches for");
  }
}

void Page::writeSigner(const SignatureEntry &entry, size_t number) {
  const VerdictWords words = wordsOf(verdictOf(entry));
  page_ += "<section class=signer>\n<h3>";
  page_ += std::string(words.mark) + " " +
           (entry.isCounterSignature ? "Countersignature " : "Signature ") +
           std::to_string(number) + ": ";
  text(words.heading);
  page_ += "</h3>\n<dl>\n";
  writeCertificate(entry);
  if (entry.hasValue && report_.preset != TALVO_XML_POLICY_PLAIN) {
    writeTrust(entry);
  }
  writeTimes(entry);
  const SignatureAlgorithm *method = signatureByNumber(entry.method);
  row("Method", method == nullptr ? "unknown" : method->name);
  row("Place", paths_.of(entry.element));
  page_ += "</dl>\n</section>\n";
}

void Page::writeSigners() {
  page_ += "<h2>Who signed</h2>\n";
  if (report_.signatures.empty()) {
    page_ += "<p>Nothing was looked at.</p>\n";
  }
  size_t number = 0;
  for (const SignatureEntry &entry : report_.signatures) {
    writeSigner(entry, ++number);
  }
}

std::string Page::write(std::string_view title) {
  page_ = kHead;
  writeVerdict(title);
  writeNotes(report_.reasons, "Why");
  writeNotes(report_.warnings, "What else to know");
  writeSigners();
  page_ +=
      "<h2 id=document tabindex=-1>The document</h2>\n<p><span class=signed>Signed</span> by a "
      "signature that is valid. <mark class=unsigned>This</mark> is not: anybody may have written "
      "it. <span class=free>Grey</span> is the signature itself.</p>\n<div class=doc>";
  appendDocument(page_, report_);
  page_ += "</div>\n</main>\n</body>\n</html>\n";
  return std::move(page_);
}

}  // namespace
}  // namespace talvo::policy

extern "C" {

talvo_ustring *talvo_xml_report_gethtml(const talvo_xml_report *report,
                                        const talvo_ustring *title) noexcept {
  using namespace talvo;
  return guard([&]() -> talvo_ustring * {
    const int64_t refusals = talvo_memory_getrefusals();
    if (report == nullptr) {
      return nullptr;
    }
    UString page = makeString(policy::Page(*report).write(viewOf(title)));
    return talvo_memory_getrefusals() == refusals ? page.release() : nullptr;
  });
}
}
