// A trace statement: refused, against the two calls that it can't do without; and written to a
// file, natively against spdlog's sink for plain files with the same line. What such a line costs
// by the way in which it has to be composed stands beside it.
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "bench/cases.h"
#include "oru/rtl/trace.h"
#include "oru/system/datetime/datetime.h"
#include "standalone_tracer_lib/trace_lines.h"
#include "standalone_tracer_lib/tracers.h"
#include "winapi/process.h"

#ifndef _WIN32
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

namespace fs = std::filesystem;

constexpr char kKey[] = "26F1C3B745A9D0E4C812D5E6F708192A";

void Statement(std::uint32_t level) {
  ORU_TRACE(level, "setup\t[name] "
                       << "update LocalPackageNotExist for key = " << kKey);
}

void BareCalls(std::uint32_t level) {
  oru::ITracer* const tracer = GetTracer();
  if (tracer == nullptr) return;
  char* text = nullptr;
  if (tracer->ReserveRecord(level, &text, oru::InitialCapacity) != oru::sOk) return;
  bench::Keep(text);
}

// The line without the way to it: no record, no channel, no file.
void Compose() {
  constexpr std::string_view text =
      "setup\t[name] update LocalPackageNotExist for key = 26F1C3B745A9D0E4C812D5E6F708192A";
  oru::tracer::TraceRecord record{};
  record.level = oru::kTraceLevelInfo;
  record.time = oru::datetime::Now().ticks;
  record.threadId = 0x1A2C;
  record.textBegin = text.data();
  record.textEnd = text.data() + text.size();
  bench::Keep(standalone::trace::detail::ComposeRecord(record));
}

// Of this run alone, since two may go on at once; goes away with its files.
class Folder {
 public:
  Folder()
      : m_path(fs::temp_directory_path() /
               ("zum-trace-benchmark-" + std::to_string(winapi::GetCurrentProcessId()))) {
    fs::create_directory(m_path);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }

  [[nodiscard]] fs::path File(const char* name) const { return m_path / name; }

 private:
  fs::path m_path;
};

// As the product calls it.
oru::String16 NameOf(const fs::path& file) {
#ifdef _WIN32
  return oru::String16(file.u16string().c_str());
#else
  return oru::String16((u"Z:" + file.u16string()).c_str());
#endif
}

#ifndef _WIN32
// Its thread number is decimal; else it is the same line.
auto Peer(const std::string& file) {
  auto logger = std::make_shared<spdlog::logger>(
      "peer", std::make_shared<spdlog::sinks::basic_file_sink_st>(file, /*truncate=*/true));
  logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(
      "%H:%M:%S.%e\t0x%t\tINF\t%v", spdlog::pattern_time_type::local, "\r\n"));
  return logger;
}
#endif

}  // namespace

int main(int argc, char** argv) {
  const Folder folder;
  auto& holder = standalone::trace::TracerHolder::Instance();
  holder.Install(standalone::trace::CreateFileTracer(
      NameOf(folder.File("ours.log")), "Command line: benchmark",
      {.enabled = true, .maxLevel = oru::kTraceLevelInfo}));
  bench::Add("trace_refused", "ours", /*number=*/800, [] { Statement(800); });
  bench::Add("trace_refused", "bare_calls", /*number=*/800, [] { BareCalls(800); });
  bench::Add("trace_record", "ours", /*number=*/700, [] { Statement(700); });
  bench::Add("trace_record", "composing", /*number=*/700, Compose);
  bench::Add("trace_record", "local_time", /*number=*/700,
             [] { bench::Keep(oru::datetime::ToLocalSystemTime(oru::datetime::Now())); });
#ifndef _WIN32
  bench::Add("trace_record", "spdlog", /*number=*/700, [logger = Peer(folder.File("peer.log"))] {
    logger->info("setup\t[name] update LocalPackageNotExist for key = {}", kKey);
  });
#endif
  const int status = bench::Run(argc, argv);
  holder.Install(standalone::trace::CreateEmptyTracer());  // an open file would stay
  return status;
}
