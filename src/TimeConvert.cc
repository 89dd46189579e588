#include "TimeConvert.h"

#include <iomanip>

#include "ErrorLogger.h"

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

}  // namespace KzUtil
