#include <gtest/gtest.h>

#include <string>

#include "oru/rtl/exception.h"
#include "platform/util/text_utils.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"

namespace {

TEST(TextUtilsFaults, FailedConversionIsThrownWithItsCodeAndPosition) {
  winapi::host::FailCall("HeapAlloc", 1, winapi::kErrorNotEnoughMemory);
  try {
    (void)text_utils::Utf16ToUtf8(u"a text that needs a block of its own");
    ADD_FAILURE() << "nothing was thrown";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(exception.Code(), oru::MakeResultCode(0x80000041));
    EXPECT_STREQ(exception.File(), "platform/util/text_utils");
    EXPECT_EQ(exception.Line(), 53u);
    EXPECT_TRUE(exception.Message().empty());
    EXPECT_EQ(exception.Inner(), nullptr);
  }
  EXPECT_EQ(winapi::host::InjectedFaultCount(), 1u);
}

}  // namespace
