#include <array>
#include <ctime>

#include "base/handle.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class TimeTest : public MemoryTest {};

using Fields = std::array<int32_t, 7>;

Time newTime(const Fields &f) {
  return Time(talvo_time_newutctime(f[0], f[1], f[2], f[3], f[4], f[5], f[6]));
}

Fields fieldsOf(const Time &time) {
  const talvo_time *t = time.get();
  return {talvo_time_getyear(t),      talvo_time_getmonth(t),  talvo_time_getday(t),
          talvo_time_gethour(t),      talvo_time_getminute(t), talvo_time_getsecond(t),
          talvo_time_getnanosecond(t)};
}

TEST_F(TimeTest, RefusesFieldsOutsideTheCalendar) {
  struct Row {
    Fields fields;
    bool valid;
  };
  const Row rows[] = {
      {{0, 1, 1, 0, 0, 0, 0}, true},      {{9999, 12, 31, 23, 59, 59, 999999999}, true},
      {{2000, 2, 29, 0, 0, 0, 0}, true},  {{2024, 2, 29, 0, 0, 0, 0}, true},
      {{1900, 2, 29, 0, 0, 0, 0}, false}, {{2023, 2, 29, 0, 0, 0, 0}, false},
      {{2023, 4, 31, 0, 0, 0, 0}, false}, {{2023, 0, 1, 0, 0, 0, 0}, false},
      {{2023, 13, 1, 0, 0, 0, 0}, false}, {{2023, 1, 0, 0, 0, 0, 0}, false},
      {{2023, 1, 1, 24, 0, 0, 0}, false}, {{2023, 1, 1, 0, 60, 0, 0}, false},
      {{2023, 1, 1, 0, 0, 60, 0}, false}, {{2023, 1, 1, 0, 0, 0, 1000000000}, false},
      {{-1, 1, 1, 0, 0, 0, 0}, false},    {{10000, 1, 1, 0, 0, 0, 0}, false},
      {{2023, 1, 1, 0, 0, 0, -1}, false},
  };
  for (const Row &row : rows) {
    const Time time = newTime(row.fields);
    EXPECT_EQ(time != nullptr, row.valid)
        << row.fields[0] << "-" << row.fields[1] << "-" << row.fields[2];
    if (time) {
      EXPECT_EQ(fieldsOf(time), row.fields);
    }
  }
  EXPECT_EQ(fieldsOf(nullptr), (Fields{-1, -1, -1, -1, -1, -1, -1}));
}

TEST_F(TimeTest, MovesThroughTheWholeCalendarAsTheCLibraryDoes) {
  constexpr int32_t kStep = 1234567;  // minutes: somewhat more than two years
  const Time time = newTime({0, 1, 1, 0, 0, 7, 5});
  time_t expected = -62167219193;  // 0000-01-01T00:00:07Z
  int steps = 0;
  while (talvo_time_addminute(time.get(), kStep) == 1) {
    expected += time_t{kStep} * 60;
    std::tm utc{};
    gmtime_r(&expected, &utc);
    ASSERT_EQ(fieldsOf(time), (Fields{utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                                      utc.tm_min, 7, 5}));
    ++steps;
  }
  EXPECT_EQ(steps, 4260);
}

TEST_F(TimeTest, StaysWhereItIsWhenAMoveWouldLeaveTheCalendar) {
  struct Row {
    Fields from;
    int32_t minutes;
    Fields to;
  };
  const Row rows[] = {
      {{2023, 12, 31, 23, 59, 1, 2}, 1, {2024, 1, 1, 0, 0, 1, 2}},
      {{2024, 3, 1, 0, 0, 1, 2}, -1, {2024, 2, 29, 23, 59, 1, 2}},
      {{9999, 12, 31, 23, 59, 59, 0}, 1, {9999, 12, 31, 23, 59, 59, 0}},
      {{0, 1, 1, 0, 0, 0, 0}, -1, {0, 1, 1, 0, 0, 0, 0}},
      {{0, 1, 1, 0, 0, 0, 0}, INT32_MIN, {0, 1, 1, 0, 0, 0, 0}},
  };
  for (const Row &row : rows) {
    const Time time = newTime(row.from);
    EXPECT_EQ(talvo_time_addminute(time.get(), row.minutes), row.from == row.to ? 0 : 1);
    EXPECT_EQ(fieldsOf(time), row.to);
  }
}

TEST_F(TimeTest, NowIsTheClocks) {
  const std::time_t before = std::time(nullptr);
  const Time now(talvo_time_newnow());
  const std::time_t after = std::time(nullptr);
  const Fields f = fieldsOf(now);
  std::tm utc{};
  utc.tm_year = f[0] - 1900;
  utc.tm_mon = f[1] - 1;
  utc.tm_mday = f[2];
  utc.tm_hour = f[3];
  utc.tm_min = f[4];
  utc.tm_sec = f[5];
  // std::time may read a coarser clock, which is behind the exact one.
  EXPECT_GE(timegm(&utc), before - 1);
  EXPECT_LE(timegm(&utc), after + 1);
}

TEST_F(TimeTest, OrdersByTheFirstFieldThatDiffers) {
  const Fields base = {2023, 5, 5, 5, 5, 5, 5};
  const Time time = newTime(base);
  const Time copy(talvo_time_dup(time.get()));
  EXPECT_EQ(talvo_time_cmp(time.get(), copy.get()), 0);
  for (size_t i = 0; i < base.size(); ++i) {
    Fields later = base;
    later[i] += 1;
    for (size_t j = i + 1; j < base.size(); ++j) {
      later[j] -= 1;
    }
    EXPECT_EQ(talvo_time_cmp(time.get(), newTime(later).get()), -1) << i;
    EXPECT_EQ(talvo_time_cmp(newTime(later).get(), time.get()), 1) << i;
  }
  EXPECT_EQ(talvo_time_cmp(nullptr, time.get()), -1);
}

}  // namespace
}  // namespace talvo::test
