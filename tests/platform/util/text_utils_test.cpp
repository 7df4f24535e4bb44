#include "platform/util/text_utils.h"

#include <gtest/gtest.h>

#include <string>

#include "oru/rtl/result_code.h"

namespace {

TEST(TextUtils, Utf8FormComesByValue) {
  EXPECT_EQ(text_utils::Utf16ToUtf8(u"").view(), "");
  EXPECT_EQ(text_utils::Utf16ToUtf8(u"C:\\t\u00E4st \U0001D11E").view(),
            "C:\\t\xC3\xA4st \xF0\x9D\x84\x9E");
  EXPECT_EQ(text_utils::Utf16ToUtf8(u"\xD800").view(), "\xED\xA0\x80");
}

TEST(TextUtils, ConversionsHaveTheirPublicNames) {
  oru::String8 narrow;
  EXPECT_EQ(text_utils::Utf16ToUtf8(u"\u20AC", narrow), oru::sOk);
  EXPECT_EQ(narrow.view(), "\xE2\x82\xAC");
  EXPECT_EQ(text_utils::Utf16ToAnsi(u"\u00E4", narrow), oru::sOk);
  EXPECT_EQ(narrow.view(), "\xE4");
  oru::String16 wide;
  EXPECT_EQ(text_utils::AnsiToUtf16("\xE4", wide), oru::sOk);
  EXPECT_EQ(wide.view(), u"\u00E4");
}

}  // namespace
