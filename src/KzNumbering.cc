#include "KzNumbering.h"

#include <stdexcept>

#include "ErrorLogger.h"
#include "KzConfig.h"

namespace KzUtil {

namespace {

bool IsValidEye(unsigned int eye) { return eye >= Kz::kKZ_FIRST_EYE && eye <= Kz::kKZ_LAST_EYE; }

// The eye queries cannot answer for an eye outside 1..5: log and throw.
void RequireValidEye(unsigned int eye, const char* function) {
  if (IsValidEye(eye)) return;
  KZ_LOG(ErrorLogger::eError,
         "Kz::" << function << "() - Eye number " << eye << " is outside valid range!");
  throw std::logic_error("Eye number outside valid range");
}

// The mirror setters leave the record alone for k outside 1..27.
bool AcceptKzMirror(unsigned int k, const char* function) {
  if (k >= Kz::kKZ_FIRST_MIRROR && k <= Kz::kKZ_LAST_MIRROR) return true;
  KZ_LOG(ErrorLogger::eError, "Kz::" << function << "(MirrorNumber) - Mirror number " << k
                                     << " is not inside valid range !");
  return false;
}

}  // namespace

void Kz::Streamer(TBuffer&) {
  KZ_LOG(ErrorLogger::eError, "Kz::Streamer() - "
                                  << "objects of type KzUtil::Kz cannot be streamed !");
}

void Kz::Set(_PixelNumber* p) {
  const KzConfig& config = Singleton<KzConfig>::GetInstance();
  p->fPixelNumber = 0;
  SetEyeNo(p, config.GetEyeId());
  SetMirrorNo(p, config.GetMirrorId());
}

void Kz::SetEyeNo(_MirrorNumber* p, unsigned int e) {
  if (!IsValidEye(e)) {
    KZ_LOG(ErrorLogger::eError,
           "Kz::SetEyeNo(MirrorNumber) - Eye number " << e << " is not inside valid range !");
    return;
  }
  p->fBits.fEyeNo = e;
}

void Kz::SetMirrorNo(_MirrorNumber* p, unsigned int k) {
  if (!AcceptKzMirror(k, "SetMirrorNo")) return;
  const unsigned int eye = GetEyeNo(p);
  if (eye != 0 && k <= kEYE_LAST_MIRROR) k += (eye - 1) * kEYE_NMIRRORS;
  p->fBits.fMirrorNo = k & kMask5;
}

void Kz::SetKzMirrorNo(_MirrorNumber* p, unsigned int k) {
  if (AcceptKzMirror(k, "SetKzMirrorNo")) p->fBits.fMirrorNo = k;
}

void Kz::Set(_MirrorNumber* p) {
  const KzConfig& config = Singleton<KzConfig>::GetInstance();
  const unsigned int eye = config.GetEyeId();
  p->fMirrorNumber = 0;
  SetEyeNo(p, eye);
  SetMirrorNo(p, GetKzMirrorNo(eye, GetMirrorNoFromKzMirrorNo(config.GetMirrorId())));
}

unsigned int Kz::GetEyeNMirrors(unsigned int eye) {
  RequireValidEye(eye, "GetEyeNMirrors");
  return GetEyeLastMirrorNo(eye);
}

unsigned int Kz::GetEyeLastMirrorNo(unsigned int eye) {
  RequireValidEye(eye, "GetEyeLastMirrorNo");
  return eye == kKZ_LAST_EYE ? kLOFT_NMIRRORS : kEYE_NMIRRORS;
}

unsigned int Kz::GetKzLastMirrorNo(unsigned int eye) {
  return GetEyeLastMirrorNo(eye) + (eye - 1) * kEYE_NMIRRORS;
}

unsigned int Kz::GetKzFirstMirrorNo(unsigned int eye) {
  RequireValidEye(eye, "GetKzFirstMirrorNo");
  if (eye == kKZ_FIRST_EYE) return kKZ_FIRST_MIRROR;
  return GetKzLastMirrorNo(eye - 1) - 1;
}

}  // namespace KzUtil
