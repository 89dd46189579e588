// Host identity: which eye and mirror this host serves and whether it is an EyePC
// or a MirrorPC, decided once per process from KZ_EYE_ID / KZ_MIRROR_ID, the host
// name, the resolver and /etc/networks. Also the printable eye names.
//   KzConfig& config = Singleton<KzConfig>::GetInstance();
//   if (config.IsMirrorPC()) std::cout << GetEyeName(config.GetEyeId(), true) <<
//   config.GetMirrorId();
#ifndef KZUTIL_KZCONFIG_H
#define KZUTIL_KZCONFIG_H

#include <string>

#include "KzNumbering.h"
#include "SingletonBase.h"

namespace KzUtil {

class KzConfig : public Singleton<KzConfig> {
 public:
  unsigned int GetEyeId() const { return fEyeId; }
  unsigned int GetMirrorId() const { return fMirrorId; }  // within the eye
  Kz::_MirrorNumber* GetMirrorNumber() { return &fMirrorNumber; }
  bool IsEyePC() const { return fIsEye; }
  bool IsMirrorPC() const { return fIsMirror; }
  // Same as the free GetEyeName(eye_id, nospaces).
  static const char* GetEyeNameById(unsigned int eye_id, bool nospaces);
  // Non-zero writes the debug messages of the identity decisions.
  static void SetPrintLevel(int level) { fgPrintLevel = level; }
  // The last step of construction: ends the process if both roles are claimed.
  static void CheckSingleRole(bool isEye, bool isMirror);

 protected:
  // Sets the mirror id and MirrorPC on the first mirrorpc1..6 found in name.
  void DetermineMirrorId(const char* name);
  // Decides the eye from fFQHostname; name is not consulted.
  void DetermineEyeId(const char* name);

 private:
  friend class Singleton<KzConfig>;
  KzConfig();
  ~KzConfig() override;
  KzConfig(const KzConfig&) = delete;
  KzConfig& operator=(const KzConfig&) = delete;

  static std::string OwnHostName();
  bool LookUpHost(const std::string& host);
  bool MatchTestEyePC(const std::string& host, const char* testHost);
  void ScanNetworkTable();

  std::string fFQHostname;          // resolver's official name, lower case; empty if not resolved
  unsigned int fDefaultEyeId;       // 1 or KZ_EYE_ID
  unsigned int fDefaultMirrorId;    // 1 or KZ_MIRROR_ID
  unsigned int fEyeId;              // the eye this host serves
  unsigned int fMirrorId;           // the mirror within the eye this host serves
  Kz::_MirrorNumber fMirrorNumber;  // fEyeId and fMirrorId packed
  bool fIsEye;                      // this host is an EyePC
  bool fIsMirror;                   // this host is a MirrorPC
  static int fgPrintLevel;          // 0 = no debug messages
};

// The eye's name, long ("Alder Ridge") or without spaces ("AlderRidge"). The text
// lives in one shared buffer that the next call overwrites.
const char* GetEyeName(unsigned int eye_id, bool nospaces = false);
// The name of this host's eye; builds the host identity if needed.
const char* GetEyeName(bool nospaces = false);

}  // namespace KzUtil

#endif
