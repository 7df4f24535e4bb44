#include "zum_rehearse/run.h"

#include <exception>
#include <iostream>

#include "oru/rtl/check.h"
#include "winapi/exceptions.h"
#include "zum_rehearse/files.h"
#include "zum_rehearse/inputs.h"
#include "zum_rehearse/json.h"
#include "zum_rehearse/options.h"
#include "zum_rehearse/printable.h"
#include "zum_rehearse/rehearse.h"
#include "zum_rehearse/table.h"
#include "zum_rehearse/terminal.h"
#include "zum_setup_util/dll_search.h"
#include "zum_setup_util/vectored_handler_guard.h"

namespace zum_rehearse {
namespace {

constexpr int kFailure = 2;

// With several machines each has a folder of its own.
std::filesystem::path TraceFolder(const Options& options, const std::string& machine,
                                  bool several) {
  if (options.traceFolder.empty()) return {};
  const std::filesystem::path folder = PathOf(options.traceFolder);
  if (!several) return folder;
  std::error_code error;  // a folder that can't be made gives no trace, as in the tool
  std::filesystem::create_directory(folder / PathOf(machine), error);
  return folder / PathOf(machine);
}

int RehearseAll(const Options& options) {
  const std::vector<Source> sources = SortInputs(options.inputs);
  const TableForm form = {TerminalColumns(), UsesColour(), options.all};
  int status = 0;
  for (const Source& source : sources) {
    const LoadedMachine loaded = Load(source);
    const Report report =
        Rehearse(loaded, TheLookup(), TraceFolder(options, loaded.name, sources.size() > 1));
    status = WeightierStatus(status, StatusOf(report));
    if (!options.json && &source != &sources.front()) std::cout << '\n';
    std::cout << (options.json ? JsonLine(report, options.all) : Table(report, form));
    if (!report.error.empty()) {
      std::cerr << "zum_rehearse: " << Printable(std::string_view(report.error)) << '\n';
    }
  }
  return status;
}

int Run(const std::vector<std::string>& arguments) {
  const ParsedOptions parsed = ParseOptions(arguments);
  if (!parsed.options) {
    (parsed.status == 0 ? std::cout : std::cerr) << parsed.text;
    return parsed.status;
  }
  const int status = RehearseAll(*parsed.options);
  std::cout.flush();
  if (std::cout) return status;
  std::cerr << "zum_rehearse: the output can't be written\n";
  return kFailure;
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
    std::cerr << "zum_rehearse: " << error.what() << '\n';
    return kFailure;
  }
}

}  // namespace zum_rehearse
