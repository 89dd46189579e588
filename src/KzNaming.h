// Where configuration, data and auxiliary files live and how data files are
// named, from the host identity (eye, mirror, EyePC or MirrorPC), the account,
// the home directory and the night's date.
//   KzNaming& naming = Singleton<KzNaming>::GetInstance();
//   std::string file = naming.GetRunDataDirectory() + naming.GetRunDataFilename(1234, "root", 3);
#ifndef KZUTIL_KZNAMING_H
#define KZUTIL_KZNAMING_H

#include <ctime>
#include <ostream>
#include <string>

#include "SingletonBase.h"

namespace KzUtil {

class KzNaming : public Singleton<KzNaming> {
 public:
  enum ENamingOption : int {
    kDefaultOptions = 0,  // all four options on, whatever the value
    kUseIsoDate = 1,
    kUseIsoTime = 2,
    kUseRunId = 3,
    kCreateDirectory = 4
  };

  // The value of HOME; stops the process when HOME is unset.
  const std::string GetHomeDirectory() const;
  // Root of this eye's data tree: /home/vesta/KZ-<eye> for the system account on a DAQ host.
  const std::string GetBaseDirectory() const;
  // Home of the EyePC account as seen from this DAQ host; std::domain_error elsewhere.
  const std::string GetEyeHomeDirectory() const;
  // Home of the MirrorPC account as seen from this DAQ host; std::domain_error elsewhere.
  const std::string GetMirrorHomeDirectory() const;
  // "eyepc" on a DAQ host, else the lower-case host name.
  const std::string GetEyeDirectoryName() const;
  // "mirrorpc<id>" on a DAQ host (0 = this host); an id above 6 ends the process there.
  const std::string GetMirrorDirectoryName(unsigned int mirror_id) const;
  const std::string GetSystemDirectoryName() const;  // directory name of this host

  const std::string GetConfigDirectory() const;     // this host's configuration directory
  const std::string GetEyeConfigDirectory() const;  // <home>/general/<eye directory name>/
  // Accepts eye-local (0-6) and observatory-wide (7-27) ids; std::invalid_argument above 27.
  const std::string GetMirrorConfigDirectory(unsigned int mirror_id) const;

  // <base>/<sysname>/<yyyy/mm/dd>/<subdir>/, created when kCreateDirectory is on.
  const std::string GetDataDirectory(const std::string& sysname, const std::string& subdir) const;
  // The date of the night now running, "yyyy/mm/dd/": before local noon it is yesterday's.
  const std::string GetDirectoryFromDate() const;
  const std::string GetDirectoryFromDate(time_t when) const;  // the same for the time when

  // <prefix>_<m<kz mirror>|e<eye>>[_<run id>][_<ISO date.time>].<suffix>; mirror 0 = the eye.
  const std::string GetDataFilename(const std::string& prefix, unsigned int run_id,
                                    const std::string& suffix, unsigned int mirror_id) const;
  // <prefix>[_m<kz mirror>][_<ISO date.time>].<suffix>; mirror 0 = no mirror part.
  const std::string GetAuxDataFilename(const std::string& prefix, const std::string& suffix,
                                       unsigned int mirror_id) const;
  // Eye-local 1-6 become observatory-wide at this eye; 7-27 stay; anything else gives 0.
  unsigned int GetObservatoryMirrorId(unsigned int mirror_id) const;

  // Date and time texts of t, or of the current UTC time when t is null; empty when switched off.
  const std::string GetISODate(const tm* t = nullptr) const;      // 2024-03-05
  const std::string GetISOTime(const tm* t = nullptr) const;      // 23-41
  const std::string GetISODateTime(const tm* t = nullptr) const;  // 2024-03-05.23-41

  // Creates the directory and its parents without a shell; failures are not reported.
  void CreateDirectory(const std::string& directory) const;
  void SetOption(ENamingOption option, bool value);
  bool IsVestaSystem() const { return fIsVestaSystem; }
  bool IsVestaTestSystem() const { return fIsVestaTestSystem; }
  void Test(std::ostream& ostr) const;  // writes ids, flags, base directory and date texts
  static void SetPrintLevel(unsigned int level) { fgPrintLevel = level; }

  // Dated data directories of this host, of the EyePC and of a MirrorPC (0 = this host's mirror).
  const std::string GetAuxDataDirectory() const;
  const std::string GetCalibrationDataDirectory() const;
  const std::string GetRunDataDirectory() const;
  const std::string GetTestDataDirectory() const;
  const std::string GetEyeAuxDataDirectory() const;
  const std::string GetEyeCalibrationDataDirectory() const;
  const std::string GetEyeRunDataDirectory() const;
  const std::string GetEyeTestDataDirectory() const;
  const std::string GetMirrorAuxDataDirectory(unsigned int mirror_id) const;
  const std::string GetMirrorCalibrationDataDirectory(unsigned int mirror_id) const;
  const std::string GetMirrorRunDataDirectory(unsigned int mirror_id) const;
  const std::string GetMirrorTestDataDirectory(unsigned int mirror_id) const;

  // Data file names of one kind: (run id, suffix, mirror id) or, for eye-wide runs, (run id,
  // suffix).
  const std::string GetCalibrationDataFilename(unsigned int run_id, const std::string& suffix,
                                               unsigned int mirror_id) const;
  const std::string GetRunDataFilename(unsigned int run_id, const std::string& suffix,
                                       unsigned int mirror_id) const;
  const std::string GetTestDataFilename(unsigned int run_id, const std::string& suffix,
                                        unsigned int mirror_id) const;
  const std::string GetMinBiasDataFilename(unsigned int run_id, const std::string& suffix,
                                           unsigned int mirror_id) const;
  const std::string GetAPFDataFilename(unsigned int run_id, const std::string& suffix) const;
  const std::string GetFlasherDataFilename(unsigned int run_id, const std::string& suffix) const;
  const std::string GetLaserDataFilename(unsigned int run_id, const std::string& suffix) const;
  const std::string GetLidarDataFilename(unsigned int run_id, const std::string& suffix) const;

 private:
  friend class Singleton<KzNaming>;
  KzNaming();
  ~KzNaming() override;
  KzNaming(const KzNaming&) = delete;
  KzNaming& operator=(const KzNaming&) = delete;

  // base + the effective user's name; stops the process when the user has no name.
  static const std::string UserHomeUnder(const char* base);
  // "_" and the ISO date.time of now, when either ISO option is on.
  void AppendIsoStamp(std::ostream& name) const;

  unsigned int fEyeId;               // eye of this host, from KzConfig
  bool fIsVestaSystem;               // this host is an EyePC or a MirrorPC
  bool fIsVestaTestSystem;           // always false
  bool fIsVestaUser;                 // effective user is the system account "vesta"
  unsigned int fMirrorId;            // eye-local mirror of this host, from KzConfig
  bool fCreateDirectory;             // GetDataDirectory creates what it returns
  bool fUseIsoDate;                  // file names carry the ISO date
  bool fUseIsoTime;                  // file names carry the ISO time
  bool fUseRunId;                    // data file names carry the run id
  static unsigned int fgPrintLevel;  // no operation writes debug output yet
};

}  // namespace KzUtil

#endif
