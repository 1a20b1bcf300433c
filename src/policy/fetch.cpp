// Files are taken by the place that they really are at: links and escapes are followed first, and
// what they lead to has to lie in the base folder.
#include "policy/fetch.h"

#include <array>
#include <filesystem>
#include <system_error>

#include "base/utf8.h"
#include "transform/reference/dereference.h"
#include "transform/reference/file.h"
#include "transform/reference/uri.h"
#include "transform/transform.h"

namespace talvo::policy {
namespace {

namespace fs = std::filesystem;

constexpr size_t kChunk = 65536;

FetchOutcome refused(Reason reason) {
  return {false, reason, 0};
}

FetchOutcome unavailable(uint32_t error) {
  return {false, Reason::referenceUnavailable, error};
}

FetchOutcome give(OctetSink &sink, Run &run, Bytes octets) {
  if (!run.fetch(octets.size())) {
    return refused(Reason::fetchLimit);
  }
  return sink.write(octets) ? FetchOutcome{true}
                            : unavailable(TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

FetchOutcome askResolver(OctetSink &sink, Run &run, const Reference &reference) {
  talvo_data_blob *octets = nullptr;
  const TalvoXmlPolicy &policy = run.policy();
  const bool isAnswered = policy.resolver(policy.resolverData, reference.uri.get(), &octets) == 1;
  const Blob owner(octets);
  return isAnswered && owner != nullptr ? give(sink, run, bytesOf(owner.get()))
                                        : unavailable(TALVO_VERIFY_ERROR_NOT_FOUND);
}

FetchOutcome askNetwork(OctetSink &sink, Run &run, const char *url) {
  if (!run.policy().network) {
    return refused(Reason::networkReference);
  }
  uint32_t error = 0;
  const TransformInput data(fetchhttp(url, &error));
  return data != nullptr && data->octets != nullptr ? give(sink, run, bytesOf(data->octets.get()))
                                                    : unavailable(TALVO_VERIFY_ERROR_NOT_FOUND);
}

bool isBelow(const fs::path &path, const fs::path &folder) {
  auto part = path.begin();
  for (const fs::path &step : folder) {
    if (step.empty()) {
      continue;  // behind a trailing separator
    }
    if (part == path.end() || *part != step) {
      return false;
    }
    ++part;
  }
  return true;
}

// The folder that files have to lie in; empty when it is not there.
fs::path baseFolder(const Run &run) {
  std::error_code error;
  const Utf8 given(run.basePath());
  if (!given) {
    return fs::canonical(fs::current_path(error), error);
  }
  const TextBuffer ofUrl(isFileUri(given.view()) ? getfilenameformurl(given.get()) : nullptr);
  const TextBuffer decoded(ofUrl != nullptr ? nullptr
                                            : simpleuridecode(given.get(), given.length()));
  const char *path = ofUrl != nullptr ? ofUrl.get() : decoded.get();
  return path == nullptr ? fs::path() : fs::canonical(path, error);
}

FetchOutcome readFile(OctetSink &sink, Run &run, const fs::path &path) {
  RegularFile file(path.c_str());
  if (!file) {
    return unavailable(TALVO_VERIFY_ERROR_NOT_FOUND);
  }
  if (file.size() > static_cast<uint64_t>(std::max<int64_t>(run.fetchable(), 0))) {
    return refused(Reason::fetchLimit);
  }
  std::array<uint8_t, kChunk> chunk;
  uint64_t rest = file.size();
  for (;;) {
    const int64_t count = file.read(chunk.data(), chunk.size());
    if (count == 0) {
      return {true};
    }
    // More than its size said: perhaps without end.
    if (count < 0 || static_cast<uint64_t>(count) > rest) {
      return unavailable(TALVO_VERIFY_ERROR_INVALID_REFERENCE);
    }
    rest -= static_cast<uint64_t>(count);
    const FetchOutcome outcome = give(sink, run, {chunk.data(), static_cast<size_t>(count)});
    if (!outcome.isDone) {
      return outcome;
    }
  }
}

// A path that leads nowhere is outside by what it says.
FetchOutcome askFile(OctetSink &sink, Run &run, const char *path) {
  const TalvoXmlPolicy &policy = run.policy();
  if (policy.files == Files::refuse) {
    return refused(Reason::fileReference);
  }
  if (policy.files == Files::any) {
    return readFile(sink, run, path);
  }
  std::error_code error;
  const fs::path folder = baseFolder(run);
  if (folder.empty()) {
    return unavailable(TALVO_VERIFY_ERROR_NOT_FOUND);
  }
  const fs::path real = fs::canonical(path, error);
  const fs::path place = error ? fs::weakly_canonical(path, error).lexically_normal() : real;
  if (!isBelow(place, folder)) {
    return refused(Reason::fileOutsideBase);
  }
  return real.empty() ? unavailable(TALVO_VERIFY_ERROR_NOT_FOUND) : readFile(sink, run, real);
}

FetchOutcome askBase(OctetSink &sink, Run &run, const Reference &reference, const char *uri) {
  const Reach reach{run.document(), reference.element, run.basePath(), 0};
  TextBuffer base;
  bool isOfDocument = false;
  uint32_t error = 0;
  if (!findBase(reach, &base, &isOfDocument, &error)) {
    return {false, Reason::referenceUnavailable, error};
  }
  if (isHttpUri(base.get())) {
    const TextBuffer url = joinUri(uri, base.get());
    const bool isPlain = url != nullptr && !hasFragment(url.get());
    return isPlain ? askNetwork(sink, run, url.get())
                   : unavailable(TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  // Without transforms the file is a stream of octets, for which a base of the document is decoded.
  if (!reference.transforms && isOfDocument) {
    base.reset(fileuri_a2utf8(base.get()));
  }
  const TextBuffer path = base == nullptr ? nullptr : filePathFrom(base.get(), uri);
  return path == nullptr ? unavailable(TALVO_VERIFY_ERROR_UNSUPPORTED_URI)
                         : askFile(sink, run, path.get());
}

}  // namespace

FetchOutcome fetchInto(OctetSink &sink, Run &run, const Reference &reference) {
  const Utf8 uri(reference.uri.get());
  constexpr size_t kLongestUri = 65536;
  if (run.policy().resolver != nullptr) {
    return askResolver(sink, run, reference);
  }
  if (!uri || uri.length() > kLongestUri || hasFragment(uri.view())) {
    return unavailable(TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  if (isHttpUri(uri.view())) {
    return askNetwork(sink, run, uri.get());
  }
  if (isAbsolute(uri.view())) {
    return unavailable(TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  return askBase(sink, run, reference, uri.get());
}

}  // namespace talvo::policy
