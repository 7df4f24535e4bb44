#include "oru/rtl/result_text.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "oru/rtl/check.h"
#include "oru/rtl/text_conversion.h"

namespace oru {
namespace {

constexpr std::string_view kUnknown = "Unknown result code";

// The view holds the length, so that no lookup measures a text.
struct ResultText {
  std::uint32_t code;
  std::string_view text;
};

// Both tables are in rising order of the codes and have gaps.
constexpr ResultText kRtlTexts[] = {
    {0x00000000, "No error"},
    {0x00000001, "False"},
    {0x80000001, "Interface not supported"},
    {0x80000040, "Unexpected"},
    {0x80000041, "Out of memory"},
    {0x80000042, "Not supported"},
    {0x80000043, "Not implemented"},
    {0x80000044, "Buffer too small"},
    {0x80000045, "Access denied"},
    {0x80000046, "Invalid argument"},
    {0x8000004A, "Not matched"},
    {0x8000004B, "Unspecified error"},
    {0x8000004C, "Not found"},
    {0x8000004D, "Found"},
    {0x8000004F, "Locked"},
    {0x80000050, "Not locked"},
    {0x80000051, "Operation cancelled"},
    {0x80000057, "Method not found"},
    {0x80000058, "Stack is empty"},
    {0x80000059, "Media error"},
    {0x8000005A, "Invalid signature"},
    {0x8000005B, "Invalid version"},
    {0x8000005C, "Invalid size"},
    {0x8000005D, "Invalid type"},
    {0x8000005E, "Invalid index"},
    {0x80000062, "Out of space"},
    {0x80000063, "Not ready"},
    {0x80000064, "Less than"},
    {0x80000065, "More than"},
    {0x80000066, "Prohibited"},
    {0x80000067, "Already done"},
    {0x80000068, "Need reboot"},
    {0x80000069, "Bases corrupted"},
    {0x8000006A, "Invalid state"},
    {0x8000006B, "Not initialized"},
    {0x8000006C, "Insufficient resources"},
    {0x80000071, "Invalid result"},
    {0x80000072, "Unknown exception"},
    {0x80000076, "Meta information not found"},
    {0x80000077, "Numerical type overflow"},
    {0x80000078, "File is too big"},
    {0x80000079, "Trace level ok"},
    {0x8000007A, "Trace level prohibited"},
    {0x80000100, "Class not found"},
    {0x80000101, "Settings are required"},
    {0x80000102, "Unexpected settings"},
    {0x80000103, "Wrong settings type"},
    {0x80000104, "Wrong settings revision"},
    {0x80000105, "Settings not found"},
    {0x80000106, "Object is untrusted"},
    {0x80000180, "Property not found"},
    {0x80000221, "Operation timeout"},
    {0x80000300, "Invalid symbol"},
    {0x80000301, "Non dec symbol"},
    {0x80000302, "Non hex symbol"},
    {0x80000303, "Non base64 symbol"},
    {0x80000310, "Syntax error"},
    {0x80000311, "GUID syntax error"},
    {0x80000312, "OID syntax error"},
    {0x80000313, "DateTime syntax error"},
};

constexpr ResultText kSystemTexts[] = {
    {0x80010100, "Unspecified platform error"},
    {0x80010101, "Invalid handle"},
    {0x80010102, "File not found"},
    {0x80010103, "Path not found"},
    {0x80010104, "Sharing violation"},
    {0x80010105, "Already exists"},
    {0x80010106, "Wait abandoned"},
    {0x80010107, "Symbol not found"},
    {0x80010108, "Sxs is incorrect"},
    {0x80010109, "Invalid path name"},
    {0x80010110, "Cannot open an anonymous level security token"},
    {0x80010111, "Password is invalid"},
    {0x80010112, "Module not found"},
    {0x80010113, "System image bad signature"},
    {0x80010114, "Cloud file request aborted"},
    {0x80010115, "Memory mapping failed"},
    {0x80010116, "Network error"},
};

// No text is empty, so that an empty one needn't be looked for behind a lookup.
constexpr bool IsWellFormed(const ResultText* first, const ResultText* last) {
  return std::ranges::is_sorted(first, last, {}, &ResultText::code) &&
         std::ranges::none_of(first, last, &std::string_view::empty, &ResultText::text);
}
static_assert(IsWellFormed(std::begin(kRtlTexts), std::end(kRtlTexts)));
static_assert(IsWellFormed(std::begin(kSystemTexts), std::end(kSystemTexts)));

std::string_view Find(const ResultText* first, const ResultText* last, ResultCode rc) noexcept {
  const auto code = static_cast<std::uint32_t>(rc);
  const ResultText* const found =
      std::ranges::lower_bound(first, last, code, {}, &ResultText::code);
  return found != last && found->code == code ? found->text : kUnknown;
}

}  // namespace

// The facility is asked of the code, severity left out, so a success of the facility is looked up
// too and found unknown but for 0 and 1.
std::string_view GetRtlResultText(ResultCode rc) noexcept {
  ORU_CHECK(ORU_GET_RESULT_FACILITY(rc) == result_facility::facRtl);
  return Find(std::begin(kRtlTexts), std::end(kRtlTexts), rc);
}

std::string_view GetSystemResultText(ResultCode rc) noexcept {
  ORU_CHECK(ORU_GET_RESULT_FACILITY(rc) == result_facility::facSystem);
  return Find(std::begin(kSystemTexts), std::end(kSystemTexts), rc);
}

std::string_view LookupResultText(ResultCode rc) noexcept {
  switch (ORU_GET_RESULT_FACILITY(rc)) {
    case result_facility::facRtl:
      return GetRtlResultText(rc);
    case result_facility::facSystem:
      return GetSystemResultText(rc);
    // The codes of Windows errors without a row of their own, 0x8007xxxx, and those of the tool.
    default:
      return kUnknown;
  }
}

// Every text is ASCII, so only a lack of memory can throw here.
String16 GetFrameworkResultText(ResultCode rc) {
  String16 text;
  ThrowOnConversionFailure(AnsiToUtf16(LookupResultText(rc), text));
  return text;
}

}  // namespace oru
