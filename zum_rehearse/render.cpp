#include "zum_rehearse/render.h"

#include <filesystem>
#include <system_error>

#include "zum_rehearse/csv.h"
#include "zum_rehearse/files.h"
#include "zum_rehearse/html.h"
#include "zum_rehearse/json.h"
#include "zum_rehearse/output_file.h"
#include "zum_rehearse/outputs.h"
#include "zum_rehearse/printable.h"
#include "zum_rehearse/reg_text.h"
#include "zum_rehearse/rehearse.h"

namespace zum_rehearse {
namespace {

namespace fs = std::filesystem;

constexpr int kUnusable = 2;

std::string ErrorLine(const std::string& text) {
  return Concat({"zum_rehearse: ", Printable(std::string_view(text)), "\n"});
}

// Of several machines each has a folder of its own. One that can't be made gives no trace, as in
// the tool.
fs::path TraceFolder(const Source& source, const Options& options, bool several) {
  if (options.traceFolder.empty() || !several) return PathOf(options.traceFolder);
  fs::path folder = PathOf(options.traceFolder) / PathOf(source.fileName);
  std::error_code error;
  fs::create_directory(folder, error);
  return folder;
}

// Writes a file of the machine's own; a failure makes the call one that went wrong.
void WriteFileFor(const Source& source, const Report& report, const std::string& target,
                  const std::string& bytes, bool several, Rendered& rendered) {
  if (target.empty() || !report.error.empty()) return;
  const fs::path path = FileFor(source, target, several);
  std::error_code error;
  if (several) fs::create_directory(PathOf(target), error);
  std::string reason;
  if (WriteWholeFile(path, bytes, reason)) return;
  rendered.errors += ErrorLine(Utf8Of(path) + ": " + reason);
  rendered.status = kUnusable;
}

void WriteFiles(const Source& source, const Options& options, const RenderForm& form,
                const Report& report, Rendered& rendered) {
  if (options.changesPath.empty() && options.undoPath.empty()) return;
  WriteFileFor(source, report, options.changesPath, ChangesFile(report, form.time), form.several,
               rendered);
  WriteFileFor(source, report, options.undoPath, UndoFile(report, form.time), form.several,
               rendered);
  for (const std::u16string& key : KeysThatNoFileCarries(report)) {
    rendered.errors +=
        ErrorLine("left out of the files, since its name has a line break: " + Utf8(key));
    rendered.status = kUnusable;
  }
}

std::string Screen(const Report& report, const Options& options, const RenderForm& form) {
  if (options.json) return JsonLine(report, options.all);
  return options.csv ? CsvLines(report, options.all) : Table(report, form.table);
}

Rendered RenderReport(const Report& report, const Options& options, const RenderForm& form) {
  Rendered rendered;
  rendered.status = StatusOf(report);
  rendered.screen = Screen(report, options, form);
  if (!options.htmlFile.empty()) rendered.page = HtmlRows(report, options.all);
  if (!report.error.empty()) rendered.errors = ErrorLine(report.error);
  return rendered;
}

}  // namespace

Rendered Render(const Source& source, const Options& options, const RenderForm& form) {
  const LoadedMachine loaded = Load(source);
  const Report report = Rehearse(loaded, TheLookup(), TraceFolder(source, options, form.several));
  Rendered rendered = RenderReport(report, options, form);
  WriteFiles(source, options, form, report, rendered);
  return rendered;
}

Rendered RenderFailure(const Source& source, const Options& options, const RenderForm& form,
                       const std::string& reason) {
  Report report;
  report.machine = source.machine;
  report.sources = source.files;
  report.error = reason;
  return RenderReport(report, options, form);
}

}  // namespace zum_rehearse
