// Where the telescopes and every camera pixel look: the built-in or configured axes, the
// pixel-direction computation and one shared, read-only object per telescope axis.
//   KzGeometry::ReadCameraPointing(site);  // optional: the axes of an InifileChain's "Geometry"
//   const KzGeometry& g = KzGeometry::GetInstance(3, 2);  // eye 3, mirror 2
//   double az = g.GetPixelAzimuth(10, 22), el = g.GetPixelElevation(10, 22);
#ifndef KZUTIL_KZGEOMETRY_H
#define KZUTIL_KZGEOMETRY_H

#include <map>
#include <vector>

#include "KzNumbering.h"

namespace KzUtil {

class InifileChain;

// Tilt of a LOFT telescope; an unknown tilt counts as the default position.
enum ETiltPosition : int {
  kPositionDown = -1,
  kPositionUnknown = 0,
  kPositionDefault = 0,
  kPositionUp = 1
};

class KzGeometry {
 public:
  static constexpr unsigned int kNTELESCOPES = 28;           // absolute ids 0..27
  static constexpr unsigned int kNFIXED_TELESCOPES = 25;     // ids 0..24: reference, eyes 1..4
  static constexpr unsigned int kFIRST_LOFT_TELESCOPE = 25;  // LOFT telescopes are ids 25..27
  static constexpr unsigned int kNLOFT_TELESCOPES = 3;
  static constexpr unsigned int kNTILT_SLOTS = 3;        // tilted down, tilted up, default
  static constexpr unsigned int kLOFT_DOWN_SLOT = 0;     // slot of kPositionDown
  static constexpr unsigned int kLOFT_UP_SLOT = 1;       // slot of kPositionUp
  static constexpr unsigned int kLOFT_DEFAULT_SLOT = 2;  // slot of the default position
  // fTelescopeId of an instance built for an axis rather than a telescope.
  static constexpr unsigned int kAXIS_INSTANCE_ID = 99;

  // A telescope axis in degrees; also the key of the instance map.
  struct _CameraPointingRec {
    mutable unsigned int fHashValue;  // map key, 0 = not computed yet
    double fAzimuth;                  // degrees, any range
    double fElevation;                // degrees, not negative
    constexpr _CameraPointingRec() : fHashValue(0), fAzimuth(0), fElevation(0) {}
    constexpr _CameraPointingRec(double azimuth, double elevation)
        : fHashValue(0), fAzimuth(azimuth), fElevation(elevation) {}
    // Azimuth hundredths (0..360) and elevation thousandths (0..90) folded into one number,
    // stored in fHashValue; throws std::logic_error for a negative elevation and
    // std::invalid_argument for an angle that is not finite.
    unsigned int CalculateHash() const;
    // The cached hash, computed first while it is 0.
    unsigned int GetHashValue() const { return fHashValue ? fHashValue : CalculateHash(); }
  };
  typedef _CameraPointingRec CameraPointing_t;

  // Position of one eye. The table below holds example site data.
  struct _EyeGeometryRec {
    double fLongitude;      // degrees, negative = west
    double fLatitude;       // degrees, negative = south
    double fGPSAltitude;    // metres
    double fFloorAltitude;  // metres
    double fAngleToEast;    // degrees
  };
  typedef _EyeGeometryRec EyeGeometry_t;

  // Reads the current axis of telescope abs_tel_id; may overwrite both angles.
  typedef int (*GetAxisFunc_t)(unsigned int abs_tel_id, double& azimuth, double& elevation);

  struct _CameraGeometryRec {
    _CameraPointingRec fAxis;    // current axis of the telescope
    GetAxisFunc_t fGetAxisFunc;  // axis reader, null = none
    bool fAutomatic;             // take the axis from fGetAxisFunc when it is re-read
    constexpr _CameraGeometryRec() : fAxis(), fGetAxisFunc(nullptr), fAutomatic(false) {}
  };
  typedef _CameraGeometryRec CameraGeometry_t;

  // Orders axes by their hashes; axes with equal hashes share one instance.
  struct AxisCompare {
    bool operator()(const _CameraPointingRec& x, const _CameraPointingRec& y) const {
      return x.GetHashValue() < y.GetHashValue();
    }
  };
  typedef std::map<_CameraPointingRec, KzGeometry*, AxisCompare> GeometryMap_t;

  static const _EyeGeometryRec fgEyeGeometry[Kz::kKZ_NEYES];  // example site data, eyes 1..5

  // The instance of telescope 0..27 (0 = reference telescope, axis 0, 16).
  static const KzGeometry& GetInstance(unsigned int abs_tel_id) {
    const KzGeometry* built = BuiltInstance(abs_tel_id);
    return built ? *built : FindOrBuildInstance(abs_tel_id);
  }
  // The instance of eye 1..5, mirror 1..6.
  static const KzGeometry& GetInstance(unsigned int eye_id, unsigned int mirror_id);
  // The instance for any axis with elevation >= 0, built on the first request; fills in
  // the axis' fHashValue.
  static const KzGeometry& GetInstance(_CameraPointingRec& axis);

  // The current axis of telescope 0..27.
  static void GetTelescopeAxis(unsigned int abs_tel_id, double& azimuth, double& elevation);
  static double GetTelescopeAzimuth(unsigned int abs_tel_id);
  static double GetTelescopeElevation(unsigned int abs_tel_id);
  // Resets telescope 1..27 to its built-in axis, or, in auto mode, to what its reader says.
  static void SetTelescopeAxis(unsigned int abs_tel_id);
  // Registers the axis reader of telescope 1..27; null removes it.
  static void SetGetAxisFunction(unsigned int abs_tel_id, GetAxisFunc_t func);
  // Applies "axis1".."axis27" ("az el" or "auto az el") and "loft1".."loft3" of group
  // "Geometry"; false, changing nothing, when no file of the chain has the group.
  static bool ReadCameraPointing(InifileChain& inifile);
  // The axis of LOFT telescope 1..3 in a tilt position, as last configured.
  static void GetTelescopeAxis4LOFT(unsigned int loft_tel_id, double& azimuth, double& elevation,
                                    ETiltPosition tilt);

  // Direction of a pixel of the reference camera, column 1..20, row 1..22.
  static double GetPixelAzimuth0(unsigned int column, unsigned int row) {
    return fgDefaultPixelAzimuth[PixelIndex(column, row)];
  }
  static double GetPixelElevation0(unsigned int column, unsigned int row) {
    return fgDefaultPixelElevation[PixelIndex(column, row)];
  }
  // Direction of a pixel of this instance's camera.
  double GetPixelAzimuth(unsigned int column, unsigned int row) const {
    return fPixelAzimuth[PixelIndex(column, row)];
  }
  double GetPixelElevation(unsigned int column, unsigned int row) const {
    return fPixelElevation[PixelIndex(column, row)];
  }

  // Direction of pixel (column, row) of eye 1..5, mirror 1..6.
  static double GetPixelAzimuth(unsigned int eye_id, unsigned int mirror_id, unsigned int column,
                                unsigned int row) {
    return CheckedInstance(eye_id, mirror_id, column, row).GetPixelAzimuth(column, row);
  }
  static double GetPixelElevation(unsigned int eye_id, unsigned int mirror_id, unsigned int column,
                                  unsigned int row) {
    return CheckedInstance(eye_id, mirror_id, column, row).GetPixelElevation(column, row);
  }
  static void GetPixelPointing(unsigned int eye_id, unsigned int mirror_id, unsigned int column,
                               unsigned int row, double& azimuth, double& elevation) {
    azimuth = GetPixelAzimuth(eye_id, mirror_id, column, row);
    elevation = GetPixelElevation(eye_id, mirror_id, column, row);
  }
  // Direction of a packed eye-local pixel number.
  static double GetPixelAzimuth(const Kz::_PixelNumber* pixel) {
    const KzGeometry* built = BuiltInstance(pixel);
    if (built) return built->fPixelAzimuth[pixel->fBits.fPixelNo - 1];
    return GetPixelAzimuth(pixel->fBits.fEyeNo, pixel->fBits.fMirrorNo, Kz::GetColumnNo(pixel),
                           Kz::GetRowNo(pixel));
  }
  static double GetPixelElevation(const Kz::_PixelNumber* pixel) {
    const KzGeometry* built = BuiltInstance(pixel);
    if (built) return built->fPixelElevation[pixel->fBits.fPixelNo - 1];
    return GetPixelElevation(pixel->fBits.fEyeNo, pixel->fBits.fMirrorNo, Kz::GetColumnNo(pixel),
                             Kz::GetRowNo(pixel));
  }
  static void GetPixelPointing(const Kz::_PixelNumber* pixel, double& azimuth, double& elevation) {
    azimuth = GetPixelAzimuth(pixel);
    elevation = GetPixelElevation(pixel);
  }

  unsigned int GetTelescopeId() const { return fTelescopeId; }  // kAXIS_INSTANCE_ID for an axis
  const _CameraPointingRec& GetAxis() const { return fAxis; }   // axis of the pixel tables

  static void SetPrintLevel(unsigned int level) { fgPrintLevel = level; }
  static unsigned int GetPrintLevel() { return fgPrintLevel; }

 protected:
  explicit KzGeometry(unsigned int abs_tel_id);
  explicit KzGeometry(_CameraPointingRec& axis);
  virtual ~KzGeometry();

  // One-time set-up: tables, exit handler and the instances of telescopes 0..27.
  static void InitializeClass();
  // Copies the built-in axes into fgCameraGeometry.
  static void InitializeTables();
  // Fills the pixel tables from fAxis.
  void CalculateAzElevTable();
  // Sets the axis and mode of telescope 1..27; a change above 0.001 degrees rebuilds its instance.
  static void SetTelescopeAxis(unsigned int abs_tel_id, double azimuth, double elevation,
                               bool auto_mode);
  // Lets the telescope's reader overwrite (azimuth, elevation), or warns on behalf of caller.
  static void ReadAxis(const char* caller, unsigned int abs_tel_id, double& azimuth,
                       double& elevation);
  // Logs fgLoftCameraPointing on behalf of caller.
  static void DumpLoftPointing(const char* caller);
  // Reads "loft1".."loft3" of group "Geometry" into fgLoftCameraPointing; a complete default
  // pair also becomes the telescope's axis. False when the group is missing.
  static bool ReadCameraPointing4LOFT(InifileChain& inifile);

  static bool fgClassInitialized;    // set once by InitializeClass
  static unsigned int fgPrintLevel;  // 1 = basic, 2 = debug and dumps
  static const _CameraPointingRec fgDefaultCameraPointing[kNFIXED_TELESCOPES];      // built-in axes
  static _CameraPointingRec fgLoftCameraPointing[kNLOFT_TELESCOPES][kNTILT_SLOTS];  // LOFT axes
  static _CameraGeometryRec fgCameraGeometry[kNTELESCOPES];     // current axis, reader, mode
  static KzGeometry* fgGeometry[kNTELESCOPES];                  // instance of each telescope
  static GeometryMap_t fgGeometryMap;                           // every live instance by axis
  static const float fgDefaultPixelAzimuth[Kz::kMI_NPIXELS];    // reference camera, axis (0, 16)
  static const float fgDefaultPixelElevation[Kz::kMI_NPIXELS];  // reference camera, axis (0, 16)

 private:
  KzGeometry() = delete;
  KzGeometry(const KzGeometry&) = delete;
  KzGeometry& operator=(const KzGeometry&) = delete;

  // Deletes every instance in the map at process exit.
  static void ExitHandler();
  // GetInstance(abs_tel_id) the long way: initialisation, range check, building.
  static const KzGeometry& FindOrBuildInstance(unsigned int abs_tel_id);
  // Logs at eFatal and throws unless first <= abs_tel_id <= 27.
  static void RequireTelescopeId(unsigned int abs_tel_id, unsigned int first, const char* method);
  // Enters this instance in the map, warning on behalf of caller if its axis is there already.
  void EnterMap(const char* caller);
  [[noreturn]] static void ThrowRangeError(const char* text);
  // SpecifyGroup("Geometry"); warns on behalf of caller when no file has it.
  static bool SelectGeometryGroup(InifileChain& inifile, const char* caller);
  // Applies the "axis" entry of telescope 1..27 from the selected group.
  static void ReadAxisEntry(InifileChain& inifile, unsigned int abs_tel_id);
  // Stores the complete (azimuth, elevation) pairs of the "loft" entry of LOFT index 0..2.
  static void ReadLoftEntry(InifileChain& inifile, unsigned int loft);

  // A built instance that GetInstance would return without logging or building; else null.
  // Entries are set only once the class is initialised.
  static const KzGeometry* BuiltInstance(unsigned int abs_tel_id) {
    if (fgPrintLevel > 1 || abs_tel_id >= kNTELESCOPES) return nullptr;
    return fgGeometry[abs_tel_id];
  }
  // The built instance of a valid packed pixel of the 440, whose column-major table index is
  // its pixel number - 1; null when the checked path has to decide.
  static const KzGeometry* BuiltInstance(const Kz::_PixelNumber* pixel) {
    const unsigned int eye = pixel->fBits.fEyeNo, mirror = pixel->fBits.fMirrorNo;
    const unsigned int number = pixel->fBits.fPixelNo;
    if (eye < Kz::kKZ_FIRST_EYE || eye > Kz::kKZ_LAST_EYE) return nullptr;
    if (mirror < Kz::kEYE_FIRST_MIRROR || mirror > Kz::kEYE_LAST_MIRROR) return nullptr;
    if (number < Kz::kMI_FIRST_PIXEL || number > Kz::kMI_LAST_PIXEL) return nullptr;
    return BuiltInstance(Kz::GetKzMirrorNo(eye, mirror));
  }
  // Index of (column, row) in a pixel table; the column is checked first.
  static unsigned int PixelIndex(unsigned int column, unsigned int row) {
    if (column < Kz::kMI_FIRST_COL || column > Kz::kMI_LAST_COL)
      ThrowRangeError("pixel column number invalid");
    if (row < Kz::kMI_FIRST_ROW || row > Kz::kMI_LAST_ROW)
      ThrowRangeError("pixel row number invalid");
    return (column - 1) * Kz::kMI_NROWS + (row - 1);
  }
  // Checks eye, mirror, column and row in this order and returns GetInstance(eye, mirror).
  static const KzGeometry& CheckedInstance(unsigned int eye_id, unsigned int mirror_id,
                                           unsigned int column, unsigned int row) {
    if (eye_id < Kz::kKZ_FIRST_EYE || eye_id > Kz::kKZ_LAST_EYE)
      ThrowRangeError("Eye number invalid");
    if (mirror_id < Kz::kEYE_FIRST_MIRROR || mirror_id > Kz::kEYE_LAST_MIRROR)
      ThrowRangeError("Mirror number invalid");
    PixelIndex(column, row);
    const KzGeometry* built = BuiltInstance(Kz::GetKzMirrorNo(eye_id, mirror_id));
    return built ? *built : GetInstance(eye_id, mirror_id);
  }

  unsigned int fTelescopeId;           // absolute id 0..27, kAXIS_INSTANCE_ID for an axis
  _CameraPointingRec fAxis;            // axis the pixel tables were computed for
  std::vector<float> fPixelAzimuth;    // degrees, 440 entries, column-major
  std::vector<float> fPixelElevation;  // degrees, 440 entries, column-major
};

}  // namespace KzUtil

#endif
