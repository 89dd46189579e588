// kzutil time: GPS and Unix seconds across the leap-second table.
#include <ctime>

#include "Commands.h"
#include "TimeCommand.h"
#include "TimeConvert.h"
#include "Tool.h"

namespace KzTool {

using KzUtil::TimeConvert;

namespace {

// A second count, or "now" for the current time of the requested kind.
unsigned int ParseTime(const std::string& text, bool gps) {
  if (text == "now") return gps ? TimeConvert::GetGPSTime() : TimeConvert::GetUnixTime();
  return ParseUnsigned(text, "the time");
}

void AddConversion(CLI::App& time, const std::string& name, bool fromGps) {
  auto value = std::make_shared<std::string>();
  const std::string from = fromGps ? "GPS" : "Unix";
  const std::string to = fromGps ? "Unix" : "GPS";
  CLI::App* sub = time.add_subcommand(name, "Convert " + from + " seconds to " + to + " seconds");
  sub->add_option("T", *value, from + " seconds, or 'now'")->required();
  sub->footer("Example:\n  kzutil time " + name + (fromGps ? " 1025136015" : " 1341100799") +
              "\n  kzutil time " + name + " now --json");
  SetAction(sub, [value, fromGps](Result& result) {
    const unsigned int in = ParseTime(*value, fromGps);
    const unsigned int out =
        fromGps ? TimeConvert::GetUnixTimeFromGPSTime(in) : TimeConvert::GetGPSTimeFromUnixTime(in);
    result.fText << out << "\n";
    result.fJson["gps"] = fromGps ? in : out;
    result.fJson["unix"] = fromGps ? out : in;
  });
}

void AddShow(CLI::App& time) {
  auto value = std::make_shared<std::string>();
  auto gps = std::make_shared<bool>(false);
  auto format = std::make_shared<std::string>();
  CLI::App* sub =
      time.add_subcommand("show", "Print a time as UTC text; a leap second is second 60");
  sub->add_option("T", *value, "Unix seconds (GPS seconds with --gps), or 'now'")->required();
  sub->add_flag("--gps", *gps, "T is a GPS second");
  sub->add_option("--format", *format,
                  "strftime format of the text (default: the library's \"%a %b %d %H:%M:%S %Y\")");
  sub->footer(
      "Examples:\n  kzutil time show 1341100798          # Sat Jun 30 23:59:58 2012\n"
      "  kzutil time show --gps 1025136015 --format '%F %T'   # 2012-06-30 23:59:60");
  SetAction(sub, [value, gps, format](Result& result) {
    const unsigned int in = ParseTime(*value, *gps);
    const unsigned int unixTime = *gps ? TimeConvert::GetUnixTimeFromGPSTime(in) : in;
    const unsigned int gpsTime = *gps ? in : TimeConvert::GetGPSTimeFromUnixTime(in);
    const std::string text = *gps ? TimeConvert::GetTimeStringFromGPSTime(in, *format)
                                  : TimeConvert::GetTimeStringFromUnixTime(in, *format);
    if (text.empty()) throw QueryFailed("the format '" + *format + "' gives no text");
    result.fText << text << "\n";
    result.fJson["unix"] = unixTime;
    result.fJson["gps"] = gpsTime;
    result.fJson["text"] = text;
    result.fJson["leap_second"] = TimeConvert::GetTimeStringFromGPSTime(gpsTime, "%S") == "60";
  });
}

void AddLeaps(CLI::App& time) {
  auto ini = std::make_shared<std::string>();
  CLI::App* sub = time.add_subcommand("leaps", "Print the leap-second table in use");
  sub->add_option("--ini", *ini,
                  "Extend the built-in table from group [LeapSeconds] of this ini file first "
                  "(found along the ini search path)");
  sub->footer(
      "Examples:\n  kzutil time leaps --json\n  kzutil time leaps --ini KzSite.ini\n"
      "Entries of the file that the library refuses or finds in conflict with the table are\n"
      "reported on stderr (ERR: lines) and make the exit status 1; the table is printed.");
  SetAction(sub, [ini](Result& result) {
    result.fJson["source"] = nullptr;
    if (!ini->empty()) {
      const std::string path = LocateIniOrFail(*ini);
      KzUtil::InifileChain chain(path.c_str());
      std::vector<LogLine> lines;
      {
        LogCapture capture(LogLevel());
        if (!ExtendLeapSeconds(chain)) throw QueryFailed("no group [LeapSeconds] in " + path);
        lines = capture.Lines();
      }
      ForwardToLog(lines);
      for (const LogLine& line : lines)
        if (line.Severity() >= KzUtil::ErrorLogger::eError) result.fStatus = kExitFailed;
      result.fJson["source"] = path;
    }
    DescribeLeapSecondTable(result.fText, result.fJson);
  });
}

}  // namespace

bool ExtendLeapSeconds(KzUtil::InifileChain& chain) {
  if (chain.SpecifyGroup("LeapSeconds") != 0) return false;
  TimeConvert::ReadLeapSecondTable(chain);
  return true;
}

void DescribeLeapSecondTable(std::ostream& text, nlohmann::json& json) {
  std::ostringstream printout;
  TimeConvert::PrintLeapSecondTable(printout);
  text << printout.str();
  json["entries"] = nlohmann::json::array();
  std::istringstream lines(printout.str());
  for (std::string line; std::getline(lines, line);) {
    std::istringstream row(line);
    unsigned int unixTime = 0, gpsTime = 0, count = 0;
    if (row >> unixTime >> gpsTime >> count)
      json["entries"].push_back({{"unix", unixTime}, {"gps", gpsTime}, {"leap_seconds", count}});
  }
}

void AddTimeCommand(CLI::App& app) {
  CLI::App* time = app.add_subcommand("time", "GPS and Unix seconds across leap seconds");
  time->require_subcommand(1);
  AddConversion(*time, "gps2unix", true);
  AddConversion(*time, "unix2gps", false);
  AddShow(*time);
  AddLeaps(*time);
}

}  // namespace KzTool
