// The edge between C callers and C++ inside: the only catch blocks of the project. What runs below
// may allocate through std, so std::bad_alloc can reach an exported function and must end there.
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

namespace talvo {

// Writes a code into the caller's error word and answers 0.
inline int32_t fail(uint32_t *error, uint32_t code) noexcept {
  if (error != nullptr) {
    *error = code;
  }
  return 0;
}

// The same inside, where the answer is a bool.
inline bool refuse(uint32_t *error, uint32_t code) noexcept {
  fail(error, code);
  return false;
}

// The same where the answer is a handle.
inline std::nullptr_t failNull(uint32_t *error, uint32_t code) noexcept {
  fail(error, code);
  return nullptr;
}

// Runs the body; anything thrown becomes `failure`.
template <class Result, class Body>
Result guardOr(Result failure, Body &&body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return failure;
  }
}

// Null for handles, 0 for numbers.
template <class Body>
auto guard(Body &&body) noexcept {
  using Result = std::invoke_result_t<Body>;
  return guardOr<Result>(Result{}, std::forward<Body>(body));
}

// For functions with an error word: without one the answer is 0 at once, and exhausted memory is
// `outOfMemory`.
template <class Body>
auto guardWithError(uint32_t *error, uint32_t outOfMemory, Body &&body) noexcept {
  using Result = std::invoke_result_t<Body>;
  if (error == nullptr) {
    return Result{};
  }
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    fail(error, outOfMemory);
    return Result{};
  }
}

}  // namespace talvo
