// kzutil number: conversions between the numbering forms, and range errors as usage errors.
#include "KzutilTestSupport.h"

// Eye 2, mirror 3 is Kz mirror (2-1)*6+3 = 9; column 10, row 11 is pixel (10-1)*22+11 = 209,
// module and channel are one less, eye pixel (3-1)*480+209, Kz pixel (9-1)*480+209.
TEST(KzutilNumber, TextShowsEveryFormOfTheAddress) {
  KzTest::ExpectCases({
      {"number --eye 2 --mirror 3 --column 10 --row 11", 0,
       "eye        2 (Birch Ridge)\nmirror     3\nKz mirror  9\npixel      209\n"
       "column     10\nrow        11\nmodule     9\nchannel    10\n"
       "eye pixel  1169\nKz pixel   4049\n"},
      {"number --eye 5", 0, "eye        5 (Loft)\nmirrors    3\nKz mirrors 25..27\n"},
  });
}

// Kz pixel 3361 is pixel 1 of Kz mirror 8 (eye 2, mirror 2); module 0, channel 22 is
// column 1, row 23, a virtual pixel.
TEST(KzutilNumber, KzNumbersAndModuleChannelResolveAsJson) {
  KzTest::ExpectCases({
      {"number --kz-pixel 3361 --json", 0,
       R"({"/eye": 2, "/mirror": 2, "/kz_mirror": 8, "/pixel": 1, "/eye_pixel": 481,
           "/kz_pixel": 3361})"_json},
      {"number --kz-mirror 26 --module 0 --channel 22 --json", 0,
       R"({"/eye": 5, "/mirror": 2, "/pixel": 441, "/column": 1, "/row": 23,
           "/kz_pixel": 12441, "/virtual_channel": true})"_json},
  });
}

TEST(KzutilNumber, RangeErrorsAndIncompleteAddressesAreUsageErrors) {
  KzTest::ExpectUsageErrors({
      {"number --eye 6", "Kz::GetEyeNMirrors() - Eye number 6 is outside valid range!"},
      {"number --eye 5 --mirror 4", "has mirrors 1..3"},
      {"number --eye 1 --mirror 1 --column 21 --row 1", "column 21 is outside 1..20"},
      {"number --eye 1 --mirror 1 --pixel 481", "pixel 481 is outside 1..480"},
      {"number --kz-pixel 12961", "outside 1..12960"},
      {"number --column 3 --row 4", "needs its mirror"},
      {"number --eye 1 --column 3 --row 4", "add --mirror"},
      {"number --eye 1 --mirror 1 --column 3", "--column requires --row"},
      {"number", "give --eye, --kz-mirror or --kz-pixel"},
      {"number --kz-pixel 5 --eye 1", "excludes"},
  });
}
