// The writable copy of the command line: when its memory goes, and that a release which leaves
// another last error behind doesn't hide the one of a failed creation.
#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include "platform/util/windows/system_error.h"
#include "tests/support/temporary_folder.h"
#include "winapi/errors.h"
#include "zum_setup_util_lib/installer_launch.h"

namespace {

constexpr winapi::Error kMisleading = 4711;

bool releaseSetsLastError = false;

// The first block of that size is watched; 0 watches none.
std::size_t watchedSize = 0;
void* watched = nullptr;
int releases = 0;
int releasesWhileThrowing = 0;

void Release(void* memory) noexcept {
  if (memory != nullptr && memory == watched) {
    watched = nullptr;
    ++releases;
    if (std::uncaught_exceptions() != 0) ++releasesWhileThrowing;
  }
  std::free(memory);
  if (releaseSetsLastError) winapi::SetLastError(kMisleading);
}

void* Allocate(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  if (watchedSize != 0 && size == watchedSize) {
    watchedSize = 0;
    watched = memory;
  }
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

const std::u16string kLine(12'344, u'x');

// Starts a program that isn't there; gives the error that is thrown, 0 for none.
winapi::Error FailToStart() {
  const tests::TemporaryFolder folder;
  const std::u16string program = folder.WindowsPath() + u"\\none.exe";
  try {
    releaseSetsLastError = true;
    releases = releasesWhileThrowing = 0;
    watchedSize = (kLine.size() + 1) * sizeof(char16_t);
    (void)correct_setup::detail::CreateProcessAndWait(program, kLine);
    releaseSetsLastError = false;
    return 0;
  } catch (const windows_helpers::WindowsErrorException& exception) {
    releaseSetsLastError = false;
    return exception.systemError;
  }
}

TEST(InstallerLaunchRelease, ReleaseOfTheLineDoesNotChangeTheLastError) {
  EXPECT_EQ(FailToStart(), 2u);

  releaseSetsLastError = true;
  winapi::SetLastError(0);
  delete new std::u16string(kLine);
  const winapi::Error afterRelease = winapi::GetLastError();
  releaseSetsLastError = false;
  EXPECT_EQ(afterRelease, kMisleading) << "the release of this test does what it is for";
}

// Left to the end of its scope it would go while the exception is on its way.
TEST(InstallerLaunchRelease, LineIsGoneBeforeTheFailureIsThrown) {
  EXPECT_EQ(FailToStart(), 2u);
  EXPECT_EQ(watchedSize, 0u) << "it was made";
  EXPECT_EQ(releases, 1);
  EXPECT_EQ(releasesWhileThrowing, 0);
}

}  // namespace
