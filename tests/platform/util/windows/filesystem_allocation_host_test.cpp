// Each allocation fails, once and for ever.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "oru/rtl/exception.h"
#include "platform/util/windows/filesystem/directory_walker.h"
#include "platform/util/windows/filesystem/file_operations.h"
#include "platform/util/windows/filesystem/growing_buffer.h"
#include "platform/util/windows/filesystem/system_directory.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

using product_platform::filesystem::CallWithGrowingBuffer;
using product_platform::filesystem::DirectoryWalker;
using product_platform::filesystem::MakeLongPath;
using product_platform::filesystem::NormalizePath;
using product_platform::filesystem::RemovalPolicy;
using product_platform::filesystem::RemoveDirectoryRecursive;
using tests::Code;
using tests::DirectoryTree;

constexpr host::Repeat kRepeats[] = {host::Repeat::kOnce, host::Repeat::kForever};

// How a run ended whose allocations may have failed.
enum class End { kDone, kNoMemory };

template <typename Function>
End Run(Function function) {
  try {
    function();
    return End::kDone;
  } catch (const std::bad_alloc&) {
    return End::kNoMemory;
  }
}

// Every fault must show as std::bad_alloc, and nothing may stay open.
template <typename Function>
void ExpectEachFaultThrows(Function function) {
  for (const host::Repeat repeat : kRepeats) {
    std::size_t thrown = 0;
    const std::size_t faults = tests::SweepAllocations(
        [&](std::size_t) {
          if (Run(function) == End::kNoMemory) ++thrown;
        },
        repeat);
    EXPECT_GT(faults, 0u);
    EXPECT_EQ(thrown, faults);
    EXPECT_EQ(host::Live().handles, 0u);
  }
}

TEST(FilesystemAllocations, OfNormalizePathAreThrown) {
  const std::u16string path = u"C:\\" + std::u16string(50, u'a') + u"\\..\\b\\c";
  ExpectEachFaultThrows([&path] {
    std::u16string copy(path);
    NormalizePath(copy);
  });
}

TEST(FilesystemAllocations, OfASystemDirectoryAreThrown) {
  ExpectEachFaultThrows([] { (void)product_platform::windows::detail::GetSystemFilesDirectory(); });
}

TEST(FilesystemAllocations, OfAWalkAreThrown) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"a/b");
  tree.Write(u"a/f");  // so that "a" stays
  tree.Write(u"a/b/f");
  const std::u16string path = tree.Windows();
  ExpectEachFaultThrows([&path] {
    DirectoryWalker<RemovalPolicy> walker;
    if (walker.Open(path) != oru::sOk) return;
    while (walker.Next() == oru::sOk) {
    }
  });
}

// The buffer's own has a result code; that of the exception and of the paths is thrown.
TEST(FilesystemAllocations, OfALongPathAreToldOneWayOrTheOther) {
  for (const host::Repeat repeat : kRepeats) {
    std::size_t told = 0;
    const std::size_t faults = tests::SweepAllocations(
        [&told](std::size_t) {
          try {
            (void)MakeLongPath(u"a\\b\\c");
          } catch (const oru::ResultCodeException& exception) {
            EXPECT_EQ(Code(exception.Code()), 0x80000041u);
            ++told;
          } catch (const std::bad_alloc&) {
            ++told;
          }
        },
        repeat);
    EXPECT_GT(faults, 0u);
    EXPECT_EQ(told, faults);
  }
}

TEST(FilesystemAllocations, OfAGrowingBufferAreItsResult) {
  const auto answer = [](winapi::Dword size, char16_t*) { return winapi::Dword{size + 10}; };
  std::u16string result;
  const std::size_t faults = tests::SweepAllocations([&](std::size_t nth) {
    const oru::ResultCode rc = CallWithGrowingBuffer(result, answer);
    EXPECT_EQ(Code(rc), host::AllocationCount() >= nth ? 0x80000041u : 0u);
    EXPECT_EQ(result, u"");
  });
  EXPECT_GT(faults, 0u);
}

TEST(FilesystemAllocations, OfARemovalAreItsResult) {
  const DirectoryTree tree;
  const std::u16string path = tree.Windows(u"top");
  for (const host::Repeat repeat : kRepeats) {
    std::size_t nth = 0;
    for (oru::ResultCode rc = oru::errOutOfMemory; rc != oru::sOk;) {
      tree.MakeDirectory(u"top/a/b");
      tree.MakeDirectory(u"top/c");
      tree.Write(u"top/a/b/f");
      tree.Write(u"top/f");
      {
        const tests::ScopedAllocationFault fault(++nth, repeat);
        rc = RemoveDirectoryRecursive(path);
      }
      EXPECT_EQ(host::Live().handles, 0u) << nth;
      EXPECT_EQ(tree.Has(u"top"), rc != oru::sOk) << nth;
      ASSERT_TRUE(rc == oru::sOk || Code(rc) == 0x80000041u) << nth;
      ASSERT_LT(nth, 1000u);
    }
    EXPECT_GT(nth, 1u) << "no allocation failed";
  }
}

TEST(FilesystemAllocations, OfARelativeRemovalAreItsResult) {
  const DirectoryTree tree;
  const tests::CurrentDirectory inTree(tree.File(u""));
  const std::u16string path = u"top";
  for (const host::Repeat repeat : kRepeats) {
    const std::size_t faults = tests::SweepAllocations(
        [&](std::size_t) {
          // Without memory none of the two, as it isn't there.
          const std::uint32_t code = Code(RemoveDirectoryRecursive(path));
          EXPECT_TRUE(code == 0x80000041u || code == 0x80010103u) << code;
        },
        repeat);
    EXPECT_GT(faults, 0u);
  }
}

}  // namespace
