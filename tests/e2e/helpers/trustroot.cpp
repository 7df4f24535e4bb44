// Makes the user trust a root certificate: puts it into the user's store of trusted roots. Not into
// the machine's, which Wine 10 makes anew from the system below.
//
// Argument: the path of the certificate in its binary form, as the hexadecimal digits of its UTF-16
// bytes. A certificate that is trusted already is fine. One certificate a run: a second one added
// through the same open store might not be kept.

#include "tests/e2e/helpers/common.h"

#include <wincrypt.h>  // needs <windows.h> before it

namespace {

std::vector<unsigned char> ReadFileBytes(const std::wstring& path) {
  HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) helpers::Die("CreateFileW", GetLastError());
  std::vector<unsigned char> bytes(1U << 16U);
  DWORD count = 0;
  if (!ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) {
    helpers::Die("ReadFile", GetLastError());
  }
  CloseHandle(file);
  bytes.resize(count);
  return bytes;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) helpers::Die("one argument is wanted", 0);
  const std::vector<unsigned char> bytes = ReadFileBytes(helpers::TextOf(arguments[1]));
  HCERTSTORE store =
      CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
  if (store == nullptr) helpers::Die("CertOpenStore", GetLastError());
  if (!CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, bytes.data(),
                                        static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_NEW,
                                        nullptr) &&
      GetLastError() != static_cast<DWORD>(CRYPT_E_EXISTS)) {
    helpers::Die("CertAddEncodedCertificateToStore", GetLastError());
  }
  if (!CertCloseStore(store, 0)) helpers::Die("CertCloseStore", GetLastError());
}
