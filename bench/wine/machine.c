/* The machine that is measured: installed products in the installer's records.
 *
 *   bench_machine make COUNT   that many products and no others
 *   bench_machine mark         every other product gets its marks, in place of its values
 *   bench_machine check        fails unless no product is marked and each has its values
 *
 * Prints how many products there are. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#define USER_DATA L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products"
#define CLASSES L"SOFTWARE\\Classes\\Installer\\Products"
#define ACCESS (KEY_ALL_ACCESS | KEY_WOW64_64KEY)

static const wchar_t kPackageName[] = L"zum_win.msi";

static void Fail(const char* what, LSTATUS error) {
  fprintf(stderr, "bench_machine: %s: %ld\n", what, error);
  exit(1);
}

/* As long as the paths that the installer gives its copies. */
static void PackageOf(unsigned number, wchar_t* path) { swprintf(path, 64, L"C:\\Windows\\Installer\\%x.msi", number); }

static void NameOf(unsigned number, wchar_t* name) { swprintf(name, 64, L"%08X45A9D0E4C812D5E6F708192A", number); }

static HKEY Open(const wchar_t* products, unsigned number, const wchar_t* part, int create) {
  wchar_t name[64], path[512];
  HKEY key;
  NameOf(number, name);
  swprintf(path, 512, L"%ls\\%ls\\%ls", products, name, part);
  const LSTATUS error = create ? RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, NULL, 0, ACCESS, NULL, &key, NULL)
                               : RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, ACCESS, &key);
  if (error != 0) Fail("a product's key", error);
  return key;
}

static void Set(HKEY key, const wchar_t* name, const wchar_t* text) {
  const LSTATUS error =
      RegSetValueExW(key, name, 0, REG_SZ, (const BYTE*)text, (DWORD)((wcslen(text) + 1) * sizeof(*text)));
  if (error != 0) Fail("a value", error);
}

static void RequireText(HKEY key, const wchar_t* name, const wchar_t* text) {
  wchar_t found[64] = L"";
  DWORD type = 0, bytes = sizeof(found) - sizeof(*found);
  const LSTATUS error = RegQueryValueExW(key, name, NULL, &type, (BYTE*)found, &bytes);
  if (error != 0 || type != REG_SZ || wcscmp(found, text) != 0) Fail("a value isn't what it should be", error);
}

static void RequireNone(HKEY key, const wchar_t* name) {
  if (RegQueryValueExW(key, name, NULL, NULL, NULL, NULL) != ERROR_FILE_NOT_FOUND) Fail("a mark is still there", 0);
}

static void MakeProduct(unsigned number) {
  wchar_t path[64];
  PackageOf(number, path);
  const HKEY properties = Open(USER_DATA, number, L"InstallProperties", 1);
  Set(properties, L"DisplayName", L"Some product");
  Set(properties, L"LocalPackage", path);
  RegCloseKey(properties);
  const HKEY source = Open(CLASSES, number, L"SourceList", 1);
  Set(source, L"LastUsedSource", L"n;1;C:\\sources\\");
  Set(source, L"PackageName", kPackageName);
  RegCloseKey(source);
}

static void MarkProduct(unsigned number) {
  wchar_t path[64];
  PackageOf(number, path);
  const HKEY properties = Open(USER_DATA, number, L"InstallProperties", 0);
  Set(properties, L"LocalPackageNotExist", path);
  RegDeleteValueW(properties, L"LocalPackage");
  RegCloseKey(properties);
  const HKEY source = Open(CLASSES, number, L"SourceList", 0);
  Set(source, L"PackageNameNotExist", kPackageName);
  RegDeleteValueW(source, L"PackageName");
  RegCloseKey(source);
}

static void CheckProduct(unsigned number) {
  wchar_t path[64];
  PackageOf(number, path);
  const HKEY properties = Open(USER_DATA, number, L"InstallProperties", 0);
  RequireText(properties, L"LocalPackage", path);
  RequireNone(properties, L"LocalPackageNotExist");
  RegCloseKey(properties);
  const HKEY source = Open(CLASSES, number, L"SourceList", 0);
  RequireText(source, L"PackageName", kPackageName);
  RequireNone(source, L"PackageNameNotExist");
  RegCloseKey(source);
}

static void RemoveAll(const wchar_t* products) {
  HKEY key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, products, 0, ACCESS, &key) != 0) return;
  const LSTATUS error = RegDeleteTreeW(key, NULL);
  if (error != 0) Fail("the products' keys can't be removed", error);
  RegCloseKey(key);
}

static unsigned CountProducts(void) {
  HKEY key;
  DWORD count = 0;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, USER_DATA, 0, ACCESS, &key) != 0) return 0;
  RegQueryInfoKeyW(key, NULL, NULL, NULL, &count, NULL, NULL, NULL, NULL, NULL, NULL, NULL);
  RegCloseKey(key);
  return count;
}

int main(int argc, char** argv) {
  if (argc == 3 && strcmp(argv[1], "make") == 0) {
    RemoveAll(USER_DATA);
    RemoveAll(CLASSES);
    const unsigned count = (unsigned)atoi(argv[2]);
    for (unsigned i = 0; i < count; ++i) MakeProduct(i);
  } else if (argc == 2 && strcmp(argv[1], "mark") == 0) {
    const unsigned count = CountProducts();
    for (unsigned i = 0; i < count; i += 2) MarkProduct(i);
  } else if (argc == 2 && strcmp(argv[1], "check") == 0) {
    const unsigned count = CountProducts();
    for (unsigned i = 0; i < count; ++i) CheckProduct(i);
  } else {
    return 2;
  }
  printf("%u\n", CountProducts());
  return 0;
}
