#include "zum_rehearse/options.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <sstream>

#include "zum_rehearse/folder_list.h"
#include "zum_rehearse/inputs.h"
#include "zum_rehearse/printable.h"

namespace zum_rehearse {
namespace {

constexpr int kWrongUsage = 2;

constexpr char kDescription[] =
    "Shows what \"zum_setup_util /unblock\" would do to a machine, and whether it would help. "
    "Nothing "
    "of the machine is changed.";

constexpr char kFooter[] =
    "Exit status: 0 nothing would change, 1 something would, 2 wrong usage or unreadable input,\n"
    "3 the correction would fail, 4 something would change and a package is missing all the same,\n"
    "5 something is to be changed and this run's rights don't suffice. For several machines the\n"
    "first of 2, 3, 5, 4, 1, 0 that is among them.";

void Describe(CLI::App& app, Options& options) {
  app.footer(kFooter);
  app.set_version_flag("--version", std::string(ZUM_REHEARSE_VERSION));
  // A value that a flag can't have ends the call, also where the flag comes once more behind it.
  app.option_defaults()->disable_flag_override();
  app.add_flag("--all", options.all, "Show the ordinary products too");
  CLI::Option* const json =
      app.add_flag("--json", options.json, "Write one JSON object a machine, one line each");
  app.add_flag("--csv", options.csv, "Write comma-separated values, a line a product")
      ->excludes(json);
  app.add_option("--html", options.htmlFile, "Write a page with all machines, too")
      ->type_name("FILE");
  app.add_option("--changes", options.changesPath,
                 "Write what would change as a file for import; a folder for several machines")
      ->type_name("FILE.reg|DIR");
  app.add_option("--undo", options.undoPath,
                 "Write a file that undoes it after /unblock; a folder for several machines")
      ->type_name("FILE.reg|DIR");
  app.add_option("--trace-output", options.traceFolder,
                 "Write the tool's own trace of the rehearsal into this folder")
      ->type_name("DIR");
  if (!TakesFiles()) return;
  app.add_option("inputs", options.inputs,
                 "Exports (*.reg), which together are one machine, and folders of exports, each of "
                 "which is one")
      ->type_name("FILE|DIR");
  app.add_option("--folders-from", options.listFile,
                 "Take more files and folders from this list, one a line")
      ->type_name("FILE");
}

// Such as "$FILE" of a script whose variable isn't set: it means no file, which nobody asks for.
std::string OptionWithEmptyValue(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    const auto& values = option->results();
    if (std::find(values.begin(), values.end(), std::string()) != values.end()) {
      return option->get_name();
    }
  }
  return {};
}

ParsedOptions Failure(const std::string& reason) {
  return {std::nullopt, kWrongUsage,
          Concat({"zum_rehearse: ", Printable(std::string_view(reason)), "\n"})};
}

}  // namespace

ParsedOptions ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  CLI::App app(kDescription, "zum_rehearse");
  Describe(app, options);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    std::ostringstream answer;
    if (app.exit(error, answer, answer) == 0) return {std::nullopt, 0, answer.str()};
    return {std::nullopt, kWrongUsage,
            Concat({Printable(std::string_view(error.what())),
                    "\nRun with --help for more information.\n"})};
  }
  const std::string empty = OptionWithEmptyValue(app);
  if (!empty.empty()) return Failure(empty + ": the value is empty");
  options.named = options.inputs.size();
  std::string reason;
  if (!options.listFile.empty() && !ReadFolderList(options.listFile, options.inputs, reason)) {
    return Failure(reason);
  }
  if (TakesFiles() && options.inputs.empty()) {
    return Failure("no export and no folder is given; see --help");
  }
  return {std::move(options), 0, {}};
}

}  // namespace zum_rehearse
