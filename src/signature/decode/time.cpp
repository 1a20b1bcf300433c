#include "signature/decode/time.h"

#include <algorithm>
#include <string_view>

#include "base/handle.h"

namespace talvo {
namespace {

constexpr size_t kFieldsLength = 19;  // YYYY-MM-DDThh:mm:ss
constexpr std::string_view kPattern = "0000-00-00T00:00:00";
constexpr std::string_view kZonePattern = "00:00";
constexpr int32_t kNanosecondsInMillisecond = 1'000'000;

bool isDigit(char letter) noexcept {
  return letter >= '0' && letter <= '9';
}

// "0" in the pattern stands for a digit, anything else for itself.
bool fits(std::string_view text, std::string_view pattern) noexcept {
  return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(),
                    [](char letter, char expected) {
                      return expected == '0' ? isDigit(letter) : letter == expected;
                    });
}

// Digits only.
int32_t numberAt(std::string_view text, size_t from, size_t count) noexcept {
  int32_t number = 0;
  for (const char digit : text.substr(from, count)) {
    number = number * 10 + (digit - '0');
  }
  return number;
}

// Deliberate: the digits behind the point are milliseconds as they stand, at most three of them:
// ".5" is 5 ms, not 500.
int32_t nanosecondsOf(std::string_view digits) noexcept {
  return numberAt(digits, 0, 3) * kNanosecondsInMillisecond;
}

// "Z", "+hh:mm" or "-hh:mm" to minutes that lead to UTC; false for anything else.
bool readZone(std::string_view zone, int32_t *minutes) noexcept {
  if (zone == "Z") {
    *minutes = 0;
    return true;
  }
  if (zone.empty() || (zone[0] != '+' && zone[0] != '-') || !fits(zone.substr(1), kZonePattern)) {
    return false;
  }
  const int32_t offset = numberAt(zone, 1, 2) * 60 + numberAt(zone, 4, 2);
  *minutes = zone[0] == '+' ? -offset : offset;
  return true;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

talvo_time *decodedateTimeString(const char *text, size_t length) noexcept {
  if (text == nullptr || length <= kFieldsLength) {
    return nullptr;
  }
  const std::string_view fields(text, kFieldsLength);
  std::string_view rest(text + kFieldsLength, length - kFieldsLength);
  std::string_view fraction;
  // Deliberate: a point without digits is refused before "Z", and counts as no fraction before an
  // offset.
  if (rest == ".Z") {
    return nullptr;
  }
  if (rest.front() == '.') {
    const auto *end = std::find_if_not(rest.begin() + 1, rest.end(), isDigit);
    fraction = rest.substr(1, static_cast<size_t>(end - rest.begin()) - 1);
    rest.remove_prefix(fraction.size() + 1);
  }
  int32_t minutes = 0;
  if (!fits(fields, kPattern) || !readZone(rest, &minutes)) {
    return nullptr;
  }
  Time time(talvo_time_newutctime(numberAt(fields, 0, 4), numberAt(fields, 5, 2),
                                  numberAt(fields, 8, 2), numberAt(fields, 11, 2),
                                  numberAt(fields, 14, 2), numberAt(fields, 17, 2),
                                  nanosecondsOf(fraction)));
  return talvo_time_addminute(time.get(), minutes) ? time.release() : nullptr;
}
