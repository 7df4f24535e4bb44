/* What /unblock does, by the same calls of the registry in the same order, and nothing else: no holders, no strings of
 * a framework, no handling of what can't happen here. With the path of a file as its argument it writes the same trace
 * lines by fprintf, with the zone read for each line as the product has to.
 *
 * Values of more than 64 characters are not looked at: there are none on the machine that is measured. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#define USER_DATA L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products"
#define CLASSES L"SOFTWARE\\Classes\\Installer\\Products"
#define STAGE "setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "
#define TICKS_PER_MINUTE 600000000LL

enum { kNameCapacity = 260, kLongestPath = 512, kValueCapacity = 64 };

typedef DWORD(WINAPI* YearFunction)(USHORT, PDYNAMIC_TIME_ZONE_INFORMATION, LPTIME_ZONE_INFORMATION);

static FILE* trace;
static YearFunction zoneOfYear;

static LONGLONG ToTicks(const FILETIME* time) { return ((LONGLONG)time->dwHighDateTime << 32) | time->dwLowDateTime; }

static SYSTEMTIME FieldsOf(LONGLONG ticks) {
  const FILETIME time = {(DWORD)ticks, (DWORD)(ticks >> 32)};
  SYSTEMTIME fields;
  FileTimeToSystemTime(&time, &fields);
  return fields;
}

static LONGLONG TicksOf(const SYSTEMTIME* fields) {
  FILETIME time;
  SystemTimeToFileTime(fields, &time);
  return ToTicks(&time);
}

/* The instant at which a rule of the zone changes the clock: the first, second ... or last such weekday of a month. */
static LONGLONG ChangeOf(WORD year, const SYSTEMTIME* rule) {
  static const WORD days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  SYSTEMTIME date = {0};
  date.wYear = year;
  date.wMonth = rule->wMonth;
  date.wHour = rule->wHour;
  date.wDay = 1;
  const WORD first = FieldsOf(TicksOf(&date)).wDayOfWeek;
  const WORD last = (WORD)(days[rule->wMonth - 1] + (isLeap && rule->wMonth == 2));
  date.wDay = (WORD)(1 + (rule->wDayOfWeek + 7 - first) % 7 + 7 * (rule->wDay - 1));
  while (date.wDay > last) date.wDay = (WORD)(date.wDay - 7);
  return TicksOf(&date);
}

static LONGLONG BiasAt(LONGLONG now, WORD year) {
  TIME_ZONE_INFORMATION zone;
  if (!zoneOfYear(year, NULL, &zone)) return 0;
  if (zone.DaylightDate.wMonth == 0 || zone.StandardDate.wMonth == 0) return zone.Bias;
  const LONGLONG toDaylight = ChangeOf(year, &zone.DaylightDate) + (zone.Bias + zone.StandardBias) * TICKS_PER_MINUTE;
  const LONGLONG toStandard = ChangeOf(year, &zone.StandardDate) + (zone.Bias + zone.DaylightBias) * TICKS_PER_MINUTE;
  const int isDaylight = toDaylight <= toStandard ? toDaylight <= now && now < toStandard
                                                  : now >= toDaylight || now < toStandard;
  return zone.Bias + (isDaylight ? zone.DaylightBias : zone.StandardBias);
}

static SYSTEMTIME LocalTime(LONGLONG now) {
  return FieldsOf(now - BiasAt(now, FieldsOf(now).wYear) * TICKS_PER_MINUTE);
}

static LONGLONG Now(void) {
  FILETIME time;
  GetSystemTimeAsFileTime(&time);
  return ToTicks(&time);
}

static void WriteLine(const char* text, const wchar_t* product) {
  if (trace == NULL) return;
  const LONGLONG now = Now();
  const SYSTEMTIME time = LocalTime(now);
  char name[3 * kNameCapacity] = "";
  if (product != NULL) WideCharToMultiByte(CP_UTF8, 0, product, -1, name, sizeof(name), NULL, NULL);
  fprintf(trace, "%02d:%02d:%02d.%03d\t0x%lx\tINF\t%s%s\r\n", time.wHour, time.wMinute, time.wSecond,
          (int)(now / 10000 % 1000), GetCurrentThreadId(), text, name);
}

static void OpenTrace(const char* path) {
  zoneOfYear = (YearFunction)(void*)GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetTimeZoneInformationForYear");
  trace = fopen(path, "wb");
  const LONGLONG now = Now();
  const SYSTEMTIME local = LocalTime(now);
  const SYSTEMTIME utc = FieldsOf(now);
  const DWORD process = GetCurrentProcessId();
  fprintf(trace, "TVX TRACE FILE\tTime: %02d.%02d.%04d %02d:%02d  PID: %lu(0x%lx)\r\n", local.wDay, local.wMonth,
          local.wYear, local.wHour, local.wMinute, process, process);
  fprintf(trace, "Command line: %ls\r\n", GetCommandLineW());
  fprintf(trace, "Time(UTC) : %02d.%02d.%04d %02d:%02d  \r\n\r\n\r\n", utc.wDay, utc.wMonth, utc.wYear, utc.wHour,
          utc.wMinute);
  WriteLine("zs_util\t[main]  begin", NULL);
}

static void CloseTrace(void) {
  if (trace == NULL) return;
  WriteLine("zs_util\t[main]  end", NULL);
  WriteLine("zs_util\t[main] exit with result = 0x00000000", NULL);
  const SYSTEMTIME time = LocalTime(Now());
  fprintf(trace, "End of trace file, time: %02d.%02d.%04d %02d:%02d:%02d\r\n", time.wDay, time.wMonth, time.wYear,
          time.wHour, time.wMinute, time.wSecond);
  fclose(trace);
}

static wchar_t** ListProducts(size_t* count) {
  size_t capacity = 0;
  wchar_t** names = NULL;
  wchar_t name[kNameCapacity + 1];
  HKEY key;
  *count = 0;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, USER_DATA, 0, KEY_READ | KEY_WOW64_64KEY, &key) != 0) exit(1);
  for (DWORD index = 0; RegEnumKeyW(key, index, name, kNameCapacity) == 0; ++index) {
    if (*count == capacity) {
      capacity = capacity == 0 ? 1 : 2 * capacity;
      names = realloc(names, capacity * sizeof(*names));
    }
    names[(*count)++] = _wcsdup(name);
  }
  RegCloseKey(key);
  return names;
}

static HKEY OpenPart(const wchar_t* products, const wchar_t* name, const wchar_t* part) {
  wchar_t path[kLongestPath];
  HKEY key;
  wcscpy(path, products);
  wcscat(path, L"\\");
  wcscat(path, name);
  wcscat(path, L"\\");
  wcscat(path, part);
  const DWORD access = KEY_READ | KEY_WRITE | KEY_WOW64_64KEY;
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, access, &key) == 0 ? key : NULL;
}

/* Puts the marked value's text, or `fixed`, back under its own name. */
static void Restore(HKEY key, const wchar_t* name, const wchar_t* marked, const wchar_t* fixed, const char* line,
                    const wchar_t* product) {
  wchar_t text[kValueCapacity];
  DWORD type, bytes = sizeof(text);
  if (RegQueryValueExW(key, marked, NULL, &type, (BYTE*)text, &bytes) != 0 || type != REG_SZ) return;
  WriteLine(line, product);
  const wchar_t* const data = fixed != NULL ? fixed : text;
  bytes = fixed != NULL ? (DWORD)((wcslen(fixed) + 1) * sizeof(*fixed)) : bytes - (DWORD)sizeof(*text);
  if (RegSetValueExW(key, name, 0, REG_SZ, (const BYTE*)data, bytes) != 0) exit(1);
  if (RegDeleteValueW(key, marked) != 0) exit(1);
}

static void RestoreProduct(const wchar_t* product) {
  const HKEY properties = OpenPart(USER_DATA, product, L"InstallProperties");
  if (properties == NULL) return;
  Restore(properties, L"LocalPackage", L"LocalPackageNotExist", NULL,
          STAGE "update LocalPackageNotExist for key = ", product);
  const HKEY source = OpenPart(CLASSES, product, L"SourceList");
  if (source != NULL) {
    Restore(source, L"PackageName", L"PackageNameNotExist", L"zum_win.msi",
            STAGE "update PackageNameNotExist for key = ", product);
    RegCloseKey(source);
  }
  RegCloseKey(properties);
}

int main(int argc, char** argv) {
  size_t count;
  if (argc > 1) OpenTrace(argv[1]);
  WriteLine(STAGE " begin", NULL);
  wchar_t** const names = ListProducts(&count);
  for (size_t i = 0; i < count; ++i) RestoreProduct(names[i]);
  WriteLine(STAGE " end", NULL);
  CloseTrace();
  return 0;
}
