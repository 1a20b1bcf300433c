// talvo-xml countersign: signs the value of a signature, inside that signature.
#include "cli/algorithm.h"
#include "cli/credential.h"
#include "cli/error_text.h"
#include "cli/extend.h"
#include "cli/json_object.h"
#include "cli/sign_context.h"
#include "cli/sign_parameters.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

struct CountersignOptions {
  ExtendOptions extend;
  SignerOptions signer;
  std::string parameters;
  std::string digest = "SHA-256";
  std::string method;
  std::string id;
};

void declare(CLI::App &command, CountersignOptions &options) {
  addSignerOptions(command, options.signer);
  CLI::Option *parameters =
      command
          .add_option("--params", options.parameters,
                      "A JSON document that says how to sign; a reference to the signature value "
                      "is added to its references")
          ->type_name("FILE.json");
  command.add_option("--method", options.method, "Signature method (default: as the key is)")
      ->type_name("NAME")
      ->excludes(parameters);
  command.add_option("--digest", options.digest, "Digest method of the reference")
      ->type_name("NAME")
      ->capture_default_str();
  command.add_option("--id", options.id, "The Id of the countersignature")->type_name("ID");
  declareExtend(command, options.extend);
}

Result<Json> makeParameters(const CountersignOptions &options, const Signer &signer) {
  if (!options.parameters.empty()) {
    return loadJson(options.parameters);
  }
  const Result<int32_t> method =
      options.method.empty() ? defaultMethod(signer.keyPair) : signatureByName(options.method);
  if (!method) {
    return method.failure();
  }
  JsonObject parameters;
  parameters.text("C14NAlgo", jsonName(TALVO_ALGORITHM_C14N, TALVO_C14N_10))
      .text("SignAlgo", jsonName(TALVO_ALGORITHM_SIGNATURE, *method));
  return Json(talvo_json_dup(parameters.json()));
}

Check countersign(XmlNode *signature, const CountersignOptions &options, const Signer &signer) {
  const Result<int32_t> digest = digestByName(options.digest);
  if (!digest) {
    return digest.failure();
  }
  const Result<Json> parameters = makeParameters(options, signer);
  if (!parameters) {
    return parameters.failure();
  }
  forbidNetwork(*parameters);
  const Key key(talvo_xml_signature_key_newcert(signer.certificate.get()));
  uint32_t error = 0;
  if (talvo_xml_signature_xades_countersign(signature, key.get(), *digest,
                                            makeOptional(options.id).get(), parameters->get(),
                                            nullptr, &error) != 1) {
    return failed("error " + std::to_string(error) + ": " + signErrorText(error));
  }
  return std::nullopt;
}

Check run(const CountersignOptions &options) {
  const Result<Signer> signer = loadSigner(options.signer);
  if (!signer) {
    return signer.failure();
  }
  return extendSignature(
      options.extend, [&](XmlNode *signature) { return countersign(signature, options, *signer); });
}

}  // namespace

void addCountersign(CLI::App &program, ExitStatus &status) {
  addCommand<CountersignOptions>(program, status, "countersign",
                                 "Sign the value of a signature, inside it", declare, run);
}

}  // namespace talvo::cli
