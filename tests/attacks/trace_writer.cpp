// Traces as many records to a file as its arguments say: the file, then the count. Each record
// holds its number, so that it shows which one is missing.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "oru/rtl/string.h"
#include "oru/rtl/trace.h"
#include "standalone_tracer_lib/file_tracer.h"
#include "standalone_tracer_lib/tracer_holder.h"

int main(int argc, char** argv) {
  if (argc != 3) return 1;
  const std::string path = argv[1];
  const oru::String16 wide(std::u16string(path.begin(), path.end()));
  standalone::trace::TracerHolder::Instance().Install(
      standalone::trace::CreateFileTracer(wide, "writer", {.enabled = true, .maxLevel = 700}));
  const unsigned long count = std::strtoul(argv[2], nullptr, 10);
  for (std::uint32_t number = 0; number < count; ++number) {
    ORU_TRACE(oru::kTraceLevelInfo, "attack\trecord " << number << " is whole");
  }
}
