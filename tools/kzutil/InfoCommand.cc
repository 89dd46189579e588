// kzutil info: what a program of the system learns from the library on this host.
// The library's own log lines of the run become part of the report ("messages").
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <memory>

#include "Commands.h"
#include "GeometryCommand.h"
#include "InifileChain.h"
#include "KzConfig.h"
#include "KzGeometry.h"
#include "KzNaming.h"
#include "KzUtilVersion.h"
#include "TimeCommand.h"
#include "TimeConvert.h"
#include "Tool.h"

namespace KzTool {

using KzUtil::Kz;
using KzUtil::KzConfig;
using KzUtil::KzGeometry;
using KzUtil::KzNaming;
using KzUtil::Singleton;
using KzUtil::TimeConvert;

namespace fs = std::filesystem;

namespace {

const char* const kSiteFile = "KzSite.ini";

// Writes "  label   value" lines and the JSON of one report section.
class Section {
 public:
  Section(Result& result, const std::string& title, const std::string& key)
      : fText(result.fText), fJson(result.fJson[key]) {
    fText << "\n" << title << "\n";
  }
  void Line(const std::string& label, const std::string& value) {
    fText << "  " << std::left << std::setw(19) << label << value << "\n";
  }
  template <typename T>
  void Field(const std::string& label, const std::string& key, const T& value,
             const std::string& note = "") {
    std::ostringstream text;
    text << value << note;
    Line(label, text.str());
    fJson[key] = value;
  }
  // A value the library may refuse on this host: its message is shown instead.
  void Query(const std::string& label, const std::string& key,
             const std::function<std::string()>& query) {
    try {
      Field(label, key, query());
    } catch (const std::exception& e) {
      Line(label, std::string("unavailable: ") + e.what());
      fJson[key] = nullptr;
      fJson["unavailable"][key] = e.what();
    }
  }
  nlohmann::json& Json() { return fJson; }
  std::ostream& Text() { return fText; }

 private:
  std::ostream& fText;    // the report for people
  nlohmann::json& fJson;  // this section of the JSON report
};

std::string HostName() {
  char name[256] = {};
  if (gethostname(name, sizeof name - 1) != 0) return "?";
  return name;
}

void DescribeHost(Result& result) {
  KzConfig& config = Singleton<KzConfig>::GetInstance();
  Section host(result, "Host", "host");
  host.Field("host name", "name", HostName());
  const char* role = config.IsEyePC()      ? "EyePC"
                     : config.IsMirrorPC() ? "MirrorPC"
                                           : "analysis host";
  host.Field("role", "role", std::string(role),
             config.IsEyePC() || config.IsMirrorPC() ? "" : " (neither EyePC nor MirrorPC)");
  host.Field("eye", "eye", config.GetEyeId(),
             std::string(" (") + KzUtil::GetEyeName(config.GetEyeId()) + ")");
  host.Json()["eye_name"] = KzUtil::GetEyeName(config.GetEyeId());
  host.Field("mirror", "mirror", config.GetMirrorId(),
             " (Kz mirror " + std::to_string(Kz::GetKzMirrorNo(config.GetMirrorNumber())) + ")");
  host.Json()["kz_mirror"] = Kz::GetKzMirrorNo(config.GetMirrorNumber());
  for (const char* variable : {"KZ_EYE_ID", "KZ_MIRROR_ID"}) {
    const char* value = std::getenv(variable);
    host.Line(variable, value ? value : "unset");
    host.Json()["environment"][variable] = value ? nlohmann::json(value) : nlohmann::json();
  }
}

void DescribeDirectories(Result& result) {
  KzNaming& naming = Singleton<KzNaming>::GetInstance();
  naming.SetOption(KzNaming::kCreateDirectory, false);
  const KzConfig& config = Singleton<KzConfig>::GetInstance();
  const unsigned int mirror = config.IsMirrorPC() ? config.GetMirrorId() : 0;
  Section dirs(result, "Directories (none created)", "directories");
  dirs.Query("home", "home", [&] { return naming.GetHomeDirectory(); });
  dirs.Query("data base", "base", [&] { return naming.GetBaseDirectory(); });
  dirs.Query("configuration", "configuration", [&] { return naming.GetConfigDirectory(); });
  dirs.Query("run data", "run_data", [&] { return naming.GetRunDataDirectory(); });
  dirs.Query("sample data file", "sample_data_file",
             [&] { return naming.GetRunDataFilename(1, "root", mirror); });
}

// The copy installed beside kzutil, else the one of the source tree it was built from.
std::string ShippedSiteFile() {
  std::vector<fs::path> candidates;
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (!error)
    candidates.push_back(
        (program.parent_path() / KZUTIL_DATA_FROM_BIN / kSiteFile).lexically_normal());
  candidates.push_back(fs::path(KZUTIL_SOURCE_ETC_DIR) / kSiteFile);
  for (const fs::path& candidate : candidates)
    if (access(candidate.c_str(), R_OK) == 0) return candidate.string();
  return "";
}

// The site file along the search path, else the shipped one; "" when there is none.
std::string SiteFile(std::string& source) {
  std::vector<std::string> tried;
  std::string why;
  try {
    const std::string found = LocateIni(kSiteFile, &tried);
    if (!found.empty()) {
      source = "found along the ini search path";
      return found;
    }
    why = "no " + std::string(kSiteFile) + " in the " + std::to_string(tried.size()) +
          " places of the ini search path (kzutil ini locate " + kSiteFile + ")";
  } catch (const std::exception& e) {
    why = std::string("the ini search failed: ") + e.what();
  }
  const std::string shipped = ShippedSiteFile();
  source = (shipped.empty() ? "nothing shipped either: " : "shipped default: ") + why;
  return shipped;
}

void DescribeTelescope(Section& geometry, unsigned int id) {
  double azimuth = 0, elevation = 0;
  KzGeometry::GetTelescopeAxis(id, azimuth, elevation);
  std::ostringstream line;
  line << std::fixed << std::setprecision(3) << "azimuth " << std::setw(8) << azimuth
       << "  elevation " << std::setw(6) << elevation << "  " << TelescopeName(id);
  nlohmann::json entry = Direction(azimuth, elevation);
  entry["telescope"] = id;
  entry["name"] = TelescopeName(id);
  if (id >= KzGeometry::kFIRST_LOFT_TELESCOPE) {
    const unsigned int loft = id - KzGeometry::kFIRST_LOFT_TELESCOPE + 1;
    for (const auto& [tilt, name] : {std::make_pair(KzUtil::kPositionDown, "down"),
                                     std::make_pair(KzUtil::kPositionUp, "up")}) {
      KzGeometry::GetTelescopeAxis4LOFT(loft, azimuth, elevation, tilt);
      line << "; tilted " << name << " " << azimuth << ", " << elevation;
      entry["tilted"][name] = Direction(azimuth, elevation);
    }
  }
  geometry.Line("telescope " + std::to_string(id), line.str());
  geometry.Json()["telescopes"].push_back(entry);
}

// The telescopes this host serves: its own on a MirrorPC, else all of its eye.
std::vector<unsigned int> HostTelescopes(std::string& why) {
  const KzConfig& config = Singleton<KzConfig>::GetInstance();
  const unsigned int eye = config.GetEyeId();
  if (eye < Kz::kKZ_FIRST_EYE || eye > Kz::kKZ_LAST_EYE) {
    why = "eye " + std::to_string(eye) + " has no telescopes";
    return {};
  }
  const unsigned int nMirrors = Kz::GetEyeNMirrors(eye);
  if (config.IsMirrorPC() && config.GetMirrorId() > nMirrors) {
    why = "eye " + std::to_string(eye) + " has no mirror " + std::to_string(config.GetMirrorId());
    return {};
  }
  std::vector<unsigned int> ids;
  for (unsigned int mirror = 1; mirror <= nMirrors; ++mirror)
    if (!config.IsMirrorPC() || mirror == config.GetMirrorId())
      ids.push_back(Kz::GetKzMirrorNo(eye, mirror));
  return ids;
}

void DescribeGeometry(Result& result, KzUtil::InifileChain* site, const std::string& source) {
  Section geometry(result, "Geometry", "geometry");
  geometry.Json()["ini_file"] = site ? nlohmann::json(site->GetFilename()) : nlohmann::json();
  geometry.Json()["ini_source"] = source;
  geometry.Line("ini file", site ? site->GetFilename() : "none, built-in axes");
  geometry.Line("", source);
  if (site && !KzGeometry::ReadCameraPointing(*site))
    geometry.Line("", "no [Geometry] group: built-in axes");
  std::string why;
  geometry.Json()["telescopes"] = nlohmann::json::array();
  const std::vector<unsigned int> ids = HostTelescopes(why);
  if (ids.empty()) geometry.Line("telescopes", why);
  for (unsigned int id : ids) DescribeTelescope(geometry, id);
}

void DescribeLeapSeconds(Result& result, KzUtil::InifileChain* site) {
  Section leaps(result, "Leap seconds", "leap_seconds");
  std::string source = "built-in table";
  if (site)
    source += ExtendLeapSeconds(*site) ? std::string(", extended from ") + site->GetFilename()
                                       : " (no [LeapSeconds] in the ini file)";
  leaps.Field("source", "source", source);
  std::ostringstream table;
  DescribeLeapSecondTable(table, leaps.Json());
  std::istringstream lines(table.str());
  for (std::string line; std::getline(lines, line);) leaps.Text() << "  " << line << "\n";
}

void DescribeTime(Result& result) {
  const unsigned int now = TimeConvert::GetUnixTime();
  Section time(result, "Time", "time");
  time.Field("UTC", "utc", TimeConvert::GetTimeStringFromUnixTime(now, "%Y-%m-%d %H:%M:%S"));
  time.Field("Unix second", "unix", now);
  time.Field("GPS second", "gps", TimeConvert::GetGPSTimeFromUnixTime(now));
}

void DescribeMessages(Result& result, const std::vector<LogLine>& lines) {
  Section messages(result, "Library messages (from --log-level on)", "messages");
  messages.Json() = nlohmann::json::array();
  if (lines.empty()) messages.Text() << "  none\n";
  for (const LogLine& line : lines) {
    messages.Text() << "  " << (line.fTag.empty() ? "" : line.fTag + ":") << line.fText << "\n";
    messages.Json().push_back({{"severity", line.fTag}, {"text", line.fText}});
  }
}

void Report(Result& result) {
  result.fText << "kzutil info - KzUtil " << KzUtil::kKzUtilVersionString << "\n";
  result.fJson["version"] = KzUtil::kKzUtilVersionString;
  std::vector<LogLine> messages;
  {
    LogCapture capture(LogLevel());
    DescribeHost(result);
    DescribeDirectories(result);
    std::string source;
    const std::string siteFile = SiteFile(source);
    std::unique_ptr<KzUtil::InifileChain> site;
    if (!siteFile.empty()) site = std::make_unique<KzUtil::InifileChain>(siteFile.c_str());
    DescribeGeometry(result, site.get(), source);
    DescribeLeapSeconds(result, site.get());
    DescribeTime(result);
    messages = capture.Lines();
  }
  DescribeMessages(result, messages);
}

}  // namespace

void AddInfoCommand(CLI::App& app) {
  CLI::App* sub =
      app.add_subcommand("info",
                         "Report what a program learns from the library on this host: identity, "
                         "directories, telescope pointing, leap seconds, GPS time");
  sub->footer(
      "Works on any host without set-up and creates no directory. The geometry and leap\n"
      "seconds come from KzSite.ini found along the ini search path, else from the copy\n"
      "shipped with kzutil. The library's log lines of the run (from --log-level on) are\n"
      "part of the report, under \"Library messages\", instead of going to stderr.\n"
      "Examples:\n  kzutil info\n  kzutil info --json\n  KZ_EYE_ID=3 kzutil info "
      "--log-level warning");
  SetAction(sub, Report);
}

}  // namespace KzTool
