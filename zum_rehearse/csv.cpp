#include "zum_rehearse/csv.h"

#include <string_view>
#include <vector>

#include "zum_rehearse/printable.h"

namespace zum_rehearse {
namespace {

constexpr std::size_t kMachineColumns = 4;  // machine, status, line, error
#ifdef _WIN32
constexpr char kLineEnd[] = "\n";  // the standard output puts the other half before it
#else
constexpr char kLineEnd[] = "\r\n";
#endif

std::string Field(std::string_view printable) {
  std::string field = "\"";
  if (!printable.empty() && std::string_view("=+-@").find(printable[0]) != std::string_view::npos) {
    field += '\'';
  }
  for (const char character : printable) {
    if (character == '"') field += '"';
    field += character;
  }
  return field + "\"";
}

std::string Line(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& field : fields) {
    if (!line.empty()) line += ',';
    line += Field(field);
  }
  return line + kLineEnd;
}

std::string VerdictIds(const Product& product) {
  std::string ids;
  for (const Verdict verdict : product.verdicts) {
    if (!ids.empty()) ids += ' ';
    ids += VerdictId(verdict);
  }
  return ids;
}

void AddProduct(std::vector<std::string>& fields, const Product& product) {
  fields.insert(fields.end(),
                {Printable(product.key), product.code, Printable(product.name),
                 Printable(product.version), VerdictIds(product), product.changes ? "yes" : "no",
                 std::string(PackageStateName(product.package))});
  for (const Slot& slot : product.slots) {
    fields.push_back(slot.before ? Printable(*slot.before) : std::string());
    fields.push_back(slot.after ? Printable(*slot.after) : std::string());
  }
}

}  // namespace

std::string CsvHeading() {
  std::vector<std::string> names = {"machine", "status",  "line",     "error",   "key",    "code",
                                    "name",    "version", "verdicts", "changes", "package"};
  for (const char* const name : kSlotNames) {
    names.push_back(Concat({name, " before"}));
    names.push_back(Concat({name, " after"}));
  }
  return Line(names);
}

std::string CsvLines(const Report& report, bool all) {
  const std::vector<std::string> machine = {
      Printable(std::string_view(report.machine)), std::to_string(StatusOf(report)),
      Printable(std::string_view(report.outcome.line)), Printable(std::string_view(report.error))};
  std::string lines;
  for (const Product& product : report.products) {
    if (!all && product.verdicts.front() == Verdict::kOrdinary) continue;
    std::vector<std::string> fields = machine;
    AddProduct(fields, product);
    lines += Line(fields);
  }
  if (!lines.empty()) return lines;
  std::vector<std::string> fields = machine;
  fields.resize(kMachineColumns + 7 + 2 * kSlotCount);
  return Line(fields);
}

}  // namespace zum_rehearse
