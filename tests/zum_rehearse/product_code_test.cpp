#include "zum_rehearse/product_code.h"

#include <gtest/gtest.h>

namespace {

using zum_rehearse::ReadableProductCode;

TEST(ReadableProductCode, UnpacksEachGroup) {
  EXPECT_EQ(ReadableProductCode(u"26F1C3B745A9D0E4C812D5E6F708192A"),
            "{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}");
  // Each digit has a place of its own.
  EXPECT_EQ(ReadableProductCode(u"0123456789abcdef0123456789ABCDEF"),
            "{76543210-ba98-fedc-1032-547698BADCFE}");
}

TEST(ReadableProductCode, TakesNothingElse) {
  EXPECT_EQ(ReadableProductCode(u""), "");
  EXPECT_EQ(ReadableProductCode(u"26F1C3B745A9D0E4C812D5E6F708192"), "");
  EXPECT_EQ(ReadableProductCode(u"26F1C3B745A9D0E4C812D5E6F708192A0"), "");
  EXPECT_EQ(ReadableProductCode(u"26F1C3B745A9D0E4C812D5E6F708192G"), "");
  EXPECT_EQ(ReadableProductCode(u"26F1C3B745A9D0E4C812D5E6F708192\uFF21"), "");
}

}  // namespace
