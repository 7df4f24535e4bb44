#include "zum_setup_util_lib/tool_result_codes.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "oru/rtl/result_text.h"
#include "oru/rtl/text_conversion.h"

namespace correct_setup {
namespace {

struct ResultText {
  oru::ResultCode code;
  std::string_view text;
};

constexpr ResultText kTexts[] = {
    {rcInvalidSelfDefense, "Invalid self defense"},
    {rcDisableUpgradeFailed, "Problem in disable protective upgrade registry"},
    {rcSilentArgumentMissing, "Not exist require argument silent mode (/q, /qn, /quiet)"},
    {rcLaunchPackageFailed, "Problem with launch msi package"},
    {rcPendingCorrectionFailed, "Problem with adjustment pending operation"},
    {rcSignatureCheckFailed, "Problem with check signature"},
    {rcDropFilesFailed, "Problem with drop files"},
    {rcArgumentNotAllowed, "Exist not allowed arguments"},
    {rcOperationInvalid,
     "Not correct operation, use (/installmsi, /installmsp, /uninstallmsi, /uninstallmsp)"},
    {rcGuidSyntaxInvalid,
     "Error in syntax guid (format guid {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX})"},
};

// Ten entries, asked for once in a run: searched from the front.
std::string_view FindToolText(oru::ResultCode rc) noexcept {
  const ResultText* const found = std::ranges::find(kTexts, rc, &ResultText::code);
  return found != std::end(kTexts) ? found->text : "Unknown result code";
}

}  // namespace

oru::String16 GetResultText(oru::ResultCode rc) {
  // The facility leaves the severity out, the table goes by all 32 bits: a success of the tool's
  // facility is unknown and not somebody else's.
  if (ORU_GET_RESULT_FACILITY(rc) != ToolResultFacility) return oru::GetFrameworkResultText(rc);
  oru::String16 text;
  oru::ThrowOnConversionFailure(oru::AnsiToUtf16(FindToolText(rc), text));
  return text;
}

}  // namespace correct_setup
