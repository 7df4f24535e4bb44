#include "zum_rehearse/host/machine_files.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "zum_rehearse/files.h"
#include "zum_rehearse/reg_text.h"

namespace zum_rehearse {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kLogEndings[] = {".log", ".log1", ".log2", ".blf", ".regtrans-ms"};

// The first bytes of a file, up to `size`; none of what is no plain file: to open a pipe would be
// to wait.
std::string BeginningOf(const fs::path& path, std::size_t size) {
  std::string bytes;
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return bytes;
  bytes.resize(size);
  std::ifstream file(path, std::ios::binary);
  file.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

// The beginning of a hive, and of a log, which has a copy of it with another type.
struct BaseBlock {
  std::string bytes;

  [[nodiscard]] bool IsOne() const { return bytes.starts_with("regf"); }
  // The type is a number of four bytes; a hive's own is 0, and so is what a torn one lacks.
  [[nodiscard]] bool IsHives() const {
    return bytes.find_first_not_of('\0', 28) == std::string::npos;
  }
};

BaseBlock BaseBlockOf(const fs::path& path) { return {BeginningOf(path, /*size=*/32)}; }

bool IsNamedAsLog(const std::string& file) {
  const std::string name = LowerCase(file);
  return std::any_of(std::begin(kLogEndings), std::end(kLogEndings),
                     [&name](std::string_view ending) { return name.ends_with(ending); });
}

enum class Kind { kHive, kLog, kOther };

Kind KindOf(const std::string& file) {
  const BaseBlock block = BaseBlockOf(PathOf(file));
  if (!block.IsOne()) return Kind::kOther;
  return block.IsHives() && !IsNamedAsLog(file) ? Kind::kHive : Kind::kLog;
}

// Some logs have a header of their own, or are empty: "SOFTWARE.LOG", "SOFTWARE{...}.TM.blf".
bool IsLogOfOne(const std::string& file, const std::vector<std::string>& hives) {
  return IsNamedAsLog(file) &&
         std::any_of(hives.begin(), hives.end(), [&file](const std::string& hive) {
           return LowerCase(file).starts_with(LowerCase(hive));
         });
}

// A file for import that lies among the exports it was made from.
bool IsMade(const std::string& file) {
  return IsMadeByRehearsal(BeginningOf(PathOf(file), /*size=*/256));
}

bool ListFiles(const std::string& folder, std::vector<std::string>& names, std::string& reason) {
  std::error_code error;
  for (fs::directory_iterator entry(PathOf(folder), error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code unknown;  // such as a link that leads nowhere, which is told when it is read
    if (!entry->is_directory(unknown)) names.push_back(Utf8Of(entry->path()));
  }
  if (error) reason = folder + ": " + error.message();
  std::sort(names.begin(), names.end());
  return !error;
}

}  // namespace

bool IsHive(const fs::path& path) { return BaseBlockOf(path).IsOne(); }

MachineFiles WithoutLogs(const std::vector<std::string>& named) {
  std::vector<Kind> kinds;
  std::vector<std::string> hives;
  for (const std::string& file : named) {
    kinds.push_back(KindOf(file));
    if (kinds.back() == Kind::kHive) hives.push_back(file);
  }
  MachineFiles files;
  for (std::size_t i = 0; i < named.size(); ++i) {
    const bool isLog = kinds[i] == Kind::kLog || IsLogOfOne(named[i], hives);
    (isLog ? files.logs : files.read).push_back(named[i]);
  }
  return files;
}

bool FindMachineFiles(const std::string& folder, MachineFiles& files, std::string& reason) {
  std::vector<std::string> names;
  if (!ListFiles(folder, names, reason)) return false;
  files = WithoutLogs(names);
  const std::vector<std::string> all = std::exchange(files.read, {});
  for (const std::string& file : all) {
    if (!IsNamedAsExport(PathOf(file)) && !IsHive(PathOf(file))) continue;
    (IsMade(file) ? files.made : files.read).push_back(file);
  }
  return true;
}

std::string PassedOver(const MachineFiles& files) {
  std::string text;
  for (const auto& [names, what] : {std::pair(&files.logs, "logs of hives"),
                                    std::pair(&files.made, "files that a rehearsal made")}) {
    if (names->empty()) continue;
    text.append(text.empty() ? "passed over, as " : "; as ").append(what).append(":");
    for (const std::string& name : *names)
      text.append(&name == &names->front() ? " " : ", ") += name;
  }
  return text;
}

}  // namespace zum_rehearse
