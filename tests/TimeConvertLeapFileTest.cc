// Leap seconds read from the "LeapSeconds" group of an ini file. The reference is
// the IERS list that tzdata installs, not the library's table; the shipped site
// file must give the same table.
#include <ctime>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "InifileChain.h"
#include "KzTestSupport.h"
#include "TimeConvert.h"

using namespace KzUtil;

namespace {

constexpr const char* kIersList = "/usr/share/zoneinfo/leap-seconds.list";
constexpr unsigned int kNTPToUnix = 2208988800u;  // 1900-01-01 to 1970-01-01
constexpr unsigned int kGPSEpoch = 315964800u;    // 1980-01-06 00:00:00 UTC
constexpr unsigned int kBuiltIn = 16;             // leap seconds up to 2012-06-30

struct Leap {
  unsigned int fMidnight;  // Unix time of the midnight after the leap second
  unsigned int fCount;     // GPS - UTC from then on
};

// The leap seconds since the GPS epoch in the IERS list (NTP seconds, TAI - UTC); empty
// when the list cannot be read.
std::vector<Leap> IersLeapSeconds() {
  std::ifstream list(kIersList);
  std::vector<Leap> leaps;
  for (std::string line; std::getline(list, line);) {
    std::istringstream fields(line);
    unsigned long long ntp = 0;
    int taiMinusUtc = 0;
    if (line[0] == '#' || !(fields >> ntp >> taiMinusUtc) || taiMinusUtc <= 19) continue;
    leaps.push_back({unsigned(ntp - kNTPToUnix), unsigned(taiMinusUtc - 19)});  // GPS = TAI - 19
  }
  return leaps;
}

std::string UTC(unsigned int unixTime, const char* format = "%F %T") {
  const time_t t = unixTime;
  tm fields;
  char text[64];
  strftime(text, sizeof(text), format, gmtime_r(&t, &fields));
  return text;
}

unsigned int UnixTime(const char* day) {
  tm fields{};
  strptime(day, "%Y-%m-%d", &fields);
  return unsigned(timegm(&fields));
}

// The GPS second of a leap second itself: it follows 23:59:59 of the day before.
unsigned int LeapGPS(const Leap& leap) { return leap.fMidnight - 1 - kGPSEpoch + leap.fCount; }

// The rows PrintLeapSecondTable gives for these leap seconds.
std::vector<std::string> ExpectedRows(const std::vector<Leap>& leaps) {
  std::vector<std::string> rows;
  for (const Leap& leap : leaps) {
    std::ostringstream row;
    row << std::setw(10) << leap.fMidnight - 1 << std::setw(12) << LeapGPS(leap) << std::setw(6)
        << leap.fCount;
    rows.push_back(row.str());
  }
  return rows;
}

std::vector<std::string> TableRows() {
  std::ostringstream out;
  TimeConvert::PrintLeapSecondTable(out);
  std::istringstream lines(out.str());
  std::vector<std::string> rows;
  for (std::string line; std::getline(lines, line);)
    if (!line.empty() && line[0] != '=' && line.find("nLeap") == std::string::npos)
      rows.push_back(line);
  return rows;
}

// What GetGPSTimeFromUnixTime answers for Unix second u: the true GPS second, except
// one above for the last second before a leap second (it names the leap second) and
// one below for the first count - 1 seconds after one (the count is looked up with
// the uncorrected time).
unsigned int ConvertedGPS(const std::vector<Leap>& leaps, unsigned int u) {
  unsigned int count = 0, since = 0;
  for (const Leap& leap : leaps) {
    if (u + 1 == leap.fMidnight) return LeapGPS(leap);
    if (leap.fMidnight <= u) {
      count = leap.fCount;
      since = u - leap.fMidnight;
    }
  }
  const unsigned int gps = u - kGPSEpoch + count;
  return count > 0 && since < count - 1 ? gps - 1 : gps;
}

const std::string kPrefix = "TimeConvert::ReadLeapSecondTable() - ";
const std::string kNoUsable = kPrefix + "no usable entries found in leap second table!!!\n";
const std::string kAddOne = kPrefix + "there is 1 entry to be added to the leap second table\n";
const std::string kAddTwo = kPrefix + "there are 2 entries to be added to the leap second table\n";
const std::string kRow17 = "1435708799  1119744016    17", kRow18 = "1483228799  1167264017    18";

class TimeConvertLeapFile : public KzTest::LoggedTest {
 protected:
  // Reads an ini file of this content through a chain; returns what was logged.
  std::string Read(const std::string& content) {
    InifileChain chain(fDir.Write("leaps.ini", content).c_str());
    TimeConvert::ReadLeapSecondTable(chain);
    return TakeLog();
  }
  // The table rows after the built-in ones.
  std::vector<std::string> Added() {
    const std::vector<std::string> rows = TableRows();
    return std::vector<std::string>(rows.begin() + kBuiltIn, rows.end());
  }

  KzTest::TempDir fDir;
};

using TimeConvertLeapFileData = TimeConvertLeapFile;
using Rows = std::vector<std::string>;

}  // namespace

TEST_F(TimeConvertLeapFileData, IersListGivesTheRightGPSSecondsThrough2030) {
  const std::vector<Leap> leaps = IersLeapSeconds();
  if (leaps.empty()) GTEST_SKIP() << kIersList << " is missing (install tzdata)";
  ASSERT_GE(leaps.size(), 18u);
  ASSERT_EQ(UTC(leaps[16].fMidnight, "%F"), "2015-07-01");
  ASSERT_EQ(UTC(leaps[17].fMidnight, "%F"), "2017-01-01");

  std::ostringstream group;
  group << "[LeapSeconds]\n";
  for (size_t n = 0; n < leaps.size(); ++n)
    group << "leap" << n << " = " << UTC(leaps[n].fMidnight, "%F") << " " << leaps[n].fCount
          << "   # from " << kIersList << "\n";
  std::ostringstream info;
  info << kPrefix << "there are " << leaps.size() - kBuiltIn
       << " entries to be added to the leap second table\n";
  EXPECT_EQ(Read(group.str()), info.str());  // the known ones vanish without a word
  EXPECT_EQ(TableRows(), ExpectedRows(leaps));

  for (const char* day : {"2015-07-01", "2017-01-01"})
    for (unsigned int u = UnixTime(day) - 5; u < UnixTime(day) + 25; ++u)
      EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(u), ConvertedGPS(leaps, u)) << UTC(u);
  for (unsigned int u = UnixTime("2012-07-01") + 3600; u < UnixTime("2031-01-01"); u += 86400 + 7)
    EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(u), ConvertedGPS(leaps, u)) << UTC(u);
  EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(UnixTime("2030-12-31")),
            UnixTime("2030-12-31") - kGPSEpoch + 18);
  // Back to Unix time: exact for every second but the leap seconds themselves.
  for (unsigned int u = UnixTime("2016-12-31") + 86390; u < UnixTime("2017-01-01") + 20; ++u)
    EXPECT_EQ(
        TimeConvert::GetUnixTimeFromGPSTime(u - kGPSEpoch + (u < leaps[17].fMidnight ? 17 : 18)),
        u);
  EXPECT_EQ(TimeConvert::GetTimeStringFromGPSTime(LeapGPS(leaps[17]), "%F %T"),
            "2016-12-31 23:59:60");
}

TEST_F(TimeConvertLeapFileData, ShippedSiteFileGivesTheSameTable) {
  const std::vector<Leap> leaps = IersLeapSeconds();
  if (leaps.empty()) GTEST_SKIP() << kIersList << " is missing (install tzdata)";
  TimeConvert::ReadLeapSecondTable(KzTest::SourcePath("etc/KzSite.ini"));
  EXPECT_EQ(TakeLog(), kAddTwo);
  EXPECT_EQ(TableRows(), ExpectedRows(leaps));
}

TEST_F(TimeConvertLeapFile, EntriesAreSortedAndAppendedAgainAtEveryRead) {
  const std::string entries = "[LeapSeconds]\nleap0 = 2017-01-01 18\nleap1 = 2015-07-01 17\n";
  EXPECT_EQ(Read(entries), kAddTwo);
  EXPECT_EQ(Added(), Rows({kRow17, kRow18}));  // each converted with the ones before it
  EXPECT_EQ(Read(entries), kAddTwo);           // newer than the built-in table: kept again
  EXPECT_EQ(Added(), Rows({kRow17, kRow18, kRow17, kRow18}));
}

TEST_F(TimeConvertLeapFile, BadDatesAreSkippedWithTheirKeys) {
  EXPECT_EQ(Read("[LeapSeconds]\n"
                 "leap0 = 2015-07-02 17\n"
                 "leap1 = July 17\n"
                 "leap2 = 2017-01-01 18\n"
                 "leap3 = 2015-07-01 17\n"
                 "leap4 = 2500-01-01 19\n"
                 "leap5 = 1972-07-01 1\n"),
            kPrefix + "entry 'leap0' contains illegal date, skipped!!!\n" + kPrefix +
                "strptime() for entry 'leap1' returned NULL, skipped!!!\n" + kPrefix +
                "entry 'leap4' contains illegal date, skipped!!!\n" + kPrefix +
                "entry 'leap5' contains illegal date, skipped!!!\n" + kAddTwo);
  EXPECT_EQ(Added(), Rows({kRow17, kRow18}));
}

TEST_F(TimeConvertLeapFile, ReadingStopsAtTheFirstGap) {
  EXPECT_EQ(Read("[LeapSeconds]\nleap0 = 2015-07-01 17\nleap2 = 2017-01-01 18\n"), kAddOne);
  // An entry without a count is a gap as well; a known leap second is dropped silently.
  EXPECT_EQ(Read("[LeapSeconds]\nleap0 = 2017-01-01\nleap1 = 2017-01-01 18\n"), kNoUsable);
  EXPECT_EQ(Read("[LeapSeconds]\nleap0 = 2012-07-01 16\n"), kNoUsable);
  EXPECT_EQ(Added(), Rows{kRow17});
}

TEST_F(TimeConvertLeapFile, AConflictingEntryIsReportedAndAppendedAllTheSame) {
  EXPECT_EQ(Read("[LeapSeconds]\nleap0 = 2010-01-01 15\n"),
            kPrefix + "an entry (UTC=1262303999,GPS=946339214) conflicts with present table!!!\n" +
                kAddOne);
  EXPECT_EQ(Added(), Rows{"1262304000   946339215    15"});  // not a leap second: no 23:59:60
}

TEST_F(TimeConvertLeapFile, WithoutTheGroupItOnlyWarns) {
  const std::string noGroup = kPrefix + "Section [LeapSeconds] not found !!!\n";
  EXPECT_EQ(Read("[Geometry]\nleap0 = 2015-07-01 17\n"), noGroup);
  TimeConvert::ReadLeapSecondTable("");
  EXPECT_EQ(TakeLog(), kPrefix + "no file name was specified!!!\n");
  TimeConvert::ReadLeapSecondTable(std::string("no-such-leap-file.ini"));
  const std::string log = TakeLog();
  EXPECT_NE(log.find("could not find no-such-leap-file.ini in any directory !!!\n"),
            std::string::npos);
  ASSERT_GE(log.size(), noGroup.size());
  EXPECT_EQ(log.substr(log.size() - noGroup.size()), noGroup);  // the last word
  EXPECT_EQ(Added(), Rows{});
}
