// talvo-xml sign: a new signature in a document, around one, or beside what it signs.
#include "cli/algorithm.h"
#include "cli/base_path.h"
#include "cli/command.h"
#include "cli/error_text.h"
#include "cli/placement.h"
#include "cli/sign_context.h"
#include "cli/sign_options.h"
#include "cli/sign_parameters.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

void declarePlace(CLI::App &command, SignOptions &options) {
  CLI::Option *enveloping = command.add_flag("--enveloping", options.enveloping,
                                             "Put the document into an Object of the signature");
  command.add_option("--object-id", options.objectId, "The Id of the Object of --enveloping")
      ->type_name("ID")
      ->capture_default_str();
  CLI::Option *at =
      command.add_option("--at", options.at, "Stand in the element with this identifier")
          ->type_name("ID")
          ->excludes(enveloping);
  command.add_option("--into", options.into, "Stand in the element that this selects")
      ->type_name("XPATH")
      ->excludes(enveloping)
      ->excludes(at);
}

void declareMethods(CLI::App &command, SignOptions &options, CLI::Option *parameters) {
  command.add_option("--id", options.signatureId, "The Id of the Signature")->type_name("ID");
  command
      .add_option("--signature-value-id", options.signatureValueId,
                  "The Id of the SignatureValue, by which it can be countersigned")
      ->type_name("ID");
  command.add_option("--c14n", options.c14n, "Canonicalisation of SignedInfo: " + c14nModeNames())
      ->type_name("NAME")
      ->capture_default_str();
  command
      .add_option("--prefixes", options.prefixes,
                  "Inclusive namespace prefixes of an exclusive --c14n, separated by blanks or "
                  "commas")
      ->type_name("LIST");
  command.add_option("--digest", options.digest, "Digest method")
      ->type_name("NAME")
      ->capture_default_str();
  command
      .add_option("--method", options.method,
                  "Signature method (default: RSA-SHA256, ECDSA-SHA256, DSA-SHA1 or SM2-SM3, as "
                  "the key is)")
      ->type_name("NAME");
  command
      .add_option("--include-certs", options.includeCertificates,
                  "Certificates in KeyInfo: none, self, path, path-with-root")
      ->type_name("WHICH")
      ->check(CLI::IsMember({"none", "self", "path", "path-with-root"}))
      ->capture_default_str();
  for (const char *name : {"--id", "--signature-value-id", "--c14n", "--prefixes", "--digest",
                           "--method", "--include-certs"}) {
    command.get_option(name)->excludes(parameters);
  }
}

void declareContent(CLI::App &command, SignOptions &options, CLI::Option *parameters) {
  addRepeatable(command, "--reference", options.references,
                "What is signed instead of the whole document: #ID, or a file; \"\" is the whole "
                "document",
                "URI")
      ->excludes(parameters);
  addRepeatable(command, "--detached", options.detached,
                "Sign this file, in a document of the signature alone; no IN then", "URI")
      ->excludes(parameters);
  command
      .add_flag("--manifest", options.manifest,
                "List the references in a Manifest, and sign the Manifest")
      ->excludes(parameters);
  command.add_flag("--signing-time", options.signingTime, "XAdES: the time of signing")
      ->excludes(parameters);
  command
      .add_flag("--signing-certificate", options.signingCertificate,
                "XAdES: the digest of the signer's certificate")
      ->excludes(parameters);
  command
      .add_option("--production-place", options.productionPlace,
                  "XAdES: the place of signing; parts may be empty")
      ->type_name("CITY,STATE,POSTALCODE,COUNTRY")
      ->excludes(parameters);
  command.add_flag("--policy-implied", options.policyImplied, "XAdES: a policy is implied")
      ->excludes(parameters);
}

void declare(CLI::App &command, SignOptions &options) {
  addSignerOptions(command, options.signer);
  CLI::Option *parameters =
      command
          .add_option("--params", options.parameters,
                      "A JSON document that says what is signed and how, instead of options")
          ->type_name("FILE.json");
  declarePlace(command, options);
  declareContent(command, options, parameters);
  declareMethods(command, options, parameters);
  addBasePath(command, options.basePath);
  addIdAttribute(command, options.idAttribute);
  addOutput(command, options.output);
  addInput(command, options.input)->required(false);
}

Check checkUsage(const SignOptions &options) {
  if (options.isDetached() && options.detached.empty() && options.parameters.empty()) {
    return badInput("name the document to sign, or files with --detached");
  }
  if (!options.isDetached() && !options.detached.empty()) {
    return badInput("--detached takes no document: its signature stands alone");
  }
  if (options.isDetached() && (options.enveloping || !options.at.empty() || !options.into.empty() ||
                               !options.references.empty())) {
    return badInput("--enveloping, --at, --into and --reference need a document");
  }
  return std::nullopt;
}

// The document that holds the new signature, ready to be written.
Result<LoadedDocument> signWithOptions(const SignOptions &options, const Signer &signer,
                                       Placement &placement) {
  const Result<SignRequest> request = makeRequest(options, signer, placement);
  if (!request) {
    return request.failure();
  }
  const Key key(talvo_xml_signature_key_newcert(signer.certificate.get()));
  XmlNode *signature = nullptr;
  uint32_t error = 0;
  if (talvo_xml_signature_signex(
          placement.isEnveloped() ? placement.loaded.document.get() : nullptr, placement.parent,
          nullptr, makeOptional(options.signatureId).get(), request->signedInfo.get(),
          request->objects.get(), key.get(), signer.keyPair.get(), 0, nullptr,
          placement.basePath.get(), &signature, &error) != 1) {
    return failed("error " + std::to_string(error) + ": " + signErrorText(error));
  }
  if (placement.isEnveloped()) {
    return std::move(placement.loaded);
  }
  return LoadedDocument{Document(talvo_xml_node_getdoc(signature)), true};
}

Check run(const SignOptions &options) {
  if (Check problem = checkUsage(options)) {
    return problem;
  }
  const Result<Signer> signer = loadSigner(options.signer);
  if (!signer) {
    return signer.failure();
  }
  Result<Placement> placement = place(options);
  if (!placement) {
    return placement.failure();
  }
  const Result<LoadedDocument> result = options.parameters.empty()
                                            ? signWithOptions(options, *signer, *placement)
                                            : signWithParameters(options, *signer, *placement);
  return result ? writeDocument(options.output, *result) : result.failure();
}

}  // namespace

void addSign(CLI::App &program, ExitStatus &status) {
  addCommand<SignOptions>(program, status, "sign", "Sign a document", declare, run);
}

}  // namespace talvo::cli
