// The rehearsal's command line: options in every spelling that is documented are taken as they are
// meant, and what can't be understood ends with a reason.
//
// The input is the arguments, with line feeds between; a first byte of '+' makes it choose among
// documented ones.
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/host_machine.h"
#include "fuzz/input.h"
#include "zum_rehearse/options.h"

namespace {

using zum_rehearse::Options;
using zum_rehearse::ParsedOptions;
using Words = std::vector<std::string>;

// The path of a list of folders.
const std::string& TheList() {
  static const fuzz::HostMachine machine;
  static const std::string path = machine.Folder() + "/list.txt";
  static const bool isMade =
      static_cast<bool>(std::ofstream(path, std::ios::binary) << "pc-1\r\n\npc 2\npc-3");
  fuzz::Require(isMade, "the list is made");
  return path;
}

bool IsSame(const Options& left, const Options& right) {
  return left.inputs == right.inputs && left.all == right.all && left.json == right.json &&
         left.csv == right.csv && left.htmlFile == right.htmlFile &&
         left.changesPath == right.changesPath && left.undoPath == right.undoPath &&
         left.traceFolder == right.traceFolder;
}

// A call that must be understood, or one that has one thing wrong with it.
class Call {
 public:
  explicit Call(FuzzedDataProvider& input) : m_input(input) {}

  void Make() {
    AddFlags();
    AddNamed("--html", m_options.htmlFile);
    AddNamed("--changes", m_options.changesPath);
    AddNamed("--undo", m_options.undoPath);
    AddNamed("--trace-output", m_options.traceFolder);
    AddInputs();
    AddWrong();
    Shuffle();
  }

  [[nodiscard]] Words Arguments() const {
    Words arguments;
    for (const Words& group : m_groups)
      arguments.insert(arguments.end(), group.begin(), group.end());
    return arguments;
  }
  // Inputs stand in the order of the arguments, those of the list behind them.
  [[nodiscard]] Options Expected() const {
    Options expected = m_options;
    for (const Words& group : m_groups) {
      if (group.size() == 1 && !group[0].starts_with('-')) expected.inputs.push_back(group[0]);
    }
    if (m_hasList) expected.inputs.insert(expected.inputs.end(), {"pc-1", "pc 2", "pc-3"});
    return expected;
  }
  [[nodiscard]] bool IsWrong() const { return m_isWrong || Expected().inputs.empty(); }

 private:
  bool Chance() { return m_input.ConsumeBool(); }

  void AddFlags() {
    if ((m_options.all = Chance())) m_groups.push_back({"--all"});
    const int form = m_input.ConsumeIntegralInRange(0, 2);
    if ((m_options.json = form == 1)) m_groups.push_back({"--json"});
    if ((m_options.csv = form == 2)) m_groups.push_back({"--csv"});
  }

  // Without what an option or a list of arguments could begin with.
  std::string TakeName() {
    std::string name = "n";
    for (const char letter : m_input.ConsumeRandomLengthString(12)) {
      if (letter != '\0') name += letter;
    }
    return name;
  }

  void AddNamed(const std::string& option, std::string& value) {
    if (!Chance()) return;
    value = TakeName();
    m_groups.push_back(Chance() ? Words{option, value} : Words{option + "=" + value});
  }

  void AddInputs() {
    for (int count = m_input.ConsumeIntegralInRange(0, 3); count > 0; --count)
      m_groups.push_back({TakeName()});
    m_hasList = Chance();
    if (m_hasList) m_groups.push_back({"--folders-from=" + TheList()});
  }

  void AddWrong() {
    m_isWrong = m_input.ConsumeIntegralInRange(0, 3) == 0;
    if (!m_isWrong) return;
    static const std::vector<Words> kWrong = {{"--json", "--csv"},
                                              {"--nonsense"},
                                              {"-x"},
                                              {"--all=maybe"},
                                              {"--html", "a", "--html", "b"},
                                              {"--folders-from=none.txt"},
                                              {"--folders-from=."},
                                              {"--jso"}};
    const auto choice = m_input.ConsumeIntegralInRange<std::size_t>(0, kWrong.size() - 1);
    m_groups.push_back(kWrong[choice]);
  }

  void Shuffle() {
    for (std::size_t i = m_groups.size(); i > 1; --i) {
      std::swap(m_groups[i - 1], m_groups[m_input.ConsumeIntegralInRange<std::size_t>(0, i - 1)]);
    }
  }

  FuzzedDataProvider& m_input;
  Options m_options;
  bool m_hasList = false;
  bool m_isWrong = false;
  std::vector<Words> m_groups;
};

void CheckRefusal(const ParsedOptions& parsed) {
  fuzz::Require(parsed.status == 0 || parsed.status == 2, "the status is a documented one");
  fuzz::Require(!parsed.text.empty() && parsed.text.ends_with('\n'), "what ends the call is told");
}

void CheckChosen(FuzzedDataProvider& input) {
  Call call(input);
  call.Make();
  const ParsedOptions parsed = zum_rehearse::ParseOptions(call.Arguments());
  if (call.IsWrong()) {
    if (parsed.options) {
      for (const std::string& argument : call.Arguments())
        std::fprintf(stderr, "taken: %s\n", argument.c_str());
    }
    fuzz::Require(!parsed.options && parsed.status == 2, "a wrong call is refused");
    CheckRefusal(parsed);
    return;
  }
  if (!parsed.options) std::fprintf(stderr, "%s", parsed.text.c_str());
  fuzz::Require(parsed.options.has_value(), "a right call is understood");
  fuzz::Require(IsSame(*parsed.options, call.Expected()), "each option is taken as it is meant");
}

void CheckFree(std::string_view bytes) {
  Words arguments;
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    arguments.emplace_back(bytes.substr(0, end));
    // A list could be any file of the machine.
    if (arguments.back().find('/') != std::string::npos) return;
    if (arguments.back() == "--folders-from=LIST") arguments.back() = "--folders-from=" + TheList();
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  const ParsedOptions parsed = zum_rehearse::ParseOptions(arguments);
  if (!parsed.options) return CheckRefusal(parsed);
  fuzz::Require(!(parsed.options->json && parsed.options->csv), "one form excludes the other");
  fuzz::Require(!parsed.options->inputs.empty(), "there is something to rehearse");
  const auto has = [&arguments](const char* word) {
    return std::any_of(arguments.begin(), arguments.end(),
                       [word](const auto& each) { return each.starts_with(word); });
  };
  fuzz::Require(!parsed.options->all || has("--all"), "nothing is on that wasn't asked for");
  fuzz::Require(parsed.options->htmlFile.empty() || has("--html"),
                "no file is written that wasn't asked for");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size != 0 && data[0] == '+') {
    FuzzedDataProvider input(data + 1, size - 1);
    CheckChosen(input);
  } else {
    CheckFree({reinterpret_cast<const char*>(data), size});
  }
  return 0;
}
