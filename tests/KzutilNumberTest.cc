// kzutil number: conversions between the numbering forms, and range errors as usage errors.
#include "KzutilTestSupport.h"

using KzTest::KzutilRun;

TEST(KzutilNumber, ColumnAndRowGiveEveryOtherForm) {
  KzutilRun run({"number", "--eye", "2", "--mirror", "3", "--column", "10", "--row", "11"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStderr, "");
  EXPECT_EQ(run.fStdout,
            "eye        2 (Birch Ridge)\n"
            "mirror     3\n"
            "Kz mirror  9\n"
            "pixel      209\n"
            "column     10\n"
            "row        11\n"
            "module     9\n"
            "channel    10\n"
            "eye pixel  1169\n"
            "Kz pixel   4049\n");
}

TEST(KzutilNumber, KzPixelOfEyeTwoGivesTheEyeLocalMirror) {
  const nlohmann::json json = KzutilRun({"number", "--kz-pixel", "3361", "--json"}).Json();
  EXPECT_EQ(json["eye"], 2);
  EXPECT_EQ(json["mirror"], 2);
  EXPECT_EQ(json["kz_mirror"], 8);
  EXPECT_EQ(json["pixel"], 1);
  EXPECT_EQ(json["eye_pixel"], 481);
  EXPECT_EQ(json["kz_pixel"], 3361);
}

TEST(KzutilNumber, LastKzPixelIsTheLastVirtualChannelOfTheLoft) {
  const nlohmann::json json = KzutilRun({"number", "--kz-pixel", "12960", "--json"}).Json();
  EXPECT_EQ(json["eye_name"], "Loft");
  EXPECT_EQ(json["mirror"], 3);
  EXPECT_EQ(json["column"], 20);
  EXPECT_EQ(json["row"], 24);
  EXPECT_EQ(json["virtual_channel"], true);
}

TEST(KzutilNumber, ModuleAndChannelAreColumnAndRowLessOne) {
  const nlohmann::json json =
      KzutilRun({"number", "--kz-mirror", "26", "--module", "0", "--channel", "22", "--json"})
          .Json();
  EXPECT_EQ(json["eye"], 5);
  EXPECT_EQ(json["mirror"], 2);
  EXPECT_EQ(json["pixel"], 441);
  EXPECT_EQ(json["column"], 1);
  EXPECT_EQ(json["row"], 23);
  EXPECT_EQ(json["kz_pixel"], 12441);
}

TEST(KzutilNumber, EyeAloneListsItsMirrors) {
  KzutilRun run({"number", "--eye", "5"});
  EXPECT_EQ(run.fExitCode, 0);
  EXPECT_EQ(run.fStdout, "eye        5 (Loft)\nmirrors    3\nKz mirrors 25..27\n");
}

TEST(KzutilNumber, LibraryRangeErrorsAreUsageErrors) {
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--eye", "6"}),
                     "Kz::GetEyeNMirrors() - Eye number 6 is outside valid range!");
  EXPECT_USAGE_ERROR(
      KzutilRun({"number", "--kz-mirror", "28"}),
      "Kz::SetKzMirrorNo(MirrorNumber) - Mirror number 28 is not inside valid range !");
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--eye", "1", "--mirror", "0"}),
                     "Kz::SetMirrorNo(MirrorNumber) - Mirror number 0 is not inside valid range !");
}

TEST(KzutilNumber, MirrorsBeyondTheLoftsThreeAreUsageErrors) {
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--eye", "5", "--mirror", "4"}), "has mirrors 1..3");
}

TEST(KzutilNumber, NumbersOutsideTheCameraAreUsageErrors) {
  EXPECT_USAGE_ERROR(
      KzutilRun({"number", "--eye", "1", "--mirror", "1", "--column", "21", "--row", "1"}),
      "column 21 is outside 1..20");
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--eye", "1", "--mirror", "1", "--pixel", "481"}),
                     "pixel 481 is outside 1..480");
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--kz-pixel", "12961"}), "outside 1..12960");
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--kz-pixel", "0"}), "outside 1..12960");
}

TEST(KzutilNumber, IncompleteAddressesAreUsageErrors) {
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--column", "3", "--row", "4"}), "needs its mirror");
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--eye", "1", "--column", "3", "--row", "4"}),
                     "add --mirror");
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--eye", "1", "--mirror", "1", "--column", "3"}),
                     "--column requires --row");
  EXPECT_USAGE_ERROR(KzutilRun({"number"}), "give --eye, --kz-mirror or --kz-pixel");
  EXPECT_USAGE_ERROR(KzutilRun({"number", "--kz-pixel", "5", "--eye", "1"}), "excludes");
}
