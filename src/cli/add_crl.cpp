// talvo-xml add-crl: adds certificate revocation lists to a signature.
#include "cli/algorithm.h"
#include "cli/extend.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

struct AddCrlOptions {
  ExtendOptions extend;
  std::vector<std::string> crls;
  bool references = false;
  std::string digest = "SHA-256";
  std::string id;
};

void declare(CLI::App &command, AddCrlOptions &options) {
  addRepeatable(command, "--crl", options.crls, "A revocation list (DER, PEM) to add", "FILE")
      ->required();
  command.add_flag("--refs", options.references,
                   "Add references instead, which name the lists by digest, issuer and time");
  command.add_option("--digest", options.digest, "Digest method of --refs")
      ->type_name("NAME")
      ->capture_default_str();
  command.add_option("--id", options.id, "The Id of the added values or references")
      ->type_name("ID");
  declareExtend(command, options.extend);
}

Check addOne(XmlNode *signature, const std::string &path, const AddCrlOptions &options,
             int32_t digest) {
  const Result<Octets> octets = readFile(path);
  if (!octets) {
    return octets.failure();
  }
  const Crl crl(talvo_crl_new(octets->data(), octets->size(), 0));
  if (crl == nullptr) {
    return badInput(fileLabel(path) + ": holds no revocation list");
  }
  const auto length = static_cast<int32_t>(octets->size());
  const int32_t added =
      options.references
          ? talvo_xml_signature_xades_add_completerevocationrefs_crl(
                signature, digest, TALVO_CRL_REF_IDENTIFIER, octets->data(), length)
          : talvo_xml_signature_xades_add_revocationvalues_crl(signature, octets->data(), length);
  return added == 1 ? Check() : failed(fileLabel(path) + ": cannot be added");
}

Check setId(XmlNode *signature, const AddCrlOptions &options) {
  if (options.id.empty()) {
    return std::nullopt;
  }
  const UString id = makeString(options.id);
  const int32_t set =
      options.references
          ? talvo_xml_signature_xades_set_completerevocationrefs_id(signature, id.get())
          : talvo_xml_signature_xades_set_revocationvalues_id(signature, id.get());
  return set == 1 ? Check() : failed("the Id cannot be set");
}

Check run(const AddCrlOptions &options) {
  const Result<int32_t> digest = digestByName(options.digest);
  if (!digest) {
    return digest.failure();
  }
  return extendSignature(options.extend, [&](XmlNode *signature) {
    for (const std::string &path : options.crls) {
      if (Check problem = addOne(signature, path, options, *digest)) {
        return problem;
      }
    }
    return setId(signature, options);
  });
}

}  // namespace

void addAddCrl(CLI::App &program, ExitStatus &status) {
  addCommand<AddCrlOptions>(program, status, "add-crl", "Add revocation lists to a signature",
                            declare, run);
}

}  // namespace talvo::cli
