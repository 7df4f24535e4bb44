#include "zum_rehearse/run.h"

#include <chrono>
#include <exception>
#include <iostream>
#include <optional>

#include "oru/rtl/check.h"
#include "winapi/console.h"
#include "winapi/exceptions.h"
#include "zum_rehearse/csv.h"
#include "zum_rehearse/files.h"
#include "zum_rehearse/html.h"
#include "zum_rehearse/inputs.h"
#include "zum_rehearse/options.h"
#include "zum_rehearse/output_file.h"
#include "zum_rehearse/outputs.h"
#include "zum_rehearse/printable.h"
#include "zum_rehearse/reg_text.h"
#include "zum_rehearse/terminal.h"
#include "zum_rehearse/workers.h"
#include "zum_setup_util/dll_search.h"
#include "zum_setup_util/vectored_handler_guard.h"

namespace zum_rehearse {
namespace {

constexpr int kFailure = 2;

// A line on the standard error stream that tells how far the work is; on a terminal only, and from
// the second second on.
class ProgressLine {
 public:
  explicit ProgressLine(std::size_t total) : m_total(total), m_isShown(ErrorsGoToTerminal()) {}
  ~ProgressLine() { Clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void Show(std::size_t done) {
    using namespace std::chrono_literals;
    const auto now = Clock::now();
    if (!m_isShown || now - m_start < 1s || now - m_last < 100ms) return;
    m_last = now;
    m_drawn = true;
    std::cerr << "\r  " << done << " of " << m_total << (m_total == 1 ? " machine" : " machines")
              << std::flush;
  }

  // Before anything else is written.
  void Clear() {
    if (m_drawn) std::cerr << EmptiedLine() << std::flush;
    m_drawn = false;
  }

 private:
  using Clock = std::chrono::steady_clock;
  std::size_t m_total;
  bool m_isShown;
  bool m_drawn = false;
  Clock::time_point m_start = Clock::now();
  Clock::time_point m_last = {};
};

// All that is written in the order of the machines.
class Output {
 public:
  Output(const Options& options, std::size_t machines, const std::string& time)
      : m_options(options), m_machines(machines), m_progress(machines) {
    if (options.csv) std::cout << CsvHeading();
    if (options.htmlFile.empty()) return;
    m_page.emplace(PathOf(options.htmlFile));
    m_page->Stream() << HtmlHead(time);
  }

  void Take(const Rendered& rendered) {
    m_progress.Clear();
    const bool isTable = !m_options.json && !m_options.csv;
    if (isTable && m_taken != 0) std::cout << '\n';
    std::cout << rendered.screen;
    if (!rendered.errors.empty()) {
      std::cout.flush();
      std::cerr << rendered.errors;
    }
    if (m_page) m_page->Stream() << rendered.page;
    m_status = WeightierStatus(m_status, rendered.status);
    ++m_taken;
  }

  void Progress(std::size_t done) { m_progress.Show(done); }

  // The exit status.
  [[nodiscard]] int Finish() {
    m_progress.Clear();
    if (m_page && !FinishPage()) {
      return Fail(m_options.htmlFile + ": the page can't be written");
    }
    std::cout.flush();
    return std::cout ? m_status : Fail("the output can't be written");
  }

 private:
  [[nodiscard]] bool FinishPage() {
    m_page->Stream() << HtmlTail(m_machines, m_status);
    std::string reason;
    return m_page->Commit(reason);
  }

  static int Fail(const std::string& reason) {
    std::cerr << "zum_rehearse: " << Printable(std::string_view(reason)) << '\n';
    return kFailure;
  }

  const Options& m_options;
  std::size_t m_machines;
  ProgressLine m_progress;
  std::optional<OutputFile> m_page;
  std::size_t m_taken = 0;
  int m_status = 0;
};

int RehearseAll(const Options& options) {
  const std::vector<Source> sources = SortInputs(options.inputs, options.named);
  const std::string refusal = WhyOutputsAreRefused(options, sources);
  if (!refusal.empty()) {
    std::cerr << "zum_rehearse: " << Printable(std::string_view(refusal)) << '\n';
    return kFailure;
  }
  const RenderForm form = {
      {TerminalColumns(), UsesColour(), options.all}, sources.size() > 1, TimeNow()};
  Output output(options, sources.size(), form.time);
  RenderAll(
      sources, options, form, [&output](const Rendered& rendered) { output.Take(rendered); },
      [&output](std::size_t done) { output.Progress(done); });
  return output.Finish();
}

// The console takes UTF-8 while one lives.
class Utf8Console {
 public:
  Utf8Console() : m_before(winapi::SwitchConsoleToUtf8()) {}
  Utf8Console(const Utf8Console&) = delete;
  Utf8Console& operator=(const Utf8Console&) = delete;
  ~Utf8Console() {
    std::cout.flush();
    winapi::RestoreConsole(m_before);
  }

 private:
  winapi::Dword m_before;
};

int Run(const std::vector<std::string>& arguments) {
  const Utf8Console console;
  const ParsedOptions parsed = ParseOptions(arguments);
  if (parsed.options) return RehearseAll(*parsed.options);
  (parsed.status == 0 ? std::cout : std::cerr) << parsed.text;
  return parsed.status;
}

}  // namespace

int RunRehearse(const std::vector<std::string>& arguments) {
  // A system that can't narrow the search is served all the same.
  (void)zum_setup_util::EnableSystemDllSearch(zum_setup_util::kLoadLibrarySearchSystem32);
  const zum_setup_util::VectoredHandlerGuard handler(
      winapi::AddVectoredExceptionHandler(/*first=*/1, oru::AssertionHandler));
  try {
    return Run(arguments);
  } catch (const std::exception& error) {
    std::cerr << "zum_rehearse: " << Printable(std::string_view(error.what())) << '\n';
    return kFailure;
  }
}

}  // namespace zum_rehearse
