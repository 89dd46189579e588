// Conversions between GPS seconds (since 1980-01-06, no leap jumps) and Unix
// seconds across the leap-second table, and time formatting; a leap second
// itself shows as second 60 ("23:59:60").
//   unsigned int gps = TimeConvert::GetGPSTimeFromUnixTime(time(nullptr));
//   std::string t = TimeConvert::GetTimeStringFromGPSTime(gps, "%H:%M:%S");
#ifndef KZUTIL_TIMECONVERT_H
#define KZUTIL_TIMECONVERT_H

#include <ctime>
#include <ostream>
#include <string>
#include <vector>

namespace KzUtil {

class InifileChain;

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
    InitLeapSecondTable();
    return gps_time + kGPS_EPOCH_UNIX_TIME - ScanLeapSeconds(gps_time);
  }
  // The last second before a leap second maps to the leap second itself.
  static unsigned int GetGPSTimeFromUnixTime(unsigned int unix_time) {
    InitLeapSecondTable();
    const unsigned int g = unix_time - kGPS_EPOCH_UNIX_TIME;
    // Looked up with g, not a GPS time: off by one for n - 1 seconds after the n-th leap.
    const unsigned int g2 = g + ScanLeapSeconds(g);
    return ScanLeapBoundary(g2 + 1) ? g2 + 1 : g2;
  }
  static unsigned int GetUnixTime();
  static unsigned int GetGPSTime();
  static std::string GetISODate(const tm& t);                       // 2024-03-05
  static std::string GetISOTime(const tm& t, bool seconds = true);  // 23-41-07 or 23-41
  // An empty format gives "%a %b %d %H:%M:%S %Y"; a leap second shows as second 60.
  static std::string GetTimeStringFromUnixTime(unsigned int unix_time, std::string format = "");
  static std::string GetTimeStringFromGPSTime(unsigned int gps_time, std::string format = "");
  static void PrintLeapSecondTable(std::ostream& ostr);
  // Appends the leap seconds of group "LeapSeconds" ("leapN = YYYY-MM-DD count", N from 0
  // without gaps) that the table does not hold yet; the date is the day after the leap.
  static void ReadLeapSecondTable(InifileChain& inifile);
  // The same from the ini file filename, located along the ini search path.
  static void ReadLeapSecondTable(std::string filename);

 private:
  friend struct TimeConvertTestAccess;  // the unit tests reach the private helpers

  // Leap seconds in force at GPS second gps.
  static unsigned int GetLeapSeconds(unsigned int gps) {
    InitLeapSecondTable();
    return ScanLeapSeconds(gps);
  }
  // Whether gps is the GPS second of an inserted leap second.
  static bool IsLeapBoundary(unsigned int gps) {
    InitLeapSecondTable();
    return ScanLeapBoundary(gps);
  }
  // The scans of the two above on a loaded table, from its newest entry:
  // recent times are decided by the first comparison.
  static unsigned int ScanLeapSeconds(unsigned int gps) {
    for (auto entry = fLeapSecondTable.rbegin(); entry != fLeapSecondTable.rend(); ++entry)
      if (entry->fGPSTime <= gps) return entry->fNLeapSeconds;
    return 0;
  }
  static bool ScanLeapBoundary(unsigned int gps) {
    for (auto entry = fLeapSecondTable.rbegin(); entry != fLeapSecondTable.rend(); ++entry) {
      if (entry->fGPSTime < gps) return false;
      if (entry->fGPSTime == gps) return true;
    }
    return false;
  }
  // Loads the built-in entries once per process; safe when several threads convert at once.
  static void InitLeapSecondTable() {
    [[maybe_unused]] static const bool is_initialized = AppendBuiltInLeapSeconds();
  }
  static bool AppendBuiltInLeapSeconds();
  // The dated entries of the selected "LeapSeconds" group; fGPSTime holds the Unix midnight.
  static std::vector<_LeapSecondEntryRec> ReadLeapSecondEntries(InifileChain& inifile);
  // Of the entries up to the last built-in leap second, drops those the table holds and
  // reports the others, which stay.
  static void DropKnownLeapSeconds(std::vector<_LeapSecondEntryRec>& entries);
  static bool LeapSecondEntryLess(const _LeapSecondEntryRec& a, const _LeapSecondEntryRec& b) {
    return a.fGPSTime < b.fGPSTime;
  }
  static std::string GetFormattedFromTm(const tm* t, std::string format);
  static std::string BrokenDown(unsigned int unix_time, bool leapSecond, std::string format);

  static std::vector<_LeapSecondEntryRec> fLeapSecondTable;  // ascending as built in; appended to
};

}  // namespace KzUtil

#endif
