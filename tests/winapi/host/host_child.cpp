// A program on the host layer, for tests that need a whole process: does what its arguments say,
// one after the other, and ends as a program does.
//
//   set NAME TEXT   writes a REG_SZ below HKEY_LOCAL_MACHINE\SOFTWARE\Child
//   fill COUNT      writes that many values
//   get NAME        prints the value's text and a line end, or "-"
//   open            prints the error of opening that key, and a line end
//   root            prints the folder that stands for the machine, and a line end
//   wait            prints "ready" and a line end, and waits for the end of the standard input
//   flush           writes the registry file, prints "written" or "not written" and a line end
//   reload          forgets the registry
//   limit           makes each write to a file fail
//   nobody          goes on as a user who is nobody, where it may choose
//   print TEXT      prints the text and a line end
//   late NAME TEXT  writes a REG_SZ as the static objects are destroyed
//   status NUMBER   ends with that exit status
//   fork            goes on as a child process, whose end is awaited
//   quick           ends without an exit handler
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "winapi/host/control.h"
#include "winapi/host/text.h"
#include "winapi/registry.h"

namespace {

namespace host = winapi::host;

winapi::Key OpenKey(winapi::Error& error) {
  winapi::Key key = nullptr;
  error = winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), u"SOFTWARE\\Child", 0, 0x2011F, &key);
  return key;
}

void Set(const std::string& name, const std::string& text) {
  (void)host::CreateRegistryKey(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Child");  // "open" tells a failure
  winapi::Error error = 0;
  const winapi::Key key = OpenKey(error);
  const std::u16string wide = host::ToUtf16(text);
  (void)winapi::RegSetValueExW(key, host::ToUtf16(name).c_str(), 0, 1,
                               reinterpret_cast<const std::uint8_t*>(wide.c_str()),
                               static_cast<winapi::Dword>(wide.size() * 2));
  (void)winapi::RegCloseKey(key);
}

void Get(const std::string& name) {
  winapi::Error error = 0;
  const winapi::Key key = OpenKey(error);
  char16_t text[200] = {};
  winapi::Dword size = sizeof text - 2;
  error = winapi::RegQueryValueExW(key, host::ToUtf16(name).c_str(), nullptr, nullptr,
                                   reinterpret_cast<std::uint8_t*>(text), &size);
  std::puts(error == 0 ? host::ToUtf8(text).c_str() : "-");
  if (key != nullptr) (void)winapi::RegCloseKey(key);
}

void Open() {
  winapi::Error error = 0;
  const winapi::Key key = OpenKey(error);
  std::printf("%u\n", static_cast<unsigned>(error));
  if (key != nullptr) (void)winapi::RegCloseKey(key);
}

void Wait() {
  std::puts("ready");
  (void)std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
}

void LimitFiles() {
  (void)std::signal(SIGXFSZ, SIG_IGN);
  const rlimit nothing = {0, 0};
  (void)::setrlimit(RLIMIT_FSIZE, &nothing);
}

void BecomeNobody() {
  constexpr uid_t kNobody = 65534;
  if (::geteuid() == 0 && ::setuid(kNobody) != 0) std::abort();
}

// Made before the registry's first use, and destroyed behind it.
struct LateChange {
  ~LateChange();
  std::string name;
  std::string text;
} lateChange;

// The parent ends here, without its exit handlers.
void Fork() {
  (void)std::fflush(stdout);
  const pid_t child = ::fork();
  if (child == 0) return;
  int status = 0;
  (void)::waitpid(child, &status, 0);
  ::_exit(WEXITSTATUS(status));
}

LateChange::~LateChange() {
  if (!name.empty()) Set(name, text);
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view command = argv[i];
    const auto next = [&] { return i + 1 < argc ? std::string(argv[++i]) : std::string(); };
    if (command == "set") {
      const std::string name = next();
      Set(name, next());
    } else if (command == "fill") {
      const int count = std::atoi(next().c_str());
      for (int j = 0; j < count; ++j) Set("value " + std::to_string(j), std::string(100, 'x'));
    } else if (command == "get") {
      Get(next());
    } else if (command == "open") {
      Open();
    } else if (command == "root") {
      std::puts(host::RootFolder().c_str());
    } else if (command == "wait") {
      Wait();
    } else if (command == "flush") {
      std::puts(host::FlushRegistry() ? "written" : "not written");
    } else if (command == "reload") {
      host::ReloadRegistry();
    } else if (command == "limit") {
      LimitFiles();
    } else if (command == "nobody") {
      BecomeNobody();
    } else if (command == "print") {
      std::puts(next().c_str());
    } else if (command == "late") {
      lateChange.name = next();
      lateChange.text = next();
    } else if (command == "status") {
      return std::atoi(next().c_str());
    } else if (command == "fork") {
      Fork();
    } else if (command == "quick") {
      (void)std::fflush(stdout);
      ::_exit(0);
    } else {
      return 2;
    }
  }
  return 0;
}
