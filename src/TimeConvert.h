// Conversions between GPS seconds (since 1980-01-06, no leap jumps) and Unix
// seconds across the leap-second table, and time formatting.
//   unsigned int gps = TimeConvert::GetGPSTimeFromUnixTime(time(nullptr));
//   std::string t = TimeConvert::GetTimeStringFromGPSTime(gps, "%H:%M:%S");  // 23:59:60 in a leap second
#ifndef KZUTIL_TIMECONVERT_H
#define KZUTIL_TIMECONVERT_H

#include <ctime>
#include <ostream>
#include <string>
#include <vector>

namespace KzUtil {

class TimeConvert {
 public:
  struct _LeapSecondEntryRec {
    unsigned int fGPSTime;       // GPS second of the inserted leap second
    unsigned int fNLeapSeconds;  // GPS - UTC from that second on
  };
  typedef _LeapSecondEntryRec LeapSecondEntryRec;
  typedef _LeapSecondEntryRec* LeapSecondEntry;

  static constexpr unsigned int kGPS_EPOCH_UNIX_TIME = 315964800;  // 1980-01-06 00:00:00 UTC

  // A leap second maps to the same Unix second as the GPS second before it.
  static unsigned int GetUnixTimeFromGPSTime(unsigned int gps_time) {
    return gps_time + kGPS_EPOCH_UNIX_TIME - GetLeapSeconds(gps_time);
  }
  // The last second before a leap second maps to the leap second itself.
  static unsigned int GetGPSTimeFromUnixTime(unsigned int unix_time) {
    const unsigned int g = unix_time - kGPS_EPOCH_UNIX_TIME;
    const unsigned int g2 = g + GetLeapSeconds(g);
    return IsLeapBoundary(g2 + 1) ? g2 + 1 : g2;
  }
  static unsigned int GetUnixTime();
  static unsigned int GetGPSTime();
  static std::string GetISODate(const tm& t);                    // 2024-03-05
  static std::string GetISOTime(const tm& t, bool seconds = true);  // 23-41-07 or 23-41
  // An empty format gives "%a %b %d %H:%M:%S %Y"; a leap second shows as second 60.
  static std::string GetTimeStringFromUnixTime(unsigned int unix_time, std::string format = "");
  static std::string GetTimeStringFromGPSTime(unsigned int gps_time, std::string format = "");
  static void PrintLeapSecondTable(std::ostream& ostr);

 private:
  // Leap seconds in force at GPS second gps; the table is scanned from its newest entry.
  static unsigned int GetLeapSeconds(unsigned int gps) {
    const std::vector<_LeapSecondEntryRec>& table = LeapSecondTable();
    for (auto entry = table.rbegin(); entry != table.rend(); ++entry)
      if (entry->fGPSTime <= gps) return entry->fNLeapSeconds;
    return 0;
  }
  static bool IsLeapBoundary(unsigned int gps) {
    const std::vector<_LeapSecondEntryRec>& table = LeapSecondTable();
    for (auto entry = table.rbegin(); entry != table.rend(); ++entry) {
      if (entry->fGPSTime < gps) return false;
      if (entry->fGPSTime == gps) return true;
    }
    return false;
  }
  // The table, with the built-in entries loaded once (thread-safe).
  static std::vector<_LeapSecondEntryRec>& LeapSecondTable() {
    [[maybe_unused]] static const bool is_initialized = InitLeapSecondTable();
    return fLeapSecondTable;
  }
  static bool InitLeapSecondTable();
  static bool LeapSecondEntryLess(const _LeapSecondEntryRec& a, const _LeapSecondEntryRec& b) {
    return a.fGPSTime < b.fGPSTime;
  }
  static std::string GetFormattedFromTm(const tm* t, std::string format);
  static std::string BrokenDown(unsigned int unix_time, bool leapSecond, std::string format);

  static std::vector<_LeapSecondEntryRec> fLeapSecondTable;  // ascending as built in; appended to
};

}  // namespace KzUtil

#endif
