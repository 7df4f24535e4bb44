// The last error of a failed creation, over a release of memory that leaves another one behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "platform/util/windows/system_error.h"
#include "platform/winapi/winapi/errors.h"
#include "tests/support/temporary_folder.h"
#include "zum_setup_util_lib/installer_launch.h"

namespace {

constexpr winapi::Error kMisleading = 4711;

bool releaseSetsLastError = false;

void Release(void* memory) noexcept {
  std::free(memory);
  if (releaseSetsLastError) winapi::SetLastError(kMisleading);
}

void* Allocate(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Release(memory); }

namespace {

TEST(InstallerLaunchRelease, ReleaseOfTheLineDoesNotChangeTheLastError) {
  const tests::TemporaryFolder folder;
  const std::u16string program = folder.WindowsPath() + u"\\none.exe";
  const std::u16string line(100, u'x');
  winapi::Error error = 0;
  releaseSetsLastError = true;
  try {
    (void)correct_setup::detail::CreateProcessAndWait(program, line);
  } catch (const windows_helpers::WindowsErrorException& exception) {
    error = exception.systemError;
  }
  winapi::SetLastError(0);
  delete new std::u16string(line);
  const winapi::Error afterRelease = winapi::GetLastError();
  releaseSetsLastError = false;
  EXPECT_EQ(error, 2u);
  EXPECT_EQ(afterRelease, kMisleading) << "the release of this test does what it is for";
}

}  // namespace
