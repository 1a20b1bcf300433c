// talvo-xml add-certs: adds certificates to a signature, so that it can be checked when they are
// nowhere else to be had.
#include "cli/algorithm.h"
#include "cli/credential.h"
#include "cli/extend.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

struct AddCertsOptions {
  ExtendOptions extend;
  std::vector<std::string> certificates;
  bool references = false;
  std::string digest = "SHA-256";
  std::string id;
};

void declare(CLI::App &command, AddCertsOptions &options) {
  addRepeatable(command, "--cert", options.certificates, "A certificate to add", "FILE")
      ->required();
  command.add_flag("--refs", options.references,
                   "Add references to the certificates above each given one instead (its file "
                   "holds them too), which name them by digest");
  command.add_option("--digest", options.digest, "Digest method of --refs")
      ->type_name("NAME")
      ->capture_default_str();
  command.add_option("--id", options.id, "The Id of the added values or references")
      ->type_name("ID");
  declareExtend(command, options.extend);
}

Check addValue(XmlNode *signature, const TalvoPKICert *certificate) {
  return talvo_xml_signature_xades_addcertificatevalues(signature, certificate) == 1
             ? Check()
             : failed("the certificate cannot be added");
}

Check addReferences(XmlNode *signature, const TalvoPKICert *certificate,
                    const AddCertsOptions &options) {
  const Result<int32_t> digest = digestByName(options.digest);
  if (!digest) {
    return digest.failure();
  }
  return talvo_xml_signature_xades_addcompletecertificaterefs(
             signature, makeOptional(options.id).get(), *digest, certificate, nullptr) == 1
             ? Check()
             : failed("the path of the certificate cannot be referred to");
}

Check addAll(XmlNode *signature, const AddCertsOptions &options) {
  for (const std::string &path : options.certificates) {
    const Result<Certificate> certificate = loadCertificate(path);
    if (!certificate) {
      return certificate.failure();
    }
    if (Check problem = options.references ? addReferences(signature, certificate->get(), options)
                                           : addValue(signature, certificate->get())) {
      return problem;
    }
  }
  if (!options.references && !options.id.empty() &&
      talvo_xml_signature_xades_set_certificatevalues_id(signature, makeString(options.id).get()) !=
          1) {
    return failed("the Id cannot be set");
  }
  return std::nullopt;
}

Check run(const AddCertsOptions &options) {
  return extendSignature(options.extend,
                         [&](XmlNode *signature) { return addAll(signature, options); });
}

}  // namespace

void addAddCerts(CLI::App &program, ExitStatus &status) {
  addCommand<AddCertsOptions>(program, status, "add-certs", "Add certificates to a signature",
                              declare, run);
}

}  // namespace talvo::cli
