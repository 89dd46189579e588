#include "KzNaming.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "ErrorLogger.h"
#include "KzConfig.h"
#include "TimeConvert.h"

namespace KzUtil {

unsigned int KzNaming::fgPrintLevel = 0;

namespace {

const std::string gConfigDirectory = "general";
const char* const kVestaHome = "/home/vesta/";
const char* const kEyeTreePrefix = "KZ-";
const char* const kEyeHomeFromMirror = "/home/eyePC/";
const char* const kMirrorHomeFromEye = "/export/mirror_home/";
const char* const kEyePCName = "eyepc";
const char* const kMirrorPCName = "mirrorpc";
const unsigned int kMaxLocalMirrorId = 6;
const unsigned int kMaxKzMirrorId = 27;
const time_t kHalfDay = 43200;

// Subdirectories of the dated data tree and prefixes of the data files.
const char* const kAuxSubdir = "aux";
const char* const kCalibrationSubdir = "calib";
const char* const kRunSubdir = "run";
const char* const kTestSubdir = "test";

// Null when the effective user has no password entry.
const char* EffectiveUserName() {
  const passwd* entry = getpwuid(geteuid());
  return entry ? entry->pw_name : NULL;
}

// The whole name must match: "vestaops" is not the system account.
bool IsSystemAccount() {
  const char* user = EffectiveUserName();
  return user != NULL && strcmp(user, "vesta") == 0;
}

tm NowUTC() {
  const time_t now = time(nullptr);
  tm fields;
  gmtime_r(&now, &fields);
  return fields;
}

const KzConfig& Config() { return Singleton<KzConfig>::GetInstance(); }

}  // namespace

KzNaming::KzNaming()
    : fEyeId(Config().GetEyeId()),
      fIsVestaSystem(Config().IsEyePC() || Config().IsMirrorPC()),
      fIsVestaTestSystem(false),
      fIsVestaUser(IsSystemAccount()),
      fMirrorId(Config().GetMirrorId()),
      fCreateDirectory(false),
      fUseIsoDate(false),
      fUseIsoTime(false),
      fUseRunId(false) {
  SetOption(kDefaultOptions, true);
}

KzNaming::~KzNaming() = default;

void KzNaming::SetOption(ENamingOption option, bool value) {
  switch (option) {
    case kDefaultOptions:
      SetOption(kUseIsoDate, true);
      SetOption(kUseIsoTime, true);
      SetOption(kUseRunId, true);
      SetOption(kCreateDirectory, true);
      return;
    case kUseIsoDate:
      fUseIsoDate = value;
      return;
    case kUseIsoTime:
      fUseIsoTime = value;
      return;
    case kUseRunId:
      fUseRunId = value;
      return;
    case kCreateDirectory:
      fCreateDirectory = value;
      return;
  }
  KZ_LOG(ErrorLogger::eError, "KzNaming::SetOption() - illegal option specified !");
}

const std::string KzNaming::GetHomeDirectory() const {
  const char* home = getenv("HOME");
  KZ_ASSERT(home != NULL);
  return home;
}

const std::string KzNaming::GetBaseDirectory() const {
  if (!fIsVestaSystem || !fIsVestaUser) return GetHomeDirectory();
  const std::string path = std::string(kVestaHome) + kEyeTreePrefix + GetEyeName(fEyeId, true);
  struct stat status;
  if (stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode)) {
    KZ_LOG(ErrorLogger::eError,
           "KzNaming::GetBaseDirectory() - " << path << " is not a directory !");
    return "";
  }
  return path;
}

const std::string KzNaming::UserHomeUnder(const char* base) {
  const char* user = EffectiveUserName();
  KZ_ASSERT(user != NULL);
  return std::string(base) + user;
}

const std::string KzNaming::GetEyeHomeDirectory() const {
  if (!fIsVestaSystem) throw std::domain_error("not running on VESTA DAQ host");
  if (Config().IsEyePC()) return GetHomeDirectory();
  return UserHomeUnder(kEyeHomeFromMirror);
}

const std::string KzNaming::GetMirrorHomeDirectory() const {
  if (!fIsVestaSystem) throw std::domain_error("not running on VESTA DAQ host");
  if (Config().IsMirrorPC()) return GetHomeDirectory();
  return UserHomeUnder(kMirrorHomeFromEye);
}

const std::string KzNaming::GetEyeDirectoryName() const {
  if (fIsVestaSystem) return kEyePCName;
  char hostname[80] = "";
  gethostname(hostname, sizeof(hostname) - 1);
  std::string name(hostname);
  for (char& c : name) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return name;
}

const std::string KzNaming::GetMirrorDirectoryName(unsigned int mirror_id) const {
  if (!fIsVestaSystem) return GetEyeDirectoryName();
  if (mirror_id == 0)
    return Config().IsEyePC() ? GetEyeDirectoryName() : GetMirrorDirectoryName(fMirrorId);
  if (mirror_id > kMaxLocalMirrorId) {
    KZ_LOG(ErrorLogger::eFatal, "KzNaming::GetMirrorDirectoryName("
                                    << mirror_id << ") - "
                                    << "passed Mirror id is illegal !");
    exit(1);
  }
  return kMirrorPCName + std::to_string(mirror_id);
}

const std::string KzNaming::GetSystemDirectoryName() const {
  if (!fIsVestaSystem) return GetEyeDirectoryName();
  if (Config().IsMirrorPC()) return GetMirrorDirectoryName(Config().GetMirrorId());
  if (Config().IsEyePC()) return GetEyeDirectoryName();
  KZ_LOG(ErrorLogger::eFatal, "KzNaming::GetDataDirectory() - "
                                  << "cannot run both on MirrorPC and EyePC !!!");
  exit(1);
}

const std::string KzNaming::GetEyeConfigDirectory() const {
  const std::string home =
      fIsVestaSystem && !Config().IsEyePC() ? GetEyeHomeDirectory() : GetHomeDirectory();
  return home + "/" + gConfigDirectory + "/" + GetEyeDirectoryName() + "/";
}

const std::string KzNaming::GetMirrorConfigDirectory(unsigned int mirror_id) const {
  if (!fIsVestaSystem) return GetEyeConfigDirectory();
  if (mirror_id > kMaxKzMirrorId) throw std::invalid_argument("passed Mirror ID not valid");
  if (mirror_id > kMaxLocalMirrorId) mirror_id = (mirror_id - 1) % kMaxLocalMirrorId + 1;
  if (!Config().IsEyePC())
    return GetHomeDirectory() + "/" + gConfigDirectory + "/" + kMirrorPCName +
           std::to_string(mirror_id) + "/";
  // The EyePC sees every mirror's configuration in the one exported tree.
  return GetMirrorHomeDirectory() + "/" + gConfigDirectory + "/" + kEyePCName + "/";
}

const std::string KzNaming::GetConfigDirectory() const {
  if (fIsVestaSystem && !Config().IsEyePC())
    return GetMirrorConfigDirectory(GetObservatoryMirrorId(fMirrorId));
  return GetEyeConfigDirectory();
}

unsigned int KzNaming::GetObservatoryMirrorId(unsigned int mirror_id) const {
  if (mirror_id >= 1 && mirror_id <= kMaxLocalMirrorId)
    return mirror_id + kMaxLocalMirrorId * fEyeId - kMaxLocalMirrorId;
  if (mirror_id > kMaxLocalMirrorId && mirror_id <= kMaxKzMirrorId) return mirror_id;
  KZ_LOG(ErrorLogger::eError, "KzNaming::GetObservatoryMirrorId("
                                  << mirror_id << ") - "
                                  << "passed Mirror ID is illegal !");
  return 0;
}

const std::string KzNaming::GetDirectoryFromDate() const {
  return GetDirectoryFromDate(time(nullptr));
}

const std::string KzNaming::GetDirectoryFromDate(time_t when) const {
  tm local;
  localtime_r(&when, &local);
  // A night's data stay under the date on which the night began.
  if (local.tm_hour < 12) {
    when -= kHalfDay;
    localtime_r(&when, &local);
  }
  char date[32];
  snprintf(date, sizeof(date), "%04d/%02d/%02d/", local.tm_year + 1900, local.tm_mon + 1,
           local.tm_mday);
  return date;
}

const std::string KzNaming::GetDataDirectory(const std::string& sysname,
                                             const std::string& subdir) const {
  const std::string path =
      GetBaseDirectory() + "/" + sysname + "/" + GetDirectoryFromDate() + subdir + "/";
  if (fCreateDirectory) CreateDirectory(path);
  return path;
}

void KzNaming::CreateDirectory(const std::string& directory) const {
  std::error_code ignored;
  std::filesystem::create_directories(directory, ignored);
}

const std::string KzNaming::GetISODate(const tm* t) const {
  if (!fUseIsoDate) return "";
  return TimeConvert::GetISODate(t ? *t : NowUTC());
}

const std::string KzNaming::GetISOTime(const tm* t) const {
  if (!fUseIsoTime) return "";
  return TimeConvert::GetISOTime(t ? *t : NowUTC(), false);
}

const std::string KzNaming::GetISODateTime(const tm* t) const {
  const tm when = t ? *t : NowUTC();
  const std::string date = GetISODate(&when);
  const std::string clock = GetISOTime(&when);
  if (date.empty() || clock.empty()) return date + clock;
  return date + "." + clock;
}

void KzNaming::AppendIsoStamp(std::ostream& name) const {
  if (fUseIsoDate || fUseIsoTime) name << "_" << GetISODateTime(nullptr);
}

const std::string KzNaming::GetDataFilename(const std::string& prefix, unsigned int run_id,
                                            const std::string& suffix,
                                            unsigned int mirror_id) const {
  std::ostringstream name;
  name.fill('0');
  name << prefix << "_";
  if (mirror_id != 0)
    name << "m" << std::setw(2) << GetObservatoryMirrorId(mirror_id);
  else
    name << "e" << Config().GetEyeId();
  if (fUseRunId) name << "_" << std::setw(6) << run_id;
  AppendIsoStamp(name);
  name << "." << suffix;
  return name.str();
}

const std::string KzNaming::GetAuxDataFilename(const std::string& prefix, const std::string& suffix,
                                               unsigned int mirror_id) const {
  std::ostringstream name;
  name.fill('0');
  name << prefix;
  if (mirror_id != 0) name << "_m" << std::setw(2) << GetObservatoryMirrorId(mirror_id);
  AppendIsoStamp(name);
  name << "." << suffix;
  return name.str();
}

void KzNaming::Test(std::ostream& ostr) const {
  ostr << std::endl << "KzNaming::Test() ..." << std::endl;
  ostr << "fEyeId= " << fEyeId << " fMirrorId= " << fMirrorId << std::endl;
  ostr << "fIsVestaSystem= " << fIsVestaSystem << " fIsVestaUser= " << fIsVestaUser << std::endl;
  ostr << "GetBaseDirectory:   " << GetBaseDirectory() << std::endl;
  ostr << "GetISODate:         " << GetISODate() << std::endl;
  ostr << "GetISOTime(UTC):    " << GetISOTime() << std::endl;
  ostr << "GetISODateTime:     " << GetISODateTime() << std::endl;
  ostr << std::endl;
}

const std::string KzNaming::GetAuxDataDirectory() const {
  return GetDataDirectory(GetSystemDirectoryName(), kAuxSubdir);
}

const std::string KzNaming::GetCalibrationDataDirectory() const {
  return GetDataDirectory(GetSystemDirectoryName(), kCalibrationSubdir);
}

const std::string KzNaming::GetRunDataDirectory() const {
  return GetDataDirectory(GetSystemDirectoryName(), kRunSubdir);
}

const std::string KzNaming::GetTestDataDirectory() const {
  return GetDataDirectory(GetSystemDirectoryName(), kTestSubdir);
}

const std::string KzNaming::GetEyeAuxDataDirectory() const {
  return GetDataDirectory(kEyePCName, kAuxSubdir);
}

const std::string KzNaming::GetEyeCalibrationDataDirectory() const {
  return GetDataDirectory(kEyePCName, kCalibrationSubdir);
}

const std::string KzNaming::GetEyeRunDataDirectory() const {
  return GetDataDirectory(kEyePCName, kRunSubdir);
}

const std::string KzNaming::GetEyeTestDataDirectory() const {
  return GetDataDirectory(kEyePCName, kTestSubdir);
}

const std::string KzNaming::GetMirrorAuxDataDirectory(unsigned int mirror_id) const {
  return GetDataDirectory(GetMirrorDirectoryName(mirror_id), kAuxSubdir);
}

const std::string KzNaming::GetMirrorCalibrationDataDirectory(unsigned int mirror_id) const {
  return GetDataDirectory(GetMirrorDirectoryName(mirror_id), kCalibrationSubdir);
}

const std::string KzNaming::GetMirrorRunDataDirectory(unsigned int mirror_id) const {
  return GetDataDirectory(GetMirrorDirectoryName(mirror_id), kRunSubdir);
}

const std::string KzNaming::GetMirrorTestDataDirectory(unsigned int mirror_id) const {
  return GetDataDirectory(GetMirrorDirectoryName(mirror_id), kTestSubdir);
}

const std::string KzNaming::GetCalibrationDataFilename(unsigned int run_id,
                                                       const std::string& suffix,
                                                       unsigned int mirror_id) const {
  return GetDataFilename("calib", run_id, suffix, mirror_id);
}

const std::string KzNaming::GetRunDataFilename(unsigned int run_id, const std::string& suffix,
                                               unsigned int mirror_id) const {
  return GetDataFilename("run", run_id, suffix, mirror_id);
}

const std::string KzNaming::GetTestDataFilename(unsigned int run_id, const std::string& suffix,
                                                unsigned int mirror_id) const {
  return GetDataFilename("test", run_id, suffix, mirror_id);
}

const std::string KzNaming::GetMinBiasDataFilename(unsigned int run_id, const std::string& suffix,
                                                   unsigned int mirror_id) const {
  return GetDataFilename("minbias", run_id, suffix, mirror_id);
}

// Atmospheric monitors and the flasher serve the whole eye: their files carry the eye.
const std::string KzNaming::GetAPFDataFilename(unsigned int run_id,
                                               const std::string& suffix) const {
  return GetDataFilename("apf", run_id, suffix, 0);
}

const std::string KzNaming::GetFlasherDataFilename(unsigned int run_id,
                                                   const std::string& suffix) const {
  return GetDataFilename("flasher", run_id, suffix, 0);
}

const std::string KzNaming::GetLaserDataFilename(unsigned int run_id,
                                                 const std::string& suffix) const {
  return GetDataFilename("laser", run_id, suffix, 0);
}

const std::string KzNaming::GetLidarDataFilename(unsigned int run_id,
                                                 const std::string& suffix) const {
  return GetDataFilename("lidar", run_id, suffix, 0);
}

}  // namespace KzUtil
