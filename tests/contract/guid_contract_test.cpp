#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "winapi/guid.h"

namespace {

TEST(GuidContract, GivesAnotherOneEachTime) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    winapi::Guid guid{};
    ASSERT_EQ(0, winapi::CoCreateGuid(&guid));
    std::string bytes(sizeof(guid), '\0');
    std::memcpy(bytes.data(), &guid, sizeof(guid));
    EXPECT_TRUE(seen.insert(bytes).second);
  }
}

TEST(GuidContract, IsOfTheRandomForm) {
  winapi::Guid guid{};
  ASSERT_EQ(0, winapi::CoCreateGuid(&guid));
  EXPECT_EQ(4, guid.Data3 >> 12);
  EXPECT_EQ(2, guid.Data4[0] >> 6);
}

}  // namespace
