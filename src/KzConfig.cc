#include "KzConfig.h"

#include <netdb.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ErrorLogger.h"

namespace KzUtil {

int KzConfig::fgPrintLevel = 0;

namespace {

// Laboratory EyePCs that count as eye 1.
const char* const kTestEyePC1 = "kzlab-daq";
const char* const kTestEyePC2 = "kzlab-bench";

constexpr int kNVestaEyes = 7;  // eye1-vesta .. eye7-vesta are looked for
constexpr unsigned int kFirstUnnamedEyeId = 6;

struct NetworkName {
  const char* fPattern;  // substring of the fully-qualified host name
  unsigned int fEyeId;
};
const NetworkName kNetworkNames[] = {{"kz-alder", 1},   {"kz-birch", 2}, {"kz-cedar", 3},
                                     {"kz-dunmere", 4}, {"kz-loft", 5},  {"kz-testbay", 7}};

struct EyeName {
  unsigned int fEyeId;
  const char* fLong;
  const char* fShort;
};
const EyeName kEyeNames[] = {{1, "Alder Ridge", "AlderRidge"},
                             {2, "Birch Ridge", "BirchRidge"},
                             {3, "Cedar Slope", "CedarSlope"},
                             {4, "Dunmere", "Dunmere"},
                             {5, "Loft", "Loft"},
                             {7, "Testbay", "Testbay"}};
const EyeName kUnknownEyeName = {0, "Corner Grocery Market", "CornerGroceryMarket"};

std::string LowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return text;
}

bool Contains(const std::string& text, const char* pattern) {
  return text.find(pattern) != std::string::npos;
}

// The id given by an environment variable, or 1; no error check, as strtol reads it.
unsigned int ReadDefaultId(const char* variable) {
  const char* value = getenv(variable);
  if (!value) return 1;
  KZ_LOG(ErrorLogger::eInfo, "KzConfig::KzConfig() - getenv(" << variable << ")= " << value);
  return static_cast<unsigned int>(strtol(value, nullptr, 10));
}

}  // namespace

KzConfig::KzConfig()
    : fDefaultEyeId(ReadDefaultId("KZ_EYE_ID")),
      fDefaultMirrorId(ReadDefaultId("KZ_MIRROR_ID")),
      fEyeId(fDefaultEyeId),
      fMirrorId(fDefaultMirrorId),
      fMirrorNumber(),
      fIsEye(false),
      fIsMirror(false) {
  const std::string host = OwnHostName();
  DetermineMirrorId(host.c_str());
  bool skipNetworkTable = LookUpHost(host);
  if (!fIsMirror && !fIsEye) {
    if (Contains(host, "eyepc")) fIsEye = true;
    const bool firstTestHost = MatchTestEyePC(host, kTestEyePC1);
    const bool secondTestHost = MatchTestEyePC(host, kTestEyePC2);
    skipNetworkTable = skipNetworkTable || firstTestHost || secondTestHost;
  }
  if (!skipNetworkTable) ScanNetworkTable();
  Kz::SetEyeNo(&fMirrorNumber, fEyeId);
  Kz::SetMirrorNo(&fMirrorNumber, fMirrorId);
  CheckSingleRole(fIsEye, fIsMirror);
}

KzConfig::~KzConfig() = default;

// The short host name in lower case; "localhost" when the system will not tell.
std::string KzConfig::OwnHostName() {
  char name[80] = {};
  if (gethostname(name, sizeof(name) - 1) != 0) {
    const int error = errno;
    KZ_LOG(ErrorLogger::eError, "KzConfig::KzConfig() - gethostname() returned error, errno= "
                                    << error << ", " << strerror(error));
    snprintf(name, sizeof(name), "%s", "localhost");
  }
  if (fgPrintLevel) KZ_LOG(ErrorLogger::eDebug, "KzConfig::KzConfig() - gethostname()= " << name);
  return LowerCase(name);
}

// Takes the resolver's official name and decides from it; false when the look-up failed.
bool KzConfig::LookUpHost(const std::string& host) {
  const hostent* entry = gethostbyname(host.c_str());
  if (!entry) {
    KZ_LOG(ErrorLogger::eError, "KzConfig::KzConfig() - gethostbyname() "
                                    << "could not do name lookup for '" << host << "' !");
    KZ_LOG(ErrorLogger::eError, "KzConfig::KzConfig() - gethostbyname() "
                                    << "h_errno= " << h_errno);
    return false;
  }
  fFQHostname += LowerCase(entry->h_name);
  if (fgPrintLevel)
    KZ_LOG(ErrorLogger::eDebug, "KzConfig::KzConfig() - fFQHostname= " << fFQHostname);
  if (!fIsMirror) DetermineMirrorId(fFQHostname.c_str());
  DetermineEyeId(fFQHostname.c_str());
  return true;
}

bool KzConfig::MatchTestEyePC(const std::string& host, const char* testHost) {
  if (!Contains(host, testHost)) return false;
  fEyeId = 1;
  fIsEye = true;
  if (fgPrintLevel)
    KZ_LOG(ErrorLogger::eDebug, "KzConfig::KzConfig() - "
                                    << "match with test EyePC '" << testHost << "' was detected !");
  return true;
}

// Only reached without a fully-qualified name, so DetermineEyeId can at most warn here.
void KzConfig::ScanNetworkTable() {
  setnetent(1);
  const netent* entry = getnetent();
  if (!entry)
    KZ_LOG(ErrorLogger::eError, "KzConfig::KzConfig() - "
                                    << "could not read net entry from /etc/networks !");
  for (; entry; entry = getnetent()) {
    if (fgPrintLevel)
      KZ_LOG(ErrorLogger::eDebug, "KzConfig::KzConfig() - getnetent()= " << entry->n_name);
    DetermineEyeId(entry->n_name);
  }
  endnetent();
}

void KzConfig::DetermineMirrorId(const char* name) {
  const std::string lower = LowerCase(name);
  for (int n = Kz::kEYE_FIRST_MIRROR; n <= Kz::kEYE_LAST_MIRROR; ++n) {
    char pattern[16];
    snprintf(pattern, sizeof(pattern), "mirrorpc%d", n);
    if (!Contains(lower, pattern)) continue;
    fMirrorId = n;
    fIsMirror = true;
    if (fgPrintLevel)
      KZ_LOG(ErrorLogger::eDebug, "Match with Mirror name '" << pattern << "' detected !");
    return;
  }
}

// Every test is made on fFQHostname, whatever name is passed.
void KzConfig::DetermineEyeId(const char*) {
  for (int n = 1; n <= kNVestaEyes; ++n) {
    char pattern[16];
    snprintf(pattern, sizeof(pattern), "eye%d-vesta", n);
    if (!Contains(fFQHostname, pattern)) continue;
    fEyeId = n;
    if (fgPrintLevel)
      KZ_LOG(ErrorLogger::eInfo, "KzConfig::DetermineEyeId() - "
                                     << "match with Mirror LAN '" << pattern << "' detected !");
    if (!fIsMirror) fIsEye = true;
    break;
  }
  if (fEyeId >= kFirstUnnamedEyeId) {
    KZ_LOG(ErrorLogger::eWarning, "KzConfig::DetermineEyeId() - "
                                      << "fEyeId= " << fEyeId << " detected ! Set to "
                                      << fDefaultEyeId << " !!!");
    fEyeId = fDefaultEyeId;
  }
  if (fEyeId != fDefaultEyeId || fIsMirror || fIsEye) return;

  bool matched = false;
  for (const NetworkName& network : kNetworkNames) {
    if (!Contains(fFQHostname, network.fPattern)) continue;
    fEyeId = network.fEyeId;
    fIsEye = true;
    matched = true;
  }
  if (!matched || fEyeId < kFirstUnnamedEyeId) return;
  if (fgPrintLevel)
    KZ_LOG(ErrorLogger::eWarning, "KzConfig::DetermineEyeId() - "
                                      << "found EyeID= " << fEyeId
                                      << " mapped to default EyeID= " << fDefaultEyeId);
  fEyeId = fDefaultEyeId;
}

void KzConfig::CheckSingleRole(bool isEye, bool isMirror) {
  if (!isEye || !isMirror) return;
  KZ_LOG(ErrorLogger::eFatal, "KzConfig::KzConfig() - "
                                  << "application cannot run both on EyePC and MirrorPC !");
  // A re-throw with nothing in flight: std::terminate, as for any unrecoverable start-up error.
  throw;
}

const char* KzConfig::GetEyeNameById(unsigned int eye_id, bool nospaces) {
  return GetEyeName(eye_id, nospaces);
}

const char* GetEyeName(unsigned int eye_id, bool nospaces) {
  static char buffer[40];
  const EyeName* name = &kUnknownEyeName;
  for (const EyeName& known : kEyeNames)
    if (known.fEyeId == eye_id) name = &known;
  snprintf(buffer, sizeof(buffer), "%s", nospaces ? name->fShort : name->fLong);
  return buffer;
}

const char* GetEyeName(bool nospaces) {
  return GetEyeName(Singleton<KzConfig>::GetInstance().GetEyeId(), nospaces);
}

}  // namespace KzUtil
