// The removal of a directory with many files. Its memory grows with the depth only, so its entries
// are read one by one and never gathered. The number is that of the files, all in one directory.
//
// Peers: on Windows a bare loop that finds and deletes; natively std::filesystem::remove_all, which
// does without what the host tells of each file as Windows does (size, times, attributes).
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/cases.h"
#include "platform/util/windows/filesystem/file_operations.h"
#include "winapi/files.h"

namespace {

namespace fs = std::filesystem;

constexpr char kRow[] = "removal_flat";

// Where the directory is on this machine, and what the product calls it.
struct Place {
  fs::path folder;
  std::u16string name;
};

void Prepare(const Place& place, std::size_t files) {
  fs::create_directories(place.folder);
  for (std::size_t i = 0; i < files; ++i) {
    std::ofstream(place.folder / ("file" + std::to_string(i) + ".tmp")).put('x');
  }
}

void Ours(const Place& place) {
  (void)product_platform::filesystem::RemoveDirectoryRecursive(place.name);
}

#ifdef _WIN32
constexpr char kPeer[] = "bare_loop";
constexpr std::size_t kMost = 10'000;  // making more takes the server longer than removing them

Place MakePlace() {
  const fs::path folder = fs::temp_directory_path() / "zum-removal";
  return {folder, folder.u16string()};
}

void Peer(const Place& place) {
  winapi::FindData data;
  const winapi::Handle search =
      winapi::FindFirstFileExW((place.name + u"\\*").c_str(), winapi::kFindExInfoStandard, &data,
                               winapi::kFindExSearchNameMatch, nullptr, 0);
  do {
    (void)winapi::DeleteFileW((place.name + u"\\" + data.cFileName).c_str());  // not "." and ".."
  } while (winapi::FindNextFileW(search, &data) != 0);
  (void)winapi::FindClose(search);
  (void)winapi::RemoveDirectoryW(place.name.c_str());
}
#else
constexpr char kPeer[] = "remove_all";
constexpr std::size_t kMost = 100'000;

// On a machine of its own, below the current folder.
Place MakePlace() {
  const fs::path machine = fs::current_path() / "removal-machine";
  (void)::setenv("ZUM_HOST_ROOT", machine.c_str(), /*overwrite=*/1);
  return {machine / "drive_c" / "removal", u"C:\\removal"};
}

void Peer(const Place& place) { (void)fs::remove_all(place.folder); }
#endif

bool Removes(void (*remove)(const Place&), const Place& place) {
  Prepare(place, /*files=*/3);
  remove(place);
  return !fs::exists(place.folder);
}

void AddSide(const char* side, void (*remove)(const Place&), const Place& place) {
  if (!Removes(remove, place)) bench::AddFailure(kRow, side, kMost);
  for (const std::size_t files : {std::size_t{1000}, kMost}) {
    bench::AddPrepared(
        kRow, side, files, [=] { Prepare(place, files); }, [=] { remove(place); });
  }
}

}  // namespace

int main(int argc, char** argv) {
  const Place place = MakePlace();
  AddSide("ours", Ours, place);
  AddSide(kPeer, Peer, place);
  return bench::Run(argc, argv);
}
