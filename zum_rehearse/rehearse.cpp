#include "zum_rehearse/rehearse.h"

#include <algorithm>
#include <exception>

#include "oru/rtl/trace.h"
#include "standalone_tracer_lib/tracers.h"
#include "zum_rehearse/files.h"
#include "zum_rehearse/printable.h"
#include "zum_setup_util/run.h"
#include "zum_setup_util/trace_setup.h"
#include "zum_setup_util_lib/caught_exception.h"
#include "zum_setup_util_lib/unblock.h"

namespace zum_rehearse {
namespace {

using standalone::trace::TracerHolder;
using winapi::rehearsal::Rehearsal;

// The process's tracer writes to a file in the folder while one lives.
class ScopedTrace {
 public:
  explicit ScopedTrace(const std::filesystem::path& folder) : m_installed(!folder.empty()) {
    if (!m_installed) return;
    const standalone::trace::TraceSettings settings{/*enabled=*/true, oru::kTraceLevelInfo};
    const oru::String8 commandLine = zum_setup_util::GetMaskedCommandLine();
    const oru::String16 path = standalone::trace::MakeTraceFilePath(
        oru::String16(std::u16string_view(SystemPath(folder))), oru::String16(u"all"));
    TracerHolder::Instance().Install(
        standalone::trace::CreateFileTracer(path, commandLine.c_str(), settings));
  }
  ScopedTrace(const ScopedTrace&) = delete;
  ScopedTrace& operator=(const ScopedTrace&) = delete;
  ~ScopedTrace() {
    try {
      if (m_installed) TracerHolder::Instance().Install(standalone::trace::CreateEmptyTracer());
    } catch (const std::exception&) {
      // The file stays open until the next one; what was traced is in it.
    }
  }

 private:
  bool m_installed;
};

Outcome OutcomeOf(oru::ResultCode code) {
  return {static_cast<std::uint32_t>(code), zum_setup_util::detail::MakeReport(code).c_str()};
}

// As the tool does it.
oru::ResultCode Correct() {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo, u"zs_util\t[main] ");
  try {
    correct_setup::Unblock();
    return oru::sOk;
  } catch (const std::exception&) {
    return correct_setup::helpers::TraceCaughtException("zs_util\t[main] ");
  }
}

// With the rights of this run a product whose key is refused is passed over, a failure at it
// included. Where they don't reach as far as the list, what others would come to isn't known.
void TellOutcomeAsRun(Report& report, KeyState list) {
  if (list == KeyState::kRefused) {
    report.asRun = report.outcome;
    report.outcomeIsKnown = false;
  }
  if (!report.LacksRights()) return;
  const bool fails =
      std::any_of(report.products.begin(), report.products.end(), [](const Product& product) {
        return !product.refused && product.verdicts.front() == Verdict::kFailsHere;
      });
  report.asRun = fails ? report.outcome : OutcomeOf(oru::sOk);
}

void TellOfTheList(Report& report, KeyState list, const winapi::rehearsal::Record& correction) {
  if (list == KeyState::kRefused) {
    report.notes.emplace_back("the list of products can't be read with these rights: run elevated");
  }
  if (list == KeyState::kMissing) {
    report.notes.push_back("the list of products, HKLM\\" + Utf8(kUserDataProducts) +
                           (report.sources.empty()
                                ? ", is missing: /unblock fails without it"
                                : ", isn't in the export: /unblock fails without it; where the "
                                  "machine has it, the export is torn or of another branch"));
  }
  for (const auto& broken : correction.brokenLists) {
    report.notes.push_back("the list of products ends early, with error " +
                           std::to_string(broken.error) + " behind product " +
                           std::to_string(broken.index) + ": /unblock doesn't see those behind it");
  }
}

}  // namespace

Report Rehearse(const LoadedMachine& loaded, const PackageLookup& lookup,
                const std::filesystem::path& traceFolder) {
  Report report;
  report.machine = loaded.name;
  report.sources = loaded.sources;
  report.error = loaded.error;
  report.notes = loaded.notes;
  if (!loaded.machine) return report;

  Findings findings;
  findings.knowsSourceLists = loaded.knowsSourceLists;
  KeyState list = KeyState::kMissing;
  {
    const Rehearsal reading(*loaded.machine);
    list = StateOfTheList();
    findings.records = ReadProducts();
  }
  {
    const Rehearsal rehearsal(*loaded.machine);
    const ScopedTrace trace(traceFolder);
    const oru::ResultCode code = Correct();
    report.outcome = OutcomeOf(code);
    findings.failed = code != oru::sOk;
    findings.correction = rehearsal.Record();
  }
  report.products = Judge(findings, lookup);
  report.changes = findings.correction.changes;
  TellOutcomeAsRun(report, list);
  TellOfTheList(report, list, findings.correction);
  return report;
}

}  // namespace zum_rehearse
