#include "tests/windows_check/findings.h"

#include <algorithm>
#include <cstdio>

namespace windows_check {
namespace {

std::string Joined(const std::vector<std::string>& answers) {
  std::string text;
  for (const std::string& answer : answers) text += (text.empty() ? "" : " or ") + answer;
  return text;
}

}  // namespace

void Findings::Line(const char* verdict, const std::string& name, const std::string& rest) {
  char start[64];
  (void)std::snprintf(start, sizeof(start), "%-8s ", verdict);
  const std::string line = start + name + ": " + rest + "\n";
  m_lines += line;
  (void)std::fputs(line.c_str(), stdout);
  (void)std::fflush(stdout);
}

void Findings::Section(const std::string& title) {
  m_lines += "\n== " + title + "\n";
  (void)std::printf("\n== %s\n", title.c_str());
}

void Findings::Judge(const std::string& name, const std::string& answer, const Accepted& accepted) {
  const std::vector<std::string>& right = m_underWine ? accepted.wine : accepted.windows;
  const bool found = std::find(right.begin(), right.end(), answer) != right.end();
  std::string listed = "Windows: " + Joined(accepted.windows);
  if (m_underWine) listed = "Wine: " + Joined(accepted.wine) + "; " + listed;
  Line(found ? "ok" : "DIFFERS", name, answer + "   [" + listed + "]");
  ++(found ? m_ok : m_differing);
}

void Findings::Note(const std::string& name, const std::string& answer) {
  Line("noted", name, answer);
  ++m_noted;
}

void Findings::Skip(const std::string& name, const std::string& reason) {
  Line("skipped", name, reason);
  ++m_skipped;
}

void Findings::Fail(const std::string& name, const std::string& what) {
  Line("DIFFERS", name, what);
  ++m_differing;
}

void Findings::Append(const std::string& title, const std::string& text) {
  m_appendix += "\n---- " + title + "\n" + text;
  if (!text.empty() && text.back() != '\n') m_appendix += '\n';
}

std::string Findings::Summary() const {
  return std::to_string(m_ok) + " ok, " + std::to_string(m_differing) + " differ, " +
         std::to_string(m_noted) + " noted, " + std::to_string(m_skipped) + " skipped";
}

}  // namespace windows_check
