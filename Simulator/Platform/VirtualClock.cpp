#include "VirtualClock.hpp"

namespace carvex::sim {

namespace {

constexpr std::int64_t kEpochDays = 19723;  // 2024-01-01 as days since 1970-01-01

// Civil date from days since 1970-01-01 (proleptic Gregorian calendar).
void CivilFromDays(std::int64_t days, int& year, unsigned& month, unsigned& day) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
  const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned monthIndex = (5 * dayOfYear + 2) / 153;
  day = dayOfYear - (153 * monthIndex + 2) / 5 + 1;
  month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
  year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
}

}  // namespace

EFI_TIME VirtualClock::Now() const {
  const std::uint64_t seconds = microseconds_ / 1000000;
  const auto days = static_cast<std::int64_t>(seconds / 86400) + kEpochDays;
  const std::uint64_t secondOfDay = seconds % 86400;
  int year;
  unsigned month;
  unsigned day;
  CivilFromDays(days, year, month, day);

  EFI_TIME time{};
  time.Year = static_cast<UINT16>(year);
  time.Month = static_cast<UINT8>(month);
  time.Day = static_cast<UINT8>(day);
  time.Hour = static_cast<UINT8>(secondOfDay / 3600);
  time.Minute = static_cast<UINT8>(secondOfDay / 60 % 60);
  time.Second = static_cast<UINT8>(secondOfDay % 60);
  time.Nanosecond = static_cast<UINT32>(microseconds_ % 1000000 * 1000);
  time.TimeZone = 0x07FF;  // EFI_UNSPECIFIED_TIMEZONE
  return time;
}

}  // namespace carvex::sim
