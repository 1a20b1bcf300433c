#include "signature/decode/time.h"

#include <cstdio>
#include <string>

#include "base/handle.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class DateTimeTest : public MemoryTest {};

// "YYYY-MM-DDThh:mm:ss.ns", or "null".
std::string decoded(const std::string &text) {
  const Time time(decodedateTimeString(text.data(), text.size()));
  if (!time) {
    return "null";
  }
  char written[64];
  std::snprintf(written, sizeof written, "%04d-%02d-%02dT%02d:%02d:%02d.%d",
                talvo_time_getyear(time.get()), talvo_time_getmonth(time.get()),
                talvo_time_getday(time.get()), talvo_time_gethour(time.get()),
                talvo_time_getminute(time.get()), talvo_time_getsecond(time.get()),
                talvo_time_getnanosecond(time.get()));
  return written;
}

TEST_F(DateTimeTest, ReadsTimesWithAZone) {
  struct Row {
    const char *text;
    const char *expected;
  };
  const Row rows[] = {
      {"2024-01-02T03:04:05Z", "2024-01-02T03:04:05.0"},
      {"2024-01-02T03:04:05+08:00", "2024-01-01T19:04:05.0"},
      {"2024-01-02T03:04:05-01:30", "2024-01-02T04:34:05.0"},
      {"2024-02-29T23:59:59-23:59", "2024-03-01T23:58:59.0"},
      {"2024-01-02T03:04:05.5+08:00", "2024-01-01T19:04:05.5000000"},
      {"2024-01-02T03:04:05.1234-00:01", "2024-01-02T03:05:05.123000000"},
      // without a zone, or with half of one
      {"2024-01-02T03:04:05", "null"},
      {"2024-01-02T03:04:05.5", "null"},
      {"2024-01-02T03:04:05.1234567", "null"},
      {"2024-01-02T03:04:05+", "null"},
      {"2024-01-02T03:04:05+08", "null"},
      {"2024-01-02T03:04:05+0800", "null"},
      {"2024-01-02T03:04:05+08:0", "null"},
      {"2024-01-02T03:04:05+08:000", "null"},
      {"2024-01-02T03:04:05+8 :00", "null"},
      {"2024-01-02T03:04:05z", "null"},
      {"2024-01-02T03:04:05Z ", "null"},
      {"2024-01-02T03:04:05Z+08:00", "null"},
      // other forms
      {"", "null"},
      {"2024-01-02 03:04:05Z", "null"},
      {"-024-01-02T03:04:05Z", "null"},
      {"12024-01-02T03:04:05Z", "null"},
      {"2024-1-002T03:04:05Z", "null"},
      {" 2024-01-02T03:04:05Z", "null"},
      // fields that the calendar does not have
      {"2024-13-02T03:04:05Z", "null"},
      {"2023-02-29T03:04:05Z", "null"},
      {"2024-01-02T24:00:00Z", "null"},
      {"2024-01-02T03:04:60Z", "null"},
      {"9999-12-31T23:59:59-00:01", "null"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(decoded(row.text), row.expected) << row.text;
  }
  EXPECT_EQ(decodedateTimeString(nullptr, 0), nullptr);
}

TEST_F(DateTimeTest, CountsFractionDigitsAsMilliseconds) {
  EXPECT_EQ(decoded("2024-01-02T03:04:05.5Z"), "2024-01-02T03:04:05.5000000");
  EXPECT_EQ(decoded("2024-01-02T03:04:05.50Z"), "2024-01-02T03:04:05.50000000");
  EXPECT_EQ(decoded("2024-01-02T03:04:05.123456Z"), "2024-01-02T03:04:05.123000000");
}

TEST_F(DateTimeTest, RefusesAPointWithoutDigitsOnlyBeforeZ) {
  EXPECT_EQ(decoded("2024-01-02T03:04:05.Z"), "null");
  EXPECT_EQ(decoded("2024-01-02T03:04:05.+00:00"), "2024-01-02T03:04:05.0");
}

TEST_F(DateTimeTest, ReadsNotBeyondTheLength) {
  const std::string text = "2024-01-02T03:04:05Z999";
  const Time time(decodedateTimeString(text.data(), 20));
  EXPECT_NE(time, nullptr);
}

}  // namespace
}  // namespace talvo::test
