#include "KzNumbering.h"

#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ErrorLogger.h"
#include "KzTestSupport.h"

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

TEST(PackedRecords, FieldsSitAtTheirBitsAndOverWideValuesLoseTheirHighBitsOnly) {
  Kz::PixelNumberRec p = Pixel(5, 3, 480);
  p.fBits.fTrigger = 1;
  EXPECT_EQ(p.fPixelNumber, 0x8000 | (5 << 12) | (3 << 9) | 480);
  Kz::SetPixelNo(&p, 512 + 7);
  Kz::SetEyeNo(&p, 9);
  Kz::SetMirrorNo(&p, 8);
  EXPECT_EQ(p.fPixelNumber, 0x8000 | (1 << 12) | 7);

  EXPECT_EQ(Mirror(2, 8).fMirrorNumber, (2 << 5) | 8);
  Kz::KzPixelNumberRec k = KzPixel(12960);
  k.fBits.fBit0 = 1;
  EXPECT_EQ(k.fPixelNumber, 0x4000 | 12960);
  Kz::SetPixelNo(&k, 0xffff);
  EXPECT_EQ(k.fPixelNumber, 0x4000 | 0x3fff);
}

// Real pixels run down the columns, 22 each; the virtual channels 441..480 then
// fill rows 23 and 24 column by column.
TEST(PixelNumbers, CameraEyeAndObservatoryNumbersCorrespond) {
  const struct {
    unsigned int fEye, fMirror, fPixel, fColumn, fRow, fKzMirror, fKzPixel, fEyePixel;
  } cases[] = {{1, 1, 1, 1, 1, 1, 1, 1},
               {2, 1, 23, 2, 1, 7, 2903, 23},
               {1, 2, 440, 20, 22, 2, 920, 920},
               {4, 6, 441, 1, 23, 24, 11481, 2841},
               {3, 1, 443, 2, 23, 13, 6203, 443},
               {5, 1, 1, 1, 1, 25, 11521, 1},
               {5, 3, 480, 20, 24, 27, 12960, 1440}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message()
                 << "eye " << c.fEye << " mirror " << c.fMirror << " pixel " << c.fPixel);
    Kz::PixelNumberRec p = Pixel(c.fEye, c.fMirror, c.fPixel);
    EXPECT_EQ(Kz::GetColumnNo(&p), c.fColumn);
    EXPECT_EQ(Kz::GetRowNo(&p), c.fRow);
    EXPECT_EQ(Kz::GetModuleNo(&p), c.fColumn - 1);
    EXPECT_EQ(Kz::GetChannelNo(&p), c.fRow - 1);
    EXPECT_EQ(Kz::GetKzMirrorNo(&p), c.fKzMirror);
    EXPECT_EQ(Kz::GetKzMirrorNo(c.fEye, c.fMirror), c.fKzMirror);
    EXPECT_EQ(Kz::GetEyeNoFromKzMirrorNo(c.fKzMirror), c.fEye);
    EXPECT_EQ(Kz::GetMirrorNoFromKzMirrorNo(c.fKzMirror), c.fMirror);
    EXPECT_EQ(Kz::GetKzPixelNo(&p), c.fKzPixel);
    EXPECT_EQ(Kz::GetEyePixelNo(&p), c.fEyePixel);

    Kz::KzPixelNumberRec k = KzPixel(c.fKzPixel);
    EXPECT_EQ(Kz::GetEyeNo(&k), c.fEye);
    EXPECT_EQ(Kz::GetMirrorNo(&k), c.fKzMirror);
    EXPECT_EQ(Kz::GetEyeMirrorNo(&k), c.fMirror);
    EXPECT_EQ(Kz::GetMirrorPixelNo(&k), c.fPixel);
    EXPECT_EQ(Kz::GetEyePixelNo(&k), c.fEyePixel);
    EXPECT_EQ(Kz::GetColumnNo(&k), c.fColumn);
    EXPECT_EQ(Kz::GetRowNo(&k), c.fRow);

    Kz::SetPixelNoFromColumnRow(&p, c.fColumn, c.fRow);
    EXPECT_EQ(Kz::GetPixelNo(&p), c.fPixel);
    Kz::SetPixelNoFromModuleChannel(&p, c.fColumn - 1, c.fRow - 1);
    EXPECT_EQ(Kz::GetPixelNo(&p), c.fPixel);
  }
}

TEST(KzPixelNumbers, ResultRecordIsSharedAndKeepsItsFlags) {
  Kz::PixelNumberRec a = Pixel(1, 1, 5), b = Pixel(2, 1, 5);
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
  EXPECT_EQ(p->fPixelNumber, Pixel(2, 0, 1).fPixelNumber);  // 8 cut to three bits
  Kz::KzPixelNumberRec other = KzPixel(2881);
  EXPECT_EQ(Kz::GetPixelNumber(&other), p);
  EXPECT_EQ(Kz::GetMirrorNo(p), 7u);
}

TEST(KzPixelNumbers, SettersGoThroughTheOtherForm) {
  Kz::PixelNumberRec p = Pixel(1, 1, 1);
  Kz::SetKzPixelNo(&p, 12960);
  EXPECT_EQ(p.fPixelNumber, Pixel(5, 3, 480).fPixelNumber);
  Kz::SetKzPixelNo(&p, 0x4000 + 1);
  EXPECT_EQ(p.fPixelNumber, Pixel(1, 1, 1).fPixelNumber);
  Kz::KzPixelNumberRec k = KzPixel(1);
  Kz::SetEyeNo(&k, 3);
  EXPECT_EQ(Kz::GetPixelNo(&k), 5761u);
}

using MirrorRecordSetters = KzTest::LoggedTest;

// Out-of-range numbers are logged, printed unsigned, and leave the record as it was.
TEST_F(MirrorRecordSetters, TakeSmallMirrorsAsEyeLocalAndRefuseOutOfRangeNumbers) {
  Kz::MirrorNumberRec m = Mirror(3, 0), noEye{};
  Kz::SetMirrorNo(&m, 4);
  EXPECT_EQ(m.fMirrorNumber, Mirror(3, 16).fMirrorNumber);
  Kz::SetMirrorNo(&noEye, 4);
  EXPECT_EQ(noEye.fMirrorNumber, Mirror(0, 4).fMirrorNumber);
  EXPECT_EQ(TakeLog(), "");
  for (unsigned int refused : {28u, 0u}) Kz::SetMirrorNo(&m, refused);
  for (unsigned int refused : {28u, 4294967295u}) Kz::SetKzMirrorNo(&m, refused);
  for (unsigned int refused : {6u, 0u}) Kz::SetEyeNo(&m, refused);
  EXPECT_EQ(m.fMirrorNumber, Mirror(3, 16).fMirrorNumber);
  EXPECT_EQ(TakeLog(),
            "Kz::SetMirrorNo(MirrorNumber) - Mirror number 28 is not inside valid range !\n"
            "Kz::SetMirrorNo(MirrorNumber) - Mirror number 0 is not inside valid range !\n"
            "Kz::SetKzMirrorNo(MirrorNumber) - Mirror number 28 is not inside valid range !\n"
            "Kz::SetKzMirrorNo(MirrorNumber) - Mirror number 4294967295 is not inside valid "
            "range !\n"
            "Kz::SetEyeNo(MirrorNumber) - Eye number 6 is not inside valid range !\n"
            "Kz::SetEyeNo(MirrorNumber) - Eye number 0 is not inside valid range !\n");
  Kz::SetMirrorNo(&m, 7);
  EXPECT_EQ(m.fMirrorNumber, Mirror(3, 7).fMirrorNumber);
  Kz::SetKzMirrorNo(&m, 27);
  Kz::SetEyeNo(&m, 5);
  EXPECT_EQ(m.fMirrorNumber, Mirror(5, 27).fMirrorNumber);
  EXPECT_EQ(Kz::GetMirrorNo(&m), 3u);
}

using EyeQueries = KzTest::LoggedTest;

// The Loft eye has three mirrors; an eye's first Kz mirror is the previous eye's last minus one.
TEST_F(EyeQueries, AnswerForEyesOneToFiveAndRefuseOthers) {
  const unsigned int cases[][4] = {// eye, mirrors, first Kz mirror, last Kz mirror
                                   {1, 6, 1, 6},
                                   {2, 6, 5, 12},
                                   {3, 6, 11, 18},
                                   {4, 6, 17, 24},
                                   {5, 3, 23, 27}};
  for (const auto& [eye, mirrors, first, last] : cases) {
    SCOPED_TRACE(::testing::Message() << "eye " << eye);
    EXPECT_EQ(Kz::GetEyeNMirrors(eye), mirrors);
    EXPECT_EQ(Kz::GetEyeLastMirrorNo(eye), mirrors);
    EXPECT_EQ(Kz::GetKzFirstMirrorNo(eye), first);
    EXPECT_EQ(Kz::GetKzLastMirrorNo(eye), last);
  }
  EXPECT_EQ(TakeLog(), "");

  const struct {
    unsigned int (*fQuery)(unsigned int);
    const char* fLoggedBy;  // the last Kz mirror has no check of its own
    unsigned int fEye;
  } refused[] = {{Kz::GetEyeNMirrors, "GetEyeNMirrors", 6},
                 {Kz::GetEyeLastMirrorNo, "GetEyeLastMirrorNo", 6},
                 {Kz::GetKzFirstMirrorNo, "GetKzFirstMirrorNo", 0},
                 {Kz::GetKzLastMirrorNo, "GetEyeLastMirrorNo", 0}};
  std::string expected;
  for (const auto& c : refused) {
    expected += std::string("Kz::") + c.fLoggedBy + "() - Eye number " + std::to_string(c.fEye) +
                " is outside valid range!\n";
    try {
      c.fQuery(c.fEye);
      ADD_FAILURE() << c.fLoggedBy << " accepted eye " << c.fEye;
    } catch (const std::logic_error& e) {
      EXPECT_STREQ(e.what(), "Eye number outside valid range");
    }
  }
  EXPECT_EQ(TakeLog(), expected);
}

using KzStreaming = KzTest::LoggedTest;

TEST_F(KzStreaming, StreamerOnlyReportsThatKzCannotBeStreamed) {
  Kz kz;
  TBuffer buffer;
  kz.Streamer(buffer);
  EXPECT_EQ(TakeLog(), "Kz::Streamer() - objects of type KzUtil::Kz cannot be streamed !\n");
}

}  // namespace
}  // namespace KzUtil
