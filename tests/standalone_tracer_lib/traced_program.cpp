// A program that traces to a file and ends in the way that its first argument names; the second one
// is the file. Its tracer is never taken down by hand.
#include <cstdlib>
#include <string>

#include "oru/rtl/string.h"
#include "oru/rtl/trace.h"
#include "standalone_tracer_lib/file_tracer.h"
#include "standalone_tracer_lib/tracer_holder.h"

namespace {

void Install(const std::string& path) {
  const oru::String16 wide(std::u16string(path.begin(), path.end()));
  standalone::trace::TracerHolder::Instance().Install(
      standalone::trace::CreateFileTracer(wide, "child", {.enabled = true, .maxLevel = 700}));
}

void Run(const std::string& way) {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, 700, u"zs_util\t[main] ");
  if (way == "die") std::_Exit(9);
}

// Traces after main, before the holder's end.
struct LateTracer {
  ~LateTracer() { ORU_TRACE(700, "late"); }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 1;
  Install(argv[2]);
  static LateTracer late;  // made behind the holder, so it ends first
  const std::string way = argv[1];
  Run(way);
  if (way == "exit") std::exit(7);
  return 5;
}
