#include "platform/util/windows/filesystem/system_directory.h"

#include <gtest/gtest.h>

namespace {

TEST(GetSystemFilesDirectory, IsWindowsOwn) {
  EXPECT_EQ(product_platform::windows::detail::GetSystemFilesDirectory(), u"C:\\windows\\system32");
}

}  // namespace
