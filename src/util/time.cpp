// UTC times: days since 1970-01-01 and the nanosecond of the day would do to calculate, but callers
// ask for fields, so fields are kept, and the way through the day number is taken only to move a
// time.
#include <array>
#include <cassert>
#include <compare>
#include <ctime>

#include "base/memory.h"

struct talvo_time {
  int32_t year;
  int32_t month;
  int32_t day;
  int32_t hour;
  int32_t minute;
  int32_t second;
  int32_t nanosecond;

  // The members stand in order of weight, so that comparing them one by one orders times.
  auto operator<=>(const talvo_time &other) const noexcept = default;
};

namespace talvo::util {
namespace {

constexpr char kSource[] = "time";
constexpr int32_t kLastYear = 9999;
constexpr int64_t kMinutesPerDay = 24 * 60;
constexpr int64_t kSecondsPerDay = kMinutesPerDay * 60;

// The calendar repeats after 400 years of 146,097 days. Years are counted from March, so that the
// leap day is the last of its year and months have regular lengths: month m of such a year starts
// on day (153 * m + 2) / 5.
constexpr int64_t kDaysPerEra = 146097;
constexpr int64_t kYearsPerEra = 400;
constexpr int64_t kDaysBefore1970 = 719468;  // from 0000-03-01

struct Date {
  int32_t year;
  int32_t month;
  int32_t day;
};

constexpr int64_t floorDivide(int64_t dividend, int64_t divisor) noexcept {
  assert(divisor > 0);
  return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

constexpr int64_t daysFromDate(const Date &date) noexcept {
  const int64_t year = date.month <= 2 ? date.year - 1 : date.year;
  const int64_t era = floorDivide(year, kYearsPerEra);
  const int64_t yearOfEra = year - era * kYearsPerEra;
  const int64_t month = (date.month + 9) % 12;
  const int64_t dayOfYear = (153 * month + 2) / 5 + date.day - 1;
  const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * kDaysPerEra + dayOfEra - kDaysBefore1970;
}

constexpr Date dateFromDays(int64_t days) noexcept {
  const int64_t shifted = days + kDaysBefore1970;
  const int64_t era = floorDivide(shifted, kDaysPerEra);
  const int64_t dayOfEra = shifted - era * kDaysPerEra;
  assert(dayOfEra >= 0 && dayOfEra < kDaysPerEra);
  // Takes out the leap days: one each 1,460 days, but none at a century, yet one at the end of the
  // era.
  const int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (kDaysPerEra - 1)) / 365;
  const int64_t dayOfYear = dayOfEra - (yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100);
  const int64_t marchMonth = (5 * dayOfYear + 2) / 153;
  const int64_t day = dayOfYear - (153 * marchMonth + 2) / 5 + 1;
  const int64_t month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
  const int64_t year = era * kYearsPerEra + yearOfEra + (month <= 2 ? 1 : 0);
  return {static_cast<int32_t>(year), static_cast<int32_t>(month), static_cast<int32_t>(day)};
}

static_assert(daysFromDate({1970, 1, 1}) == 0);
static_assert(daysFromDate({2000, 2, 29}) == 11016);

constexpr bool isLeapYear(int32_t year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr int32_t daysOfMonth(int32_t year, int32_t month) noexcept {
  assert(month >= 1 && month <= 12);
  constexpr std::array<int32_t, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : kDays[static_cast<size_t>(month - 1)];
}

constexpr bool isIn(int32_t value, int32_t from, int32_t to) noexcept {
  return value >= from && value <= to;
}

constexpr bool isValid(const talvo_time &time) noexcept {
  return isIn(time.year, 0, kLastYear) && isIn(time.month, 1, 12) &&
         isIn(time.day, 1, daysOfMonth(time.year, time.month)) && isIn(time.hour, 0, 23) &&
         isIn(time.minute, 0, 59) && isIn(time.second, 0, 59) &&
         isIn(time.nanosecond, 0, 999'999'999);
}

int32_t field(const talvo_time *time, int32_t talvo_time::*member) noexcept {
  return time == nullptr ? -1 : time->*member;
}

}  // namespace
}  // namespace talvo::util

using namespace talvo;
using namespace talvo::util;

talvo_time *talvo_time_newutctime(int32_t year, int32_t month, int32_t day, int32_t hour,
                                  int32_t minute, int32_t second, int32_t nanosecond) noexcept {
  const talvo_time time{year, month, day, hour, minute, second, nanosecond};
  return isValid(time) ? make<talvo_time>(kSource, time).release() : nullptr;
}

talvo_time *talvo_time_newnow() noexcept {
  timespec now{};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
    return nullptr;
  }
  const int64_t days = floorDivide(now.tv_sec, kSecondsPerDay);
  const auto second = static_cast<int32_t>(now.tv_sec - days * kSecondsPerDay);
  const Date date = dateFromDays(days);
  return talvo_time_newutctime(date.year, date.month, date.day, second / 3600, second / 60 % 60,
                               second % 60, static_cast<int32_t>(now.tv_nsec));
}

talvo_time *talvo_time_dup(const talvo_time *time) noexcept {
  return time == nullptr ? nullptr : make<talvo_time>(kSource, *time).release();
}

void talvo_time_free(talvo_time *time) noexcept {
  destroy(time);
}

int32_t talvo_time_addminute(talvo_time *time, int32_t minutes) noexcept {
  if (time == nullptr) {
    return 0;
  }
  assert(isValid(*time));
  const int64_t total = daysFromDate({time->year, time->month, time->day}) * kMinutesPerDay +
                        time->hour * 60 + time->minute + int64_t{minutes};
  const int64_t days = floorDivide(total, kMinutesPerDay);
  const auto minute = static_cast<int32_t>(total - days * kMinutesPerDay);
  const Date date = dateFromDays(days);
  const talvo_time moved{date.year,   date.month,   date.day,        minute / 60,
                         minute % 60, time->second, time->nanosecond};
  if (!isValid(moved)) {
    return 0;
  }
  *time = moved;
  return 1;
}

int32_t talvo_time_getyear(const talvo_time *time) noexcept {
  return field(time, &talvo_time::year);
}
int32_t talvo_time_getmonth(const talvo_time *time) noexcept {
  return field(time, &talvo_time::month);
}
int32_t talvo_time_getday(const talvo_time *time) noexcept {
  return field(time, &talvo_time::day);
}
int32_t talvo_time_gethour(const talvo_time *time) noexcept {
  return field(time, &talvo_time::hour);
}
int32_t talvo_time_getminute(const talvo_time *time) noexcept {
  return field(time, &talvo_time::minute);
}
int32_t talvo_time_getsecond(const talvo_time *time) noexcept {
  return field(time, &talvo_time::second);
}
int32_t talvo_time_getnanosecond(const talvo_time *time) noexcept {
  return field(time, &talvo_time::nanosecond);
}

int32_t talvo_time_cmp(const talvo_time *first, const talvo_time *second) noexcept {
  if (first == nullptr || second == nullptr) {
    return (first != nullptr ? 1 : 0) - (second != nullptr ? 1 : 0);
  }
  const std::strong_ordering order = *first <=> *second;
  return order < 0 ? -1 : (order > 0 ? 1 : 0);
}
