#include "KzNumbering.h"

#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ErrorLogger.h"

// The library only forward-declares the framework's buffer; any complete type will do here.
class TBuffer {};

namespace KzUtil {
namespace {

Kz::PixelNumberRec Pixel(unsigned int eye, unsigned int mirror, unsigned int pixel) {
  Kz::PixelNumberRec p{};
  Kz::SetEyeNo(&p, eye);
  Kz::SetMirrorNo(&p, mirror);
  Kz::SetPixelNo(&p, pixel);
  return p;
}

Kz::KzPixelNumberRec KzPixel(unsigned int k) {
  Kz::KzPixelNumberRec p{};
  Kz::SetPixelNo(&p, k);
  return p;
}

Kz::MirrorNumberRec Mirror(unsigned int eye, unsigned int kzMirror) {
  Kz::MirrorNumberRec m{};
  m.fBits.fEyeNo = eye;
  m.fBits.fMirrorNo = kzMirror;
  return m;
}

// Catches what the numbering logs, line by line.
class KzLogged : public ::testing::Test {
 protected:
  void SetUp() override { ErrorLogger::GetInstance().SetStream(&fLog); }
  void TearDown() override { ErrorLogger::GetInstance().SetStream(&std::clog); }
  std::string Logged() const { return fLog.str(); }

 private:
  std::ostringstream fLog;
};

TEST(KzConstants, CountsAgreeWithTheCameraAndEyeLayout) {
  EXPECT_EQ(Kz::kMI_NPIXELS, Kz::kMI_NCOLS * Kz::kMI_NROWS);
  EXPECT_EQ(Kz::kMI_NEXTPIXELS, Kz::kMI_NCOLS * Kz::kMI_NEXTROWS);
  EXPECT_EQ(Kz::kMI_NVC_CHANNELS, Kz::kMI_NCOLS * Kz::kMI_NVCHANNELS);
  EXPECT_EQ(Kz::kEYE_NEXTPIXELS, Kz::kEYE_NMIRRORS * Kz::kMI_NEXTPIXELS);
  EXPECT_EQ(Kz::kKZ_NMIRRORS, (Kz::kKZ_NEYES - 1) * Kz::kEYE_NMIRRORS + Kz::kLOFT_NMIRRORS);
  EXPECT_EQ(Kz::kMI_LAST_CHANNEL, Kz::kMI_N_CHANNELS - 1);
  EXPECT_EQ(Kz::kMI_LAST_MODULE, Kz::kMI_LAST_COL - 1);
}

TEST(PackedRecords, FieldsSitAtTheirBitsFromBitZero) {
  Kz::PixelNumberRec p = Pixel(5, 3, 480);
  EXPECT_EQ(p.fPixelNumber, (5 << 12) | (3 << 9) | 480);
  p.fBits.fTrigger = 1;
  EXPECT_EQ(p.fPixelNumber, 0x8000 | (5 << 12) | (3 << 9) | 480);

  EXPECT_EQ(Mirror(2, 8).fMirrorNumber, (2 << 5) | 8);

  Kz::KzPixelNumberRec k = KzPixel(12960);
  k.fBits.fBit0 = 1;
  EXPECT_EQ(k.fPixelNumber, 0x4000 | 12960);
}

TEST(PackedRecords, OverWideValuesLoseTheirHighBitsOnly) {
  Kz::PixelNumberRec p = Pixel(5, 6, 480);
  Kz::SetPixelNo(&p, 512 + 7);
  Kz::SetEyeNo(&p, 9);
  EXPECT_EQ(Kz::GetPixelNo(&p), 7u);
  EXPECT_EQ(Kz::GetEyeNo(&p), 1u);
  EXPECT_EQ(Kz::GetMirrorNo(&p), 6u);
  Kz::SetMirrorNo(&p, 8);
  EXPECT_EQ(Kz::GetMirrorNo(&p), 0u);
  EXPECT_EQ(Kz::GetEyeNo(&p), 1u);

  Kz::KzPixelNumberRec k = KzPixel(0x4000 + 5);
  k.fBits.fBit1 = 1;
  Kz::SetPixelNo(&k, 0xffff);
  EXPECT_EQ(Kz::GetPixelNo(&k), 0x3fffu);
  EXPECT_EQ(k.fBits.fBit1, 1u);
}

TEST(CameraLayout, RealPixelsRunDownTheColumns) {
  Kz::PixelNumberRec p = Pixel(1, 1, 1);
  EXPECT_EQ(Kz::GetColumnNo(&p), 1u);
  EXPECT_EQ(Kz::GetRowNo(&p), 1u);
  Kz::SetPixelNo(&p, 22);
  EXPECT_EQ(Kz::GetColumnNo(&p), 1u);
  EXPECT_EQ(Kz::GetRowNo(&p), 22u);
  Kz::SetPixelNo(&p, 23);
  EXPECT_EQ(Kz::GetColumnNo(&p), 2u);
  EXPECT_EQ(Kz::GetRowNo(&p), 1u);
  Kz::SetPixelNo(&p, 440);
  EXPECT_EQ(Kz::GetColumnNo(&p), 20u);
  EXPECT_EQ(Kz::GetRowNo(&p), 22u);
  EXPECT_EQ(Kz::GetModuleNo(&p), 19u);
  EXPECT_EQ(Kz::GetChannelNo(&p), 21u);
}

TEST(CameraLayout, VirtualChannelsFillRows23And24ColumnByColumn) {
  Kz::PixelNumberRec p = Pixel(1, 1, 441);
  EXPECT_EQ(Kz::GetColumnNo(&p), 1u);
  EXPECT_EQ(Kz::GetRowNo(&p), 23u);
  Kz::SetPixelNo(&p, 442);
  EXPECT_EQ(Kz::GetColumnNo(&p), 1u);
  EXPECT_EQ(Kz::GetRowNo(&p), 24u);
  Kz::SetPixelNo(&p, 480);
  EXPECT_EQ(Kz::GetColumnNo(&p), 20u);
  EXPECT_EQ(Kz::GetRowNo(&p), 24u);
  EXPECT_EQ(Kz::GetChannelNo(&p), 23u);
}

TEST(CameraLayout, ColumnAndRowLeadBackToEveryPixel) {
  Kz::PixelNumberRec p{};
  for (unsigned int n = 1; n <= Kz::kMI_LAST_EXTPIXEL; ++n) {
    Kz::SetPixelNo(&p, n);
    const unsigned int col = Kz::GetColumnNo(&p);
    const unsigned int row = Kz::GetRowNo(&p);
    ASSERT_GE(col, 1u);
    ASSERT_LE(col, 20u);
    Kz::PixelNumberRec q{};
    Kz::SetPixelNoFromColumnRow(&q, col, row);
    ASSERT_EQ(Kz::GetPixelNo(&q), n) << "column " << col << " row " << row;
    Kz::SetPixelNoFromModuleChannel(&q, col - 1, row - 1);
    ASSERT_EQ(Kz::GetPixelNo(&q), n);
  }
}

TEST(CameraLayout, ColumnRowGivesTheVirtualChannelCorners) {
  Kz::PixelNumberRec p{};
  Kz::SetPixelNoFromColumnRow(&p, 1, 23);
  EXPECT_EQ(Kz::GetPixelNo(&p), 441u);
  Kz::SetPixelNoFromColumnRow(&p, 20, 24);
  EXPECT_EQ(Kz::GetPixelNo(&p), 480u);
  Kz::SetPixelNoFromModuleChannel(&p, 19, 21);
  EXPECT_EQ(Kz::GetPixelNo(&p), 440u);
}

TEST(KzMirrorNumbers, LoftMirrorsFollowTheFourRegularEyes) {
  EXPECT_EQ(Kz::GetKzMirrorNo(1, 1), 1u);
  EXPECT_EQ(Kz::GetKzMirrorNo(4, 6), 24u);
  EXPECT_EQ(Kz::GetKzMirrorNo(5, 3), 27u);
  const Kz::PixelNumberRec p = Pixel(2, 2, 1);
  EXPECT_EQ(Kz::GetKzMirrorNo(&p), 8u);
  EXPECT_EQ(Kz::GetEyeNoFromKzMirrorNo(24), 4u);
  EXPECT_EQ(Kz::GetEyeNoFromKzMirrorNo(25), 5u);
  EXPECT_EQ(Kz::GetMirrorNoFromKzMirrorNo(6), 6u);
  EXPECT_EQ(Kz::GetMirrorNoFromKzMirrorNo(7), 1u);
  EXPECT_EQ(Kz::GetMirrorNoFromKzMirrorNo(27), 3u);
}

TEST(KzPixelNumbers, FirstAndLastPixelOfTheObservatory) {
  Kz::PixelNumberRec first = Pixel(1, 1, 1);
  Kz::PixelNumberRec last = Pixel(5, 3, 480);
  EXPECT_EQ(Kz::GetKzPixelNo(&first), 1u);
  EXPECT_EQ(Kz::GetKzPixelNo(&last), 12960u);
  EXPECT_EQ(Kz::GetEyePixelNo(&last), 1440u);

  Kz::KzPixelNumberRec k = KzPixel(12960);
  EXPECT_EQ(Kz::GetEyeNo(&k), 5u);
  EXPECT_EQ(Kz::GetMirrorNo(&k), 27u);
  EXPECT_EQ(Kz::GetEyeMirrorNo(&k), 3u);
  EXPECT_EQ(Kz::GetMirrorPixelNo(&k), 480u);
  EXPECT_EQ(Kz::GetEyePixelNo(&k), 1440u);
  EXPECT_EQ(Kz::GetColumnNo(&k), 20u);
  EXPECT_EQ(Kz::GetRowNo(&k), 24u);
}

TEST(KzPixelNumbers, OutOfRangeFieldsWrapIntoFourteenBits) {
  Kz::PixelNumberRec p = Pixel(7, 7, 511);
  EXPECT_EQ(Kz::GetKzPixelNo(&p), ((6u * 6 + 6) * 480 + 511) & 0x3fff);
  EXPECT_EQ(Kz::GetKzPixelNumber(&p)->fBits.fBit0, 0u);
}

TEST(KzPixelNumbers, ResultRecordIsSharedAndKeepsItsFlags) {
  Kz::PixelNumberRec a = Pixel(1, 1, 5);
  Kz::PixelNumberRec b = Pixel(2, 1, 5);
  Kz::KzPixelNumber first = Kz::GetKzPixelNumber(&a);
  first->fBits.fBit1 = 1;
  Kz::KzPixelNumber second = Kz::GetKzPixelNumber(&b);
  EXPECT_EQ(first, second);
  EXPECT_EQ(Kz::GetPixelNo(first), 2885u);
  EXPECT_EQ(second->fBits.fBit1, 1u);
  second->fBits.fBit1 = 0;
}

TEST(KzPixelNumbers, EyeLocalFormCarriesTheKzMirrorInItsMirrorField) {
  Kz::KzPixelNumberRec k = KzPixel(3361);  // eye 2, Kz mirror 8, pixel 1
  Kz::PixelNumber p = Kz::GetPixelNumber(&k);
  EXPECT_EQ(Kz::GetEyeNo(p), 2u);
  EXPECT_EQ(Kz::GetMirrorNo(p), 0u);  // 8 cut to three bits
  EXPECT_EQ(Kz::GetPixelNo(p), 1u);
  EXPECT_EQ(Kz::GetEyeMirrorNo(&k), 2u);

  Kz::KzPixelNumberRec other = KzPixel(2881);
  EXPECT_EQ(Kz::GetPixelNumber(&other), p);
  EXPECT_EQ(Kz::GetMirrorNo(p), 7u);
}

TEST(KzPixelNumbers, SettingAKzPixelReplacesTheWholeRecord) {
  Kz::PixelNumberRec p = Pixel(1, 1, 1);
  Kz::SetKzPixelNo(&p, 12960);
  EXPECT_EQ(Kz::GetEyeNo(&p), 5u);
  EXPECT_EQ(Kz::GetMirrorNo(&p), 3u);
  EXPECT_EQ(Kz::GetPixelNo(&p), 480u);
  Kz::SetKzPixelNo(&p, 0x4000 + 1);
  EXPECT_EQ(p.fPixelNumber, Pixel(1, 1, 1).fPixelNumber);
}

TEST(KzPixelNumbers, EyeOfAKzPixelIsReplacedThroughTheEyeLocalForm) {
  Kz::KzPixelNumberRec k = KzPixel(1);
  Kz::SetEyeNo(&k, 3);
  EXPECT_EQ(Kz::GetPixelNo(&k), 5761u);
  EXPECT_EQ(Kz::GetEyeNo(&k), 3u);
  EXPECT_EQ(Kz::GetEyeMirrorNo(&k), 1u);
}

using MirrorRecordSetters = KzLogged;

TEST_F(MirrorRecordSetters, SmallMirrorIsEyeLocalOnceTheEyeIsKnown) {
  Kz::MirrorNumberRec m = Mirror(3, 0);
  Kz::SetMirrorNo(&m, 4);
  EXPECT_EQ(Kz::GetKzMirrorNo(&m), 16u);
  EXPECT_EQ(Kz::GetMirrorNo(&m), 4u);
  Kz::SetMirrorNo(&m, 7);
  EXPECT_EQ(Kz::GetKzMirrorNo(&m), 7u);

  Kz::MirrorNumberRec noEye{};
  Kz::SetMirrorNo(&noEye, 4);
  EXPECT_EQ(Kz::GetKzMirrorNo(&noEye), 4u);
  EXPECT_EQ(Logged(), "");
}

TEST_F(MirrorRecordSetters, MirrorOutsideOneTo27IsLoggedAndIgnored) {
  Kz::MirrorNumberRec m = Mirror(3, 16);
  Kz::SetMirrorNo(&m, 28);
  Kz::SetMirrorNo(&m, 0);
  Kz::SetKzMirrorNo(&m, 28);
  EXPECT_EQ(m.fMirrorNumber, Mirror(3, 16).fMirrorNumber);
  EXPECT_EQ(Logged(),
            "Kz::SetMirrorNo(MirrorNumber) - Mirror number 28 is not inside valid range !\n"
            "Kz::SetMirrorNo(MirrorNumber) - Mirror number 0 is not inside valid range !\n"
            "Kz::SetKzMirrorNo(MirrorNumber) - Mirror number 28 is not inside valid range !\n");
}

TEST_F(MirrorRecordSetters, KzMirrorLeavesTheEyeAlone) {
  Kz::MirrorNumberRec m = Mirror(3, 16);
  Kz::SetKzMirrorNo(&m, 2);
  EXPECT_EQ(Kz::GetEyeNo(&m), 3u);
  EXPECT_EQ(Kz::GetKzMirrorNo(&m), 2u);
  Kz::SetKzMirrorNo(&m, 27);
  EXPECT_EQ(Kz::GetKzMirrorNo(&m), 27u);
  EXPECT_EQ(Kz::GetMirrorNo(&m), 3u);
}

TEST_F(MirrorRecordSetters, EyeOutsideOneToFiveIsLoggedAndIgnored) {
  Kz::MirrorNumberRec m = Mirror(2, 8);
  Kz::SetEyeNo(&m, 6);
  Kz::SetEyeNo(&m, 0);
  EXPECT_EQ(Kz::GetEyeNo(&m), 2u);
  Kz::SetEyeNo(&m, 5);
  EXPECT_EQ(Kz::GetEyeNo(&m), 5u);
  EXPECT_EQ(Kz::GetKzMirrorNo(&m), 8u);
  EXPECT_EQ(Logged(),
            "Kz::SetEyeNo(MirrorNumber) - Eye number 6 is not inside valid range !\n"
            "Kz::SetEyeNo(MirrorNumber) - Eye number 0 is not inside valid range !\n");
}

TEST_F(MirrorRecordSetters, NumberIsPrintedUnsigned) {
  Kz::MirrorNumberRec m{};
  Kz::SetKzMirrorNo(&m, static_cast<unsigned int>(-1));
  EXPECT_EQ(Logged(),
            "Kz::SetKzMirrorNo(MirrorNumber) - Mirror number 4294967295 is not inside valid "
            "range !\n");
}

using EyeQueries = KzLogged;

TEST_F(EyeQueries, LoftEyeHasThreeMirrors) {
  EXPECT_EQ(Kz::GetEyeLastMirrorNo(1), 6u);
  EXPECT_EQ(Kz::GetEyeLastMirrorNo(5), 3u);
  EXPECT_EQ(Kz::GetEyeNMirrors(4), 6u);
  EXPECT_EQ(Kz::GetEyeNMirrors(5), 3u);
  EXPECT_EQ(Kz::GetKzLastMirrorNo(1), 6u);
  EXPECT_EQ(Kz::GetKzLastMirrorNo(5), 27u);
  EXPECT_EQ(Logged(), "");
}

TEST_F(EyeQueries, FirstKzMirrorIsThePreviousEyesLastMinusOne) {
  const unsigned int expected[] = {1, 5, 11, 17, 23};
  for (unsigned int eye = 1; eye <= 5; ++eye)
    EXPECT_EQ(Kz::GetKzFirstMirrorNo(eye), expected[eye - 1]) << "eye " << eye;
}

// Calls query(eye), expects std::logic_error and returns what was logged.
template <class Query>
std::string RefusedEye(Query query, unsigned int eye) {
  std::ostringstream log;
  ErrorLogger::GetInstance().SetStream(&log);
  try {
    query(eye);
    ADD_FAILURE() << "eye " << eye << " accepted";
  } catch (const std::logic_error& e) {
    EXPECT_STREQ(e.what(), "Eye number outside valid range");
  }
  ErrorLogger::GetInstance().SetStream(&std::clog);
  return log.str();
}

TEST(EyeQueriesRefuse, EyesZeroAndSixWithTheirMessage) {
  EXPECT_EQ(RefusedEye(Kz::GetEyeNMirrors, 0),
            "Kz::GetEyeNMirrors() - Eye number 0 is outside valid range!\n");
  EXPECT_EQ(RefusedEye(Kz::GetEyeNMirrors, 6),
            "Kz::GetEyeNMirrors() - Eye number 6 is outside valid range!\n");
  EXPECT_EQ(RefusedEye(Kz::GetEyeLastMirrorNo, 6),
            "Kz::GetEyeLastMirrorNo() - Eye number 6 is outside valid range!\n");
  EXPECT_EQ(RefusedEye(Kz::GetKzFirstMirrorNo, 0),
            "Kz::GetKzFirstMirrorNo() - Eye number 0 is outside valid range!\n");
  EXPECT_EQ(RefusedEye(Kz::GetKzFirstMirrorNo, 6),
            "Kz::GetKzFirstMirrorNo() - Eye number 6 is outside valid range!\n");
}

TEST(EyeQueriesRefuse, LastKzMirrorFailsThroughTheEyesLastMirror) {
  EXPECT_EQ(RefusedEye(Kz::GetKzLastMirrorNo, 0),
            "Kz::GetEyeLastMirrorNo() - Eye number 0 is outside valid range!\n");
}

using KzStreaming = KzLogged;

TEST_F(KzStreaming, StreamerOnlyReportsThatKzCannotBeStreamed) {
  Kz kz;
  TBuffer buffer;
  kz.Streamer(buffer);
  EXPECT_EQ(Logged(), "Kz::Streamer() - objects of type KzUtil::Kz cannot be streamed !\n");
  EXPECT_EQ(Kz::kClassVersion, 0);
}

}  // namespace
}  // namespace KzUtil
