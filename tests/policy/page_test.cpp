// The page for people is right for documents that are made to deceive it.
#include "policy/policy_support.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

class PageTest : public PolicyTest {
 protected:
  static std::string pageOf(const Verified &outcome, const std::string &title) {
    const UString page(talvo_xml_report_gethtml(outcome.report.get(), makeString(title).get()));
    return std::string(viewOf(page.get()));
  }
  static bool holds(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
  }
};

constexpr const char *kHostile =
    "<b title=\"&quot;&gt;&lt;script&gt;document.title='OWNED'&lt;/script&gt;\">"
    "<script>document.title='OWNED'</script><img src='x' onerror='document.title=1'/>"
    "\xE2\x80\xAE turned \xE2\x80\x8B</b>";

TEST_F(PageTest, NothingOfTheDocumentIsMarkup) {
  const Verified outcome = verify(sign(document(kHostile), parameters(enveloped())));
  ASSERT_EQ(outcome.verdict(), "valid");
  const std::string page = pageOf(outcome, "</title><script>document.title='OWNED'</script>");
  EXPECT_FALSE(holds(page, "<script"));
  EXPECT_FALSE(holds(page, "<img"));
  EXPECT_TRUE(holds(page, "&lt;script&gt;document.title=&#39;OWNED&#39;"));
  EXPECT_TRUE(holds(page, "[U+202E]"));
  EXPECT_TRUE(holds(page, "[U+200B]"));
  EXPECT_FALSE(holds(page, "\xE2\x80\xAE"));
  EXPECT_TRUE(holds(page, "default-src 'none'"));
  if (!hasProgram("chromium")) {
    return;
  }
  const Workshop workshop;
  workshop.write("page.html", page);
  ASSERT_TRUE(workshop.run(
      "timeout 60 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
      "--disable-background-networking --disable-component-update --disable-sync "
      "--user-data-dir=profile --dump-dom page.html > dom.html"));
  const std::string dom = workshop.read("dom.html");
  EXPECT_TRUE(holds(dom, "<title>Valid: &lt;/title&gt;&lt;script&gt;"));
  EXPECT_TRUE(holds(dom, "<summary>Signature</summary>"));
  EXPECT_FALSE(holds(dom, "<script"));
}

TEST_F(PageTest, SaysWhatIsSignedAndWhatIsNot) {
  const std::string text =
      sign("<a><b ID=\"b\">this</b><c>that</c>" + std::string(kSignatureHere) + "</a>",
           parameters(to("#b")));
  const std::string page = pageOf(verify(text), "x");
  EXPECT_TRUE(holds(page, "<h1>\xE2\x9A\xA0 Refused</h1>"));
  EXPECT_TRUE(holds(page, "<span class=signed>&lt;b ID=&quot;b&quot;&gt;this&lt;/b&gt;</span>"));
  EXPECT_TRUE(holds(page, "<mark class=unsigned>&lt;c&gt;that&lt;/c&gt;</mark>"));
  EXPECT_TRUE(holds(page, "Trusted</dt><dd>Yes"));
}

}  // namespace
}  // namespace talvo::test
