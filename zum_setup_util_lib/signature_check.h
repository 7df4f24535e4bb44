// Whether the package may be given to the installer: a signature that Windows trusts, by a signer
// whose display name has the maker's name in it.
#ifndef ZUM_SETUP_UTIL_LIB_SIGNATURE_CHECK_H_
#define ZUM_SETUP_UTIL_LIB_SIGNATURE_CHECK_H_

#include <string>

#include "winapi/trust.h"

namespace correct_setup::detail {

// Throws oru::CheckResultFailedException with rcSignatureCheckFailed for a package that doesn't
// pass; the cause stands in the trace. No revocation is checked and no network used. The name is a
// second filter behind Windows' own judgement of the chain, and is looked for without regard to
// case, inside a longer word too.
void CheckVerisignSignature(const std::u16string& path);

// The subject's display name, empty where the certificate has none. Throws
// oru::CheckFailedException when memory runs out.
[[nodiscard]] std::u16string GetCertificateDescription(const winapi::CertContext* certificate);

}  // namespace correct_setup::detail

#endif  // ZUM_SETUP_UTIL_LIB_SIGNATURE_CHECK_H_
