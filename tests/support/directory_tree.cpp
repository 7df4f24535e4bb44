#include "tests/support/directory_tree.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "tests/support/text.h"
#include "tests/support/unix_shell.h"
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <share.h>
#else
#include "winapi/host/control.h"
#include "winapi/host/paths.h"
#endif

namespace tests {
namespace {

std::string Quoted(std::u16string_view name) { return "'" + Narrow(name) + "'"; }

}  // namespace

std::filesystem::path ToLocal(const std::u16string& windowsPath) {
#ifdef _WIN32
  return windowsPath;
#else
  std::u16string full;
  if (winapi::host::FullPath(windowsPath, full) != 0) return {};
  std::replace(full.begin(), full.end(), u'\\', u'/');
  const std::string drive =
      full[0] == u'C' ? winapi::host::RootFolder() + "/drive_c" : std::string();
  return std::filesystem::path(drive).concat(full.begin() + 2, full.end());
#endif
}

std::string ReadAll(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream.is_open()) throw std::runtime_error("can't read " + file.string());
  std::ostringstream bytes;  // the library's own loop: the sweeps read some thousand files
  bytes << stream.rdbuf();
  return std::move(bytes).str();
}

std::string ReadIfThere(const std::filesystem::path& file) {
  return std::filesystem::exists(file) ? ReadAll(file) : std::string();
}

void WriteAll(const std::filesystem::path& file, std::string_view content) {
  std::ofstream(file, std::ios::binary) << content;
}

std::set<std::u16string> NamesIn(const std::filesystem::path& directory) {
  std::set<std::u16string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.insert(entry.path().filename().u16string());
  }
  return names;
}

// Wine doesn't see links that lead to nothing, and nothing that goes through it could remove them.
DirectoryTree::~DirectoryTree() {
  if (!m_hasLinks) return;
  try {
    RunShell("find . -type l -delete");
  } catch (const std::exception& exception) {
    std::cerr << "a test's links stay: " << exception.what() << '\n';
  }
}

std::filesystem::path DirectoryTree::File(std::u16string_view name) const {
  return name.empty() ? m_folder.Path()
                      : m_folder.Path() / std::filesystem::path(std::u16string(name));
}

std::u16string DirectoryTree::Windows(std::u16string_view name) const {
  std::u16string path = m_folder.WindowsPath();
  if (!name.empty()) path.append(u"\\").append(name);
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return path;
}

void DirectoryTree::SetReadOnly(std::u16string_view name, bool readOnly) const {
  using std::filesystem::perm_options;
  std::filesystem::permissions(File(name), std::filesystem::perms::owner_write,
                               readOnly ? perm_options::remove : perm_options::add);
}

void DirectoryTree::MakeLink(std::u16string_view target, std::u16string_view name) const {
  m_hasLinks = true;
  RunShell("ln -s " + Quoted(target) + ' ' + Quoted(name));
}

bool DirectoryTree::IsLink(std::u16string_view name) const {
  return RunUnixShell(File(u""), "test -L " + Quoted(name));
}

void DirectoryTree::RunShell(const std::string& command) const {
  if (!RunUnixShell(File(u""), command)) throw std::runtime_error("failed: " + command);
}

#ifdef _WIN32

void DirectoryTree::MakeDeep(int levels) const {
  RunShell("mkdir top && cd top && touch f && for i in $(seq 2 " + std::to_string(levels) +
           "); do mkdir d && cd d && touch f || exit 1; done");
}

void DirectoryTree::MakeWide(std::u16string_view name, int files) const {
  MakeDirectory(name);
  RunShell("cd " + Quoted(name) + " && seq -f file%.0f " + std::to_string(files) +
           " | xargs touch");
}

// By the C runtime, whose way of opening can share nothing.
HeldFile::HeldFile(const DirectoryTree& tree, std::u16string_view name) {
  if (::_sopen_s(&m_descriptor, tree.File(name).string().c_str(), _O_RDONLY, _SH_DENYRW, 0) != 0) {
    throw std::runtime_error("can't hold " + Narrow(name));
  }
}

HeldFile::~HeldFile() { ::_close(m_descriptor); }

#else

void DirectoryTree::MakeDeep(int levels) const {
  std::u16string name = u"top";
  for (int i = 0; i < levels; ++i, name += u"/d") {
    std::filesystem::create_directory(File(name));
    Write(name + u"/f");
  }
}

void DirectoryTree::MakeWide(std::u16string_view name, int files) const {
  MakeDirectory(name);
  for (int i = 0; i < files; ++i) {
    WriteAll(File(name) / ("file" + std::to_string(i)), "content");
  }
}

HeldFile::HeldFile(const DirectoryTree& tree, std::u16string_view name)
    : m_path(tree.Windows(name)) {
  if (!winapi::host::LockFile(m_path)) throw std::runtime_error("can't hold " + Narrow(name));
}

HeldFile::~HeldFile() { winapi::host::UnlockFile(m_path); }

#endif

}  // namespace tests
