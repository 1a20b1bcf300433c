// Every foreign signature of the corpus gets the verdict that its row states. The process leaves the network first
// where it may, so that a row which presumes that no server answers is really tested.
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include <net/if.h>
#include <sched.h>

#include "interop/corpus_support.h"
#include "support/http_server.h"
#include "support/keys.h"

namespace talvo::test {
namespace {

bool raiseLoopback() {
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool raised = descriptor >= 0 && ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
  close(descriptor);
  return raised;
}

// A network of its own with nothing but a loopback device.
bool leaveNetwork() {
  static const bool left =
      (unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) && raiseLoopback();
  return left;
}

class CorpusRun {
 public:
  explicit CorpusRun(const CorpusRow &row)
      : row_(row), directory_(corpusDirectory() + "/"), basePath_(basePathOf(row)) {
    if (!row.at("ext").empty()) {
      external_ = readFile(directory_ + row.at("ext"));
    }
  }

  // "valid", "noparse", or the error code.
  std::string answer() {
    const Document document = corpusDocument(row_);
    if (!document) {
      return "noparse";
    }
    return row_.at("run") == "verify" ? verifyDocument(document.get()) : verifyRecords(document);
  }

 private:
  const void *externalBytes() const { return external_.empty() ? nullptr : external_.data(); }

  std::string verifyDocument(XmlDoc *document) {
    uint32_t error = 0;
    const int32_t result = talvo_xml_signature_verify_ex(document, basePath_.get(), externalBytes(),
                                                         external_.size(), nullptr, &error);
    return result == 1 ? "valid" : std::to_string(error);
  }

  std::string verifyRecords(const Document &document) {
    if (talvo_xml_signature_setid(document.get()) != 1) {
      return "15";
    }
    const List elements = signaturesOf(document);
    for (XmlNode *element : items<XmlNode>(elements)) {
      const SignatureRecord signature(talvo_xml_decode_signature(element));
      const std::string answer = signature ? verifyRecord(signature.get()) : "17";
      if (answer != "valid") {
        return answer;
      }
    }
    return "valid";
  }

  std::string verifyRecord(Signature *signature) {
    if (basePath_) {
      EXPECT_EQ(talvo_xml_signature_setbasepath(signature, basePath_.get()), 1);
    }
    giveKeys(signature);
    uint32_t error = 0;
    const auto flags = static_cast<uint32_t>(std::stoul(row_.at("flags")));
    const bool valid = talvo_xml_signature_signaturevalidation(signature, nullptr, &error) == 1 &&
                       talvo_xml_signature_referencevalidation_ex(signature, flags, externalBytes(),
                                                                  external_.size(), &error) == 1;
    return valid ? "valid" : std::to_string(error);
  }

  static std::vector<uint8_t> octetsOfHex(const std::string &hex) {
    uint8_t *bytes = nullptr;
    size_t length = 0;
    EXPECT_EQ(talvo_hex_decode(hex.data(), hex.size(), &bytes, &length), 1) << hex;
    const ByteBuffer owner(bytes);
    return {bytes, bytes + length};
  }

  void giveKeys(Signature *signature) {
    if (!row_.at("hmac").empty()) {
      const std::vector<uint8_t> key = octetsOfHex(row_.at("hmac"));
      talvo_xml_signature_sethmackey(signature, key.data(), key.size());
    }
    if (!row_.at("pqg").empty()) {
      giveDomainParameters(signature, readFile(directory_ + row_.at("pqg")));
    }
    for (const std::string &path : split(row_.at("certs"), ';')) {
      const std::string der = readFile(directory_ + path);
      const Certificate certificate(TalvoPKICertNewCert(der.data(), der.size()));
      EXPECT_TRUE(certificate) << path;
      talvo_xml_signature_addcert(signature, certificate.get());
    }
  }

  void giveDomainParameters(Signature *signature, const std::string &text) {
    std::vector<BigInteger> numbers;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      const std::vector<uint8_t> bytes = octetsOfHex(word.substr(word.find('=') + 1));
      numbers.emplace_back(talvo_biginteger_newunsigneddata(bytes.data(), bytes.size()));
    }
    ASSERT_EQ(numbers.size(), 3u);
    talvo_xml_signature_sethdomainparam(signature, numbers[0].get(), numbers[1].get(),
                                        numbers[2].get());
  }

  const CorpusRow &row_;
  std::string directory_;
  UString basePath_;
  std::string external_;
};

bool isExpected(const std::string &expected, const std::string &answer) {
  if (expected == "refused") {
    return answer != "valid";
  }
  const std::vector<std::string> alternatives = split(expected, '|');
  return std::find(alternatives.begin(), alternatives.end(), answer) != alternatives.end();
}

// The server of a row like "http:PORT:DIR"; null for other rows.
std::unique_ptr<HttpServer> serverFor(const CorpusRow &row) {
  const std::vector<std::string> needs = split(row.at("needs"), ':');
  if (needs.empty() || needs[0] != "http") {
    return nullptr;
  }
  const std::string directory = corpusDirectory() + "/" + needs[2];
  return std::make_unique<HttpServer>(
      [directory](const HttpRequest &request) {
        std::ifstream file(directory + request.path, std::ios::binary);
        return file ? HttpReply{200, {std::istreambuf_iterator<char>(file), {}}} : HttpReply{404};
      },
      static_cast<uint16_t>(std::stoul(needs[1])));
}

TEST_F(CorpusTest, EveryRowGetsItsVerdict) {
  const bool isolated = leaveNetwork();
  int skipped = 0;
  const std::vector<CorpusRow> rows = corpusTable("MANIFEST.tsv");
  EXPECT_FALSE(rows.empty());
  for (const CorpusRow &row : rows) {
    if (row.at("needs") == "offline" && !isolated) {
      ++skipped;
      continue;
    }
    const std::unique_ptr<HttpServer> server = serverFor(row);
    const std::string answer = CorpusRun(row).answer();
    const std::string &expected = row.at("expect");
    EXPECT_TRUE(isExpected(expected, answer))
        << row.at("id") << " " << row.at("file") << ": expected " << expected << ", got " << answer
        << " (" << row.at("note") << ")";
  }
  if (skipped > 0) {
    std::printf(
        "%d rows that presume an unreachable network were left out: it cannot be left here\n",
        skipped);
  }
}

}  // namespace
}  // namespace talvo::test
