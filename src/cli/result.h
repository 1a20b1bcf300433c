// How the program's functions fail: with the exit status that the failure deserves and the message
// that the user shall read. Nothing is printed where it fails; the command prints it.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace talvo::cli {

enum class ExitStatus : int {
  done = 0,      // done, valid
  failed = 1,    // invalid; another failure
  badInput = 2,  // wrong usage, unreadable or bad input
  refused = 3,   // refused by policy
};

struct Failure {
  ExitStatus status = ExitStatus::badInput;
  std::string message;
};

inline Failure badInput(std::string message) {
  return {ExitStatus::badInput, std::move(message)};
}

inline Failure failed(std::string message) {
  return {ExitStatus::failed, std::move(message)};
}

// The outcome of something that gives no value: nothing, or the failure.
using Check = std::optional<Failure>;

// A value, or why there is none.
template <class T>
class Result {
 public:
  // Implicit on purpose: `return value;` and `return badInput("...");` are both the whole
  // statement.
  // NOLINTNEXTLINE(google-explicit-constructor)
  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  // NOLINTNEXTLINE(google-explicit-constructor)
  Result(Failure failure) : state_(std::in_place_index<1>, std::move(failure)) {}

  explicit operator bool() const { return state_.index() == 0; }
  T &operator*() { return *std::get_if<0>(&state_); }
  const T &operator*() const { return *std::get_if<0>(&state_); }
  T *operator->() { return std::get_if<0>(&state_); }
  const T *operator->() const { return std::get_if<0>(&state_); }
  const Failure &failure() const { return *std::get_if<1>(&state_); }

 private:
  std::variant<T, Failure> state_;
};

}  // namespace talvo::cli
