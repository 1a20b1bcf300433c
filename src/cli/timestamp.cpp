// talvo-xml timestamp: adds a time-stamp of an authority to a signature.
#include "cli/algorithm.h"
#include "cli/error_text.h"
#include "cli/extend.h"
#include "cli/prefixes.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

struct TimestampOptions {
  ExtendOptions extend;
  std::string tsa;
  std::string digest = "SHA-256";
  std::string c14n;
  std::string prefixes;
  std::string id;
};

void declare(CLI::App &command, TimestampOptions &options) {
  command.add_option("--tsa", options.tsa, "The authority: an http or https address")
      ->required()
      ->type_name("URL");
  command.add_option("--digest", options.digest, "Digest method of what is stamped")
      ->type_name("NAME")
      ->capture_default_str();
  command
      .add_option(
          "--c14n", options.c14n,
          "Canonicalisation of what is stamped, when it shall be written down: " + c14nModeNames())
      ->type_name("NAME");
  command
      .add_option("--prefixes", options.prefixes,
                  "Inclusive namespace prefixes of an exclusive --c14n")
      ->type_name("LIST");
  command.add_option("--id", options.id, "The Id of the time-stamp")->type_name("ID");
  declareExtend(command, options.extend);
}

struct StampMethods {
  int32_t c14n = -1;  // none is written
  List prefixes;
  int32_t digest = 0;
};

Result<StampMethods> readMethods(const TimestampOptions &options) {
  StampMethods methods;
  const Result<int32_t> digest = digestByName(options.digest);
  if (!digest) {
    return digest.failure();
  }
  methods.digest = *digest;
  Result<List> prefixes = parsePrefixes(options.prefixes);
  if (!prefixes) {
    return prefixes.failure();
  }
  methods.prefixes = std::move(*prefixes);
  if (!options.c14n.empty()) {
    const Result<uint32_t> c14n = c14nModeByName(options.c14n);
    if (!c14n) {
      return c14n.failure();
    }
    methods.c14n = static_cast<int32_t>(*c14n);
  }
  const bool exclusive = methods.c14n > 0 && isExclusive(static_cast<uint32_t>(methods.c14n));
  if (exclusive != (methods.prefixes != nullptr)) {
    return badInput("--prefixes and an exclusive --c14n go together: neither works alone");
  }
  return methods;
}

Check run(const TimestampOptions &options) {
  const Result<StampMethods> methods = readMethods(options);
  if (!methods) {
    return methods.failure();
  }
  return extendSignature(options.extend, [&](XmlNode *signature) -> Check {
    uint32_t error = 0;
    if (talvo_xml_signature_xades_addsignaturetimestamp(
            signature, makeOptional(options.id).get(), methods->c14n, methods->prefixes.get(),
            makeString(options.tsa).get(), methods->digest, nullptr, &error) != 1) {
      return failed("error " + std::to_string(error) + ": " + signErrorText(error));
    }
    return std::nullopt;
  });
}

}  // namespace

void addTimestamp(CLI::App &program, ExitStatus &status) {
  addCommand<TimestampOptions>(program, status, "timestamp", "Add a time-stamp to a signature",
                               declare, run);
}

}  // namespace talvo::cli
