#include "TimeConvert.h"

#include <algorithm>
#include <iomanip>
#include <limits>

#include "ErrorLogger.h"
#include "InifileChain.h"

namespace KzUtil {

// Built before, and destroyed after, every other static object of the library,
// whose constructors and destructors may convert times.
std::vector<TimeConvert::_LeapSecondEntryRec> TimeConvert::fLeapSecondTable
    __attribute__((init_priority(101)));

namespace {

// The n-th leap second's GPS second is the Unix midnight ending its day,
// minus the GPS epoch, plus n - 1.
const TimeConvert::_LeapSecondEntryRec kBuiltInLeapSeconds[] = {
    {46828800, 1},   {78364801, 2},   {109900802, 3},  {173059203, 4},
    {252028804, 5},  {315187205, 6},  {346723206, 7},  {393984007, 8},
    {425520008, 9},  {457056009, 10}, {504489610, 11}, {551750411, 12},
    {599184012, 13}, {820108813, 14}, {914803214, 15}, {1025136015, 16}};

std::string Strftime(const tm& t, const char* format, size_t size) {
  std::string text(size, '\0');
  text.resize(strftime(&text[0], size, format, &t));
  return text;
}

}  // namespace

bool TimeConvert::AppendBuiltInLeapSeconds() {
  fLeapSecondTable.insert(fLeapSecondTable.begin(), std::begin(kBuiltInLeapSeconds),
                          std::end(kBuiltInLeapSeconds));
  return true;
}

unsigned int TimeConvert::GetUnixTime() { return static_cast<unsigned int>(time(nullptr)); }

unsigned int TimeConvert::GetGPSTime() { return GetGPSTimeFromUnixTime(GetUnixTime()); }

std::string TimeConvert::GetISODate(const tm& t) { return Strftime(t, "%Y-%m-%d", 19); }

std::string TimeConvert::GetISOTime(const tm& t, bool seconds) {
  return Strftime(t, seconds ? "%H-%M-%S" : "%H-%M", 19);
}

std::string TimeConvert::GetFormattedFromTm(const tm* t, std::string format) {
  if (static_cast<unsigned int>(t->tm_mon) > 11)
    KZ_LOG(ErrorLogger::eWarning,
           "TimeConvert::GetFormattedFromTm() - invalid month number in time structure");
  if (format.empty()) format = "%a %b %d %H:%M:%S %Y";
  return Strftime(*t, format.c_str(), 39);
}

std::string TimeConvert::BrokenDown(unsigned int unix_time, bool leapSecond, std::string format) {
  const time_t seconds = unix_time;
  tm fields;
  gmtime_r(&seconds, &fields);
  if (leapSecond) fields.tm_sec = 60;
  return GetFormattedFromTm(&fields, std::move(format));
}

std::string TimeConvert::GetTimeStringFromUnixTime(unsigned int unix_time, std::string format) {
  return BrokenDown(unix_time, IsLeapBoundary(GetGPSTimeFromUnixTime(unix_time)),
                    std::move(format));
}

std::string TimeConvert::GetTimeStringFromGPSTime(unsigned int gps_time, std::string format) {
  return BrokenDown(GetUnixTimeFromGPSTime(gps_time), IsLeapBoundary(gps_time), std::move(format));
}

void TimeConvert::PrintLeapSecondTable(std::ostream& ostr) {
  ostr << "=== TimeConvert::PrintLeapSecondTable() ===" << std::endl;
  ostr << "    UTC      GPS(UTC)   nLeap" << std::endl;
  InitLeapSecondTable();
  for (const _LeapSecondEntryRec& entry : fLeapSecondTable)
    ostr << std::setw(10) << GetUnixTimeFromGPSTime(entry.fGPSTime) << std::setw(12)
         << entry.fGPSTime << std::setw(6) << entry.fNLeapSeconds << std::endl;
  ostr << "===========================================" << std::endl;
}

void TimeConvert::ReadLeapSecondTable(InifileChain& inifile) {
  InitLeapSecondTable();
  if (inifile.SpecifyGroup("LeapSeconds") != 0) {
    KZ_LOG(ErrorLogger::eWarning,
           "TimeConvert::ReadLeapSecondTable() - Section [LeapSeconds] not found !!!");
    return;
  }
  std::vector<_LeapSecondEntryRec> entries = ReadLeapSecondEntries(inifile);
  std::sort(entries.begin(), entries.end(), LeapSecondEntryLess);
  DropKnownLeapSeconds(entries);
  if (entries.empty()) {
    KZ_LOG(ErrorLogger::eWarning,
           "TimeConvert::ReadLeapSecondTable() - no usable entries found in leap second table!!!");
    return;
  }
  const bool one = entries.size() == 1;
  KZ_LOG(ErrorLogger::eInfo, "TimeConvert::ReadLeapSecondTable() - there "
                                 << (one ? "is" : "are") << " " << entries.size() << " "
                                 << (one ? "entry" : "entries")
                                 << " to be added to the leap second table");
  // One at a time: each conversion counts the leap seconds appended before it.
  for (_LeapSecondEntryRec entry : entries) {
    entry.fGPSTime = GetGPSTimeFromUnixTime(entry.fGPSTime);
    fLeapSecondTable.push_back(entry);
  }
}

std::vector<TimeConvert::_LeapSecondEntryRec> TimeConvert::ReadLeapSecondEntries(
    InifileChain& inifile) {
  std::vector<_LeapSecondEntryRec> entries;
  for (unsigned int n = 0;; ++n) {
    const std::string key = "leap" + std::to_string(n);
    int error = 0;
    // Copied: the line is cut into tokens further on.
    const std::string date = inifile.GetFirstString(key.c_str(), "", &error);
    if (error != 0) break;
    const int count = inifile.GetNextValue(&error);
    if (error != 0) break;
    tm fields{};
    if (strptime(date.c_str(), "%Y-%m-%d", &fields) == nullptr) {
      KZ_LOG(ErrorLogger::eError, "TimeConvert::ReadLeapSecondTable() - strptime() for entry '"
                                      << key << "' returned NULL, skipped!!!");
      continue;
    }
    const time_t midnight = timegm(&fields);
    // Leap seconds end June or December; GPS seconds start at their epoch and count in 32 bits.
    if ((fields.tm_mon != 0 && fields.tm_mon != 6) || fields.tm_mday != 1 ||
        midnight <= kGPS_EPOCH_UNIX_TIME || midnight > std::numeric_limits<unsigned int>::max()) {
      KZ_LOG(ErrorLogger::eError, "TimeConvert::ReadLeapSecondTable() - entry '"
                                      << key << "' contains illegal date, skipped!!!");
      continue;
    }
    entries.push_back({static_cast<unsigned int>(midnight), static_cast<unsigned int>(count)});
  }
  return entries;
}

void TimeConvert::DropKnownLeapSeconds(std::vector<_LeapSecondEntryRec>& entries) {
  const unsigned int limit = GetUnixTimeFromGPSTime(std::end(kBuiltInLeapSeconds)[-1].fGPSTime);
  std::vector<_LeapSecondEntryRec> kept;
  for (const _LeapSecondEntryRec& entry : entries) {
    const unsigned int unixTime = entry.fGPSTime - 1;  // 23:59:59 before the leap second
    const unsigned int gps = GetGPSTimeFromUnixTime(unixTime);
    if (unixTime <= limit && IsLeapBoundary(gps)) continue;
    // A contradiction is reported, and the entry is still appended.
    if (unixTime <= limit)
      KZ_LOG(ErrorLogger::eError, "TimeConvert::ReadLeapSecondTable() - an entry (UTC="
                                      << unixTime << ",GPS=" << gps
                                      << ") conflicts with present table!!!");
    kept.push_back(entry);
  }
  entries.swap(kept);
}

void TimeConvert::ReadLeapSecondTable(std::string filename) {
  if (filename.empty()) {
    KZ_LOG(ErrorLogger::eFatal,
           "TimeConvert::ReadLeapSecondTable() - no file name was specified!!!");
    return;
  }
  InifileChain inifile(filename.c_str());
  if (inifile.GetStatus() != 0) {
    KZ_LOG(ErrorLogger::eError, "TimeConvert::ReadLeapSecondTable() - could not read specified "
                                    << "ini-file '" << filename << "'!!!");
    return;
  }
  ReadLeapSecondTable(inifile);
}

}  // namespace KzUtil
