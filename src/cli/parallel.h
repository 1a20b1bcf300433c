// Work on many files: one after the other, or in several processes at once, with the results in the
// order of the files either way.
#pragma once

#include <cstddef>
#include <functional>

#include "cli/verify_file.h"

namespace talvo::cli {

using FileWork = std::function<FileVerdict(size_t index)>;
using VerdictSink = std::function<void(size_t index, const FileVerdict &verdict)>;

// Runs `work` for the indexes 0 to count - 1 in up to `processes` processes and hands each verdict
// to `sink`, in order and as soon as it can be. `lost` makes the verdict of a file whose process
// ended without one.
void runInOrder(size_t count, size_t processes, const FileWork &work, const FileWork &lost,
                const VerdictSink &sink);

}  // namespace talvo::cli
