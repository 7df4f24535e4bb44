#include <gtest/gtest.h>

#include <cstddef>

#include "oru/rtl/string.h"
#include "standalone_tracer_lib/file_tracer.h"
#include "tests/standalone_tracer_lib/throwing_new.h"
#include "tests/standalone_tracer_lib/trace_file.h"
#include "tests/support/temporary_folder.h"
#include "winapi/host/control.h"

namespace standalone::trace {
namespace {

TEST(CreateFileTracerTest, ExceptionOfNoKnownFamilyPasses) {
  const tests::TemporaryFolder folder;
  const oru::String16 path = tests::PathIn(folder, u"t.log");
  const std::size_t blocks = winapi::host::Live().heapBlocks;
  tests::throwForeignException = true;
  EXPECT_THROW((void)CreateFileTracer(path, "x", {.enabled = true, .maxLevel = 700}),
               tests::ForeignException);
  EXPECT_FALSE(tests::throwForeignException);
  EXPECT_EQ(winapi::host::Live().heapBlocks, blocks);
}

}  // namespace
}  // namespace standalone::trace
