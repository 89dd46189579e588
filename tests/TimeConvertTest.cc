// GPS <-> Unix conversion around every built-in leap second, second 60, time
// formatting and the leap-second table print-out. The expectations come from
// the days that ended in a leap second and the definition of GPS time, not
// from the library's table.
#include "TimeConvert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "KzTestSupport.h"

using KzUtil::TimeConvert;

namespace KzUtil {

struct TimeConvertTestAccess {
  static std::string Format(const tm& t, const std::string& format) {
    return TimeConvert::GetFormattedFromTm(&t, format);
  }
};

}  // namespace KzUtil

namespace {

// UTC days whose last minute had a 61st second.
const char* const kLeapDays[] = {"1981-06-30", "1982-06-30", "1983-06-30", "1985-06-30",
                                 "1987-12-31", "1989-12-31", "1990-12-31", "1992-06-30",
                                 "1993-06-30", "1994-06-30", "1995-12-31", "1997-06-30",
                                 "1998-12-31", "2005-12-31", "2008-12-31", "2012-06-30"};
constexpr unsigned int kBuiltIn = sizeof(kLeapDays) / sizeof(kLeapDays[0]);

unsigned int UnixMidnight(const char* day) {
  tm t{};
  strptime(day, "%Y-%m-%d", &t);
  return static_cast<unsigned int>(timegm(&t));
}

const unsigned int kGPSEpoch = UnixMidnight("1980-01-06");

struct LeapSecond {
  unsigned int fN;         // 1 for the first
  std::string fDay;        // the day it ended
  unsigned int fMidnight;  // Unix time of the midnight after it
  unsigned int fGPS;       // GPS second of the leap second itself
};

// GPS counts every elapsed second: before the n-th leap second GPS runs n - 1
// seconds ahead of Unix time, and the leap second is the one after 23:59:59.
std::vector<LeapSecond> LeapSeconds() {
  std::vector<LeapSecond> leaps;
  for (unsigned int n = 1; n <= kBuiltIn; ++n) {
    const unsigned int midnight = UnixMidnight(kLeapDays[n - 1]) + 86400;
    leaps.push_back({n, kLeapDays[n - 1], midnight, (midnight - 1) - kGPSEpoch + (n - 1) + 1});
  }
  return leaps;
}

}  // namespace

// The kept mapping from Unix time: 23:59:59 gives the leap second's own GPS
// second, and the first n - 1 seconds after the n-th leap second come out one low.
TEST(TimeConvert, BothConversionsAroundEveryLeapSecond) {
  for (const LeapSecond& leap : LeapSeconds()) {
    SCOPED_TRACE(leap.fDay);
    EXPECT_EQ(TimeConvert::GetUnixTimeFromGPSTime(leap.fGPS - 1), leap.fMidnight - 1);
    EXPECT_EQ(TimeConvert::GetUnixTimeFromGPSTime(leap.fGPS), leap.fMidnight - 1);
    EXPECT_EQ(TimeConvert::GetUnixTimeFromGPSTime(leap.fGPS + 1), leap.fMidnight);
    EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(leap.fMidnight - 2), leap.fGPS - 2);
    EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(leap.fMidnight - 1), leap.fGPS);
    for (unsigned int k = 0; k <= leap.fN; ++k) {
      const unsigned int trueGPS = leap.fGPS + 1 + k;
      EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(leap.fMidnight + k),
                k + 1 < leap.fN ? trueGPS - 1 : trueGPS)
          << "second " << k << " after midnight";
    }
  }
}

// A few values worked out by hand, as a check on the rule the other cases follow.
TEST(TimeConvert, KnownValuesAroundTheFirstAndLastLeapSecond) {
  EXPECT_EQ(TimeConvert::GetUnixTimeFromGPSTime(46828800), 362793599u);
  EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(1341100800), 1025136015u);
  EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(1341100814), 1025136029u);
  EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(1341100815), 1025136031u);
}

TEST(TimeConvert, LeapSecondShowsAsSecond60) {
  const char* kFormat = "%Y-%m-%d %H:%M:%S";
  for (const LeapSecond& leap : LeapSeconds()) {
    SCOPED_TRACE(leap.fDay);
    EXPECT_EQ(TimeConvert::GetTimeStringFromGPSTime(leap.fGPS - 1, kFormat),
              leap.fDay + " 23:59:59");
    EXPECT_EQ(TimeConvert::GetTimeStringFromGPSTime(leap.fGPS, kFormat), leap.fDay + " 23:59:60");
    EXPECT_EQ(TimeConvert::GetTimeStringFromGPSTime(leap.fGPS + 1, "%H:%M:%S"), "00:00:00");
    EXPECT_EQ(TimeConvert::GetTimeStringFromUnixTime(leap.fMidnight - 2, kFormat),
              leap.fDay + " 23:59:58");
    // 23:59:59 maps to the leap second, so it is shown as second 60 too.
    EXPECT_EQ(TimeConvert::GetTimeStringFromUnixTime(leap.fMidnight - 1, kFormat),
              leap.fDay + " 23:59:60");
  }
}

TEST(TimeConvert, EmptyFormatGivesTheDefaultLayout) {
  EXPECT_EQ(TimeConvert::GetTimeStringFromUnixTime(0, ""), "Thu Jan 01 00:00:00 1970");
  EXPECT_EQ(TimeConvert::GetTimeStringFromGPSTime(1025136015, ""), "Sat Jun 30 23:59:60 2012");
}

TEST(TimeConvert, TextLongerThan38CharactersComesOutEmpty) {
  EXPECT_EQ(TimeConvert::GetTimeStringFromUnixTime(0, "%Y-%m-%d %H:%M:%S plus 19 more chars"),
            "1970-01-01 00:00:00 plus 19 more chars");
  EXPECT_EQ(TimeConvert::GetTimeStringFromUnixTime(0, "%Y-%m-%d %H:%M:%S plus 20 more chars!"), "");
}

TEST(TimeConvert, ExtremeTimesWrapWithoutFailing) {
  EXPECT_EQ(TimeConvert::GetUnixTimeFromGPSTime(4294967295u), 4294967295u + kGPSEpoch - kBuiltIn);
  EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(0), 0u - kGPSEpoch + kBuiltIn);
  EXPECT_EQ(TimeConvert::GetGPSTimeFromUnixTime(4294967295u), 4294967295u - kGPSEpoch + kBuiltIn);
  EXPECT_EQ(TimeConvert::GetTimeStringFromGPSTime(4294967295u, "%Y-%m-%d %H:%M:%S"),
            "1980-01-05 23:59:43");
}

TEST(TimeConvert, CurrentTimeInBothScales) {
  const unsigned int before = time(nullptr), unixNow = TimeConvert::GetUnixTime(),
                     gpsNow = TimeConvert::GetGPSTime(), after = time(nullptr);
  EXPECT_TRUE(before <= unixNow && unixNow <= after) << unixNow;
  EXPECT_TRUE(before <= gpsNow + kGPSEpoch - kBuiltIn && gpsNow + kGPSEpoch - kBuiltIn <= after)
      << gpsNow;
}

// The date and the time without seconds are checked through KzNaming, which passes them on.
TEST(TimeConvert, ISOTimeWithSecondsUsesHyphens) {
  const time_t when = 1709682067;  // 2024-03-05 23:41:07 UTC
  EXPECT_EQ(TimeConvert::GetISOTime(*gmtime(&when), true), "23-41-07");
}

TEST(TimeConvert, InvalidMonthIsWarnedAboutAndFormattedAnyway) {
  KzTest::LogCapture log;
  tm t = {};
  t.tm_year = 124;
  t.tm_mday = 1;
  const std::pair<int, const char*> kMonths[] = {
      {0, "2024-01"}, {11, "2024-12"}, {12, "2024-13"}, {-1, "2024-00"}};
  for (const auto& [month, text] : kMonths) {
    t.tm_mon = month;
    EXPECT_EQ(KzUtil::TimeConvertTestAccess::Format(t, "%Y-%m"), text);
  }
  const std::string kWarning =
      "TimeConvert::GetFormattedFromTm() - invalid month number in time structure\n";
  EXPECT_EQ(log.Text(), kWarning + kWarning);  // months 12 and -1
}

TEST(TimeConvert, PrintLeapSecondTableShowsEveryBuiltInEntry) {
  std::string expected =
      "=== TimeConvert::PrintLeapSecondTable() ===\n"
      "    UTC      GPS(UTC)   nLeap\n";
  for (const LeapSecond& leap : LeapSeconds()) {
    char row[40];
    snprintf(row, sizeof(row), "%10u%12u%6u\n", leap.fMidnight - 1, leap.fGPS, leap.fN);
    expected += row;
  }
  std::ostringstream table;
  TimeConvert::PrintLeapSecondTable(table);
  EXPECT_EQ(table.str(), expected + "===========================================\n");
}

TEST(TimeConvert, FirstUseFromManyThreadsLoadsTheTableOnce) {
  const KzTest::ChildResult child = KzTest::RunInChild([] {
    const unsigned int unixTime = 1700000000;
    std::atomic<bool> start{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
      threads.emplace_back([&] {
        while (!start) std::this_thread::yield();
        for (int k = 0; k < 1000; ++k)
          if (TimeConvert::GetGPSTimeFromUnixTime(unixTime) != unixTime - kGPSEpoch + kBuiltIn)
            ++wrong;
      });
    start = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    std::ostringstream table;
    TimeConvert::PrintLeapSecondTable(table);
    const std::string text = table.str();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2 + kBuiltIn + 1);
  });
  EXPECT_EQ(child.fExitCode, 0) << child.fStdout << child.fStderr;
}
