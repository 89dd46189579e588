// Numbering of eyes, mirrors and camera pixels: the constants, the packed number
// records and the conversions between eye-local and observatory-wide ("Kz") numbers.
//   Kz::PixelNumberRec p{};
//   Kz::SetEyeNo(&p, 5); Kz::SetMirrorNo(&p, 3); Kz::SetPixelNo(&p, 480);
//   unsigned int k = Kz::GetKzPixelNo(&p);  // 12960
#ifndef KZUTIL_KZNUMBERING_H
#define KZUTIL_KZNUMBERING_H

#include <cstdint>

class TBuffer;

namespace KzUtil {

class Kz {
 public:
  static constexpr int kKZ_NEYES = 5;
  static constexpr int kKZ_FIRST_EYE = 1;
  static constexpr int kKZ_LAST_EYE = 5;
  static constexpr int kEYE_NMIRRORS = 6;
  static constexpr int kLOFT_NMIRRORS = 3;  // eye 5
  static constexpr int kKZ_NMIRRORS = 27;
  static constexpr int kEYE_FIRST_MIRROR = 1;
  static constexpr int kEYE_LAST_MIRROR = 6;
  static constexpr int kKZ_FIRST_MIRROR = 1;
  static constexpr int kKZ_LAST_MIRROR = 27;
  static constexpr int kMI_NCOLS = 20;
  static constexpr int kMI_NROWS = 22;
  static constexpr int kMI_NPIXELS = 440;
  static constexpr int kMI_NEXTROWS = 24;  // with the two virtual-channel rows
  static constexpr int kMI_NEXTPIXELS = 480;
  static constexpr int kEYE_NEXTPIXELS = 2880;
  static constexpr int kMI_NVCHANNELS = 2;  // per column
  static constexpr int kMI_FIRST_VCHANNEL = 1;
  static constexpr int kMI_LAST_VCHANNEL = 2;
  static constexpr int kMI_VC1_ROW = 23;
  static constexpr int kMI_VC2_ROW = 24;
  static constexpr int kMI_LAST_VCROW = 24;
  static constexpr int kMI_NVC_CHANNELS = 40;  // per camera
  static constexpr int kKZ_FIRST_PIXEL = 1;
  static constexpr int kEYE_FIRST_PIXEL = 1;
  static constexpr int kMI_FIRST_PIXEL = 1;
  static constexpr int kMI_LAST_PIXEL = 440;
  static constexpr int kMI_LAST_EXTPIXEL = 480;
  static constexpr int kMI_FIRST_COL = 1;
  static constexpr int kMI_LAST_COL = 20;
  static constexpr int kMI_FIRST_ROW = 1;
  static constexpr int kMI_LAST_ROW = 22;
  static constexpr int kMI_FIRST_MODULE = 0;
  static constexpr int kMI_LAST_MODULE = 19;
  static constexpr int kMI_FIRST_CHANNEL = 0;
  static constexpr int kMI_N_CHANNELS = 62;
  static constexpr int kMI_LAST_CHANNEL = 61;
  static constexpr int kMI_NSLT_BINS_v3 = 100;
  static constexpr int kMI_NSLT_BINS_v4 = 1000;
  static constexpr int kMI_NSLT_BINS = 100;
  static constexpr int kMI_NMULT_BINS = 1000;
  static constexpr int kMI_NFADC_BINS_v3 = 1000;
  static constexpr int kMI_NFADC_BINS_LOW = 1000;
  static constexpr int kMI_NFADC_BINS_MED = 2000;
  static constexpr int kMI_NFADC_BINS_HIGH = 4000;
  static constexpr int kMI_NFADC_BINS_DEFAULT = 2000;

  static constexpr int kClassVersion = 0;  // of the interpreter dictionary

  // Eye-local pixel address.
  union _PixelNumber {
    int32_t fPixelNumber;  // the whole value
    struct {
      unsigned int fPixelNo : 9;   // camera pixel 1..480
      unsigned int fMirrorNo : 3;  // eye-local mirror 1..6
      unsigned int fEyeNo : 3;     // eye 1..5
      unsigned int fTrigger : 1;   // carried along, never interpreted
    } fBits;
  };
  typedef _PixelNumber PixelNumberRec;
  typedef _PixelNumber* PixelNumber;

  // Observatory-wide pixel address.
  union _KzPixelNumber {
    int16_t fPixelNumber;  // the whole value
    struct {
      unsigned int fPixelNo : 14;  // Kz pixel 1..12960
      unsigned int fBit0 : 1;      // flag, never interpreted
      unsigned int fBit1 : 1;      // flag, never interpreted
    } fBits;
  };
  typedef _KzPixelNumber KzPixelNumberRec;
  typedef _KzPixelNumber* KzPixelNumber;

  // Mirror address: Kz mirror and eye.
  union _MirrorNumber {
    int16_t fMirrorNumber;  // the whole value
    struct {
      unsigned int fMirrorNo : 5;  // Kz mirror 1..27
      unsigned int fEyeNo : 3;     // eye 1..5
    } fBits;
  };
  typedef _MirrorNumber MirrorNumberRec;
  typedef _MirrorNumber* MirrorNumber;

  virtual ~Kz() = default;
  // Kz objects carry no data; this only reports that they cannot be streamed.
  void Streamer(TBuffer& buffer);

  // --- _PixelNumber ---
  static unsigned int GetEyeNo(const _PixelNumber* p) { return p->fBits.fEyeNo; }
  static unsigned int GetMirrorNo(const _PixelNumber* p) { return p->fBits.fMirrorNo; }
  static unsigned int GetPixelNo(const _PixelNumber* p) { return p->fBits.fPixelNo; }
  static unsigned int GetKzMirrorNo(unsigned int eye, unsigned int mirror) {
    return eye * kEYE_NMIRRORS + mirror - kEYE_NMIRRORS;
  }
  static unsigned int GetKzMirrorNo(const _PixelNumber* p) {
    return GetKzMirrorNo(GetEyeNo(p), GetMirrorNo(p));
  }
  static unsigned int GetMirrorNoFromKzMirrorNo(unsigned int k) {
    return (k - 1) % kEYE_NMIRRORS + 1;
  }
  static unsigned int GetEyeNoFromKzMirrorNo(unsigned int k) { return (k - 1) / kEYE_NMIRRORS + 1; }
  // Rows 23 and 24 hold the virtual channels 441..480, two per column.
  static unsigned int GetColumnNo(const _PixelNumber* p) {
    const unsigned int n = GetPixelNo(p);
    if (n <= kMI_LAST_PIXEL) return (n - 1) / kMI_NROWS + 1;
    return (n - kMI_LAST_PIXEL - 1) / kMI_NVCHANNELS + 1;
  }
  static unsigned int GetRowNo(const _PixelNumber* p) {
    const unsigned int n = GetPixelNo(p);
    if (n > kMI_LAST_PIXEL) return (n - kMI_LAST_PIXEL - 1) % kMI_NVCHANNELS + kMI_VC1_ROW;
    return (n - 1) % kMI_NROWS + 1;
  }
  static unsigned int GetModuleNo(const _PixelNumber* p) { return GetColumnNo(p) - 1; }
  static unsigned int GetChannelNo(const _PixelNumber* p) { return GetRowNo(p) - 1; }
  static unsigned int GetEyePixelNo(const _PixelNumber* p) {
    return GetPixelNo(p) + (GetMirrorNo(p) - 1) * kMI_NEXTPIXELS;
  }
  // Shared result record: each call overwrites the previous result; bits 14, 15 are kept.
  static _KzPixelNumber* GetKzPixelNumber(const _PixelNumber* p) {
    _KzPixelNumber* k = SharedKzPixelNumber();
    k->fBits.fPixelNo =
        (((GetEyeNo(p) - 1) * kEYE_NMIRRORS + (GetMirrorNo(p) - 1)) * kMI_NEXTPIXELS +
         GetPixelNo(p)) &
        kMask14;
    return k;
  }
  static unsigned int GetKzPixelNo(const _PixelNumber* p) {
    return GetKzPixelNumber(p)->fBits.fPixelNo;
  }

  static void SetEyeNo(_PixelNumber* p, unsigned int e) { p->fBits.fEyeNo = e & kMask3; }
  static void SetMirrorNo(_PixelNumber* p, unsigned int m) { p->fBits.fMirrorNo = m & kMask3; }
  static void SetPixelNo(_PixelNumber* p, unsigned int n) { p->fBits.fPixelNo = n & kMask9; }
  // Column 1..20; row 1..22 for real pixels, 23..24 for the virtual channels.
  static void SetPixelNoFromColumnRow(_PixelNumber* p, unsigned int col, unsigned int row) {
    if (row < kMI_VC1_ROW)
      SetPixelNo(p, row + col * kMI_NROWS - kMI_NROWS);
    else
      SetPixelNo(p, row + col * kMI_NVCHANNELS + (kMI_LAST_PIXEL - kMI_NROWS - kMI_NVCHANNELS));
  }
  static void SetPixelNoFromModuleChannel(_PixelNumber* p, unsigned int mod, unsigned int ch) {
    SetPixelNoFromColumnRow(p, mod + 1, ch + 1);
  }
  // The whole record becomes the eye-local form of Kz pixel k.
  static void SetKzPixelNo(_PixelNumber* p, unsigned int k) {
    _KzPixelNumber kz{};
    SetPixelNo(&kz, k);
    *p = *GetPixelNumber(&kz);
  }
  // This host's eye and mirror, pixel 0.
  static void Set(_PixelNumber* p);

  // --- _MirrorNumber ---
  static unsigned int GetEyeNo(const _MirrorNumber* p) { return p->fBits.fEyeNo; }
  static unsigned int GetKzMirrorNo(const _MirrorNumber* p) { return p->fBits.fMirrorNo; }
  static unsigned int GetMirrorNo(const _MirrorNumber* p) {
    return GetMirrorNoFromKzMirrorNo(GetKzMirrorNo(p));
  }
  // Eye 1..5; logs and leaves p unchanged otherwise.
  static void SetEyeNo(_MirrorNumber* p, unsigned int e);
  // k in 1..27: eye-local when at most 6 and the eye is set, else a Kz mirror.
  static void SetMirrorNo(_MirrorNumber* p, unsigned int k);
  // k in 1..27 as a Kz mirror; the eye stays as it is.
  static void SetKzMirrorNo(_MirrorNumber* p, unsigned int k);
  // This host's eye and its Kz mirror.
  static void Set(_MirrorNumber* p);

  // --- _KzPixelNumber ---
  static unsigned int GetPixelNo(const _KzPixelNumber* p) { return p->fBits.fPixelNo; }
  static unsigned int GetEyeNo(const _KzPixelNumber* p) {
    return (GetPixelNo(p) - 1) / kEYE_NEXTPIXELS + 1;
  }
  // The Kz mirror 1..27, not the eye-local one.
  static unsigned int GetMirrorNo(const _KzPixelNumber* p) {
    return (GetPixelNo(p) - 1) / kMI_NEXTPIXELS + 1;
  }
  static unsigned int GetEyeMirrorNo(const _KzPixelNumber* p) {
    return ((GetPixelNo(p) - 1) / kMI_NEXTPIXELS) % kEYE_NMIRRORS + 1;
  }
  static unsigned int GetMirrorPixelNo(const _KzPixelNumber* p) {
    return (GetPixelNo(p) - 1) % kMI_NEXTPIXELS + 1;
  }
  static unsigned int GetEyePixelNo(const _KzPixelNumber* p) {
    return (GetPixelNo(p) - 1) % kMI_NEXTPIXELS +
           ((GetMirrorNo(p) - 1) % kEYE_NMIRRORS) * kMI_NEXTPIXELS + 1;
  }
  // Shared result record: each call overwrites the previous result. Its mirror
  // field is the Kz mirror cut to three bits, not the eye-local mirror.
  static _PixelNumber* GetPixelNumber(const _KzPixelNumber* p) {
    _PixelNumber* e = SharedPixelNumber();
    e->fBits.fEyeNo = GetEyeNo(p) & kMask3;
    e->fBits.fMirrorNo = GetMirrorNo(p) & kMask3;
    e->fBits.fPixelNo = GetMirrorPixelNo(p) & kMask9;
    return e;
  }
  static unsigned int GetColumnNo(const _KzPixelNumber* p) {
    return GetColumnNo(GetPixelNumber(p));
  }
  static unsigned int GetRowNo(const _KzPixelNumber* p) { return GetRowNo(GetPixelNumber(p)); }
  static void SetPixelNo(_KzPixelNumber* p, unsigned int k) { p->fBits.fPixelNo = k & kMask14; }
  // Round trip through the eye-local form with the eye replaced.
  static void SetEyeNo(_KzPixelNumber* p, unsigned int e) {
    _PixelNumber* local = GetPixelNumber(p);
    SetEyeNo(local, e);
    p->fPixelNumber = GetKzPixelNumber(local)->fPixelNumber;
  }

  // --- eyes (range-checked: log, then throw std::logic_error) ---
  static unsigned int GetEyeNMirrors(unsigned int eye);
  static unsigned int GetEyeLastMirrorNo(unsigned int eye);
  static unsigned int GetKzLastMirrorNo(unsigned int eye);
  // 1, 5, 11, 17, 23: the previous eye's last Kz mirror minus one, kept as it has always been.
  static unsigned int GetKzFirstMirrorNo(unsigned int eye);

 private:
  static constexpr unsigned int kMask3 = 0x7;
  static constexpr unsigned int kMask5 = 0x1f;
  static constexpr unsigned int kMask9 = 0x1ff;
  static constexpr unsigned int kMask14 = 0x3fff;

  static _KzPixelNumber* SharedKzPixelNumber() {
    static _KzPixelNumber shared{};  // constant-initialised: no guard on the hot path
    return &shared;
  }
  static _PixelNumber* SharedPixelNumber() {
    static _PixelNumber shared{};
    return &shared;
  }
};

static_assert(sizeof(Kz::_PixelNumber) == 4, "packed pixel number is 4 bytes");
static_assert(sizeof(Kz::_KzPixelNumber) == 4, "packed Kz pixel number is 4 bytes");
static_assert(sizeof(Kz::_MirrorNumber) == 4, "packed mirror number is 4 bytes");

}  // namespace KzUtil

#endif
