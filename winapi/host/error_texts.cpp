#include "winapi/host/error_texts.h"

#include <algorithm>
#include <iterator>

namespace winapi::host {
namespace {

struct ErrorText {
  Dword number;
  std::u16string_view text;
};

// Sorted by number. The wording is that of Windows 7, also where it has a slip or an insert that is
// never filled ("%1").
constexpr ErrorText kTexts[] = {
    {0, u"The operation completed successfully.\r\n"},
    {1, u"Incorrect function.\r\n"},
    {2, u"The system cannot find the file specified.\r\n"},
    {3, u"The system cannot find the path specified.\r\n"},
    {4, u"The system cannot open the file.\r\n"},
    {5, u"Access is denied.\r\n"},
    {6, u"The handle is invalid.\r\n"},
    {8, u"Not enough storage is available to process this command.\r\n"},
    {13, u"The data is invalid.\r\n"},
    {14, u"Not enough storage is available to complete this operation.\r\n"},
    {15, u"The system cannot find the drive specified.\r\n"},
    {16, u"The directory cannot be removed.\r\n"},
    {17, u"The system cannot move the file to a different disk drive.\r\n"},
    {18, u"There are no more files.\r\n"},
    {19, u"The media is write protected.\r\n"},
    {21, u"The device is not ready.\r\n"},
    {23, u"Data error (cyclic redundancy check).\r\n"},
    {24, u"The program issued a command but the command length is incorrect.\r\n"},
    {29, u"The system cannot write to the specified device.\r\n"},
    {30, u"The system cannot read from the specified device.\r\n"},
    {31, u"A device attached to the system is not functioning.\r\n"},
    {32, u"The process cannot access the file because it is being used by another process.\r\n"},
    {33,
     u"The process cannot access the file because another process has locked a portion of the "
     u"file.\r\n"},
    {38, u"Reached the end of the file.\r\n"},
    {39, u"The disk is full.\r\n"},
    {50, u"The request is not supported.\r\n"},
    {53, u"The network path was not found.\r\n"},
    {59, u"An unexpected network error occurred.\r\n"},
    {64, u"The specified network name is no longer available.\r\n"},
    {65, u"Network access is denied.\r\n"},
    {67, u"The network name cannot be found.\r\n"},
    {80, u"The file exists.\r\n"},
    {82, u"The directory or file cannot be created.\r\n"},
    {87, u"The parameter is incorrect.\r\n"},
    {109, u"The pipe has been ended.\r\n"},
    {110, u"The system cannot open the device or file specified.\r\n"},
    {111, u"The file name is too long.\r\n"},
    {112, u"There is not enough space on the disk.\r\n"},
    {120, u"This function is not supported on this system.\r\n"},
    {122, u"The data area passed to a system call is too small.\r\n"},
    {123, u"The filename, directory name, or volume label syntax is incorrect.\r\n"},
    {126, u"The specified module could not be found.\r\n"},
    {127, u"The specified procedure could not be found.\r\n"},
    {128, u"There are no child processes to wait for.\r\n"},
    {145, u"The directory is not empty.\r\n"},
    {160, u"One or more arguments are not correct.\r\n"},
    {161, u"The specified path is invalid.\r\n"},
    {170, u"The requested resource is in use.\r\n"},
    {183, u"Cannot create a file when that file already exists.\r\n"},
    {193, u"%1 is not a valid Win32 application.\r\n"},
    {206, u"The filename or extension is too long.\r\n"},
    {225,
     u"Operation did not complete successfully because the file contains a virus or potentially "
     u"unwanted software.\r\n"},
    {231, u"All pipe instances are busy.\r\n"},
    {234, u"More data is available.\r\n"},
    {258, u"The wait operation timed out.\r\n"},
    {259, u"No more data is available.\r\n"},
    {267, u"The directory name is invalid.\r\n"},
    {288, u"Attempt to release mutex not owned by caller.\r\n"},
    {317,
     u"The system cannot find message text for message number 0x%1 in the message file for "
     u"%2.\r\n"},
    {393, u"The cloud operation was aborted.\r\n"},
    {487, u"Attempt to access invalid address.\r\n"},
    {534, u"Arithmetic result exceeded 32 bits.\r\n"},
    {637,
     u"{Fatal System Error}\r\nThe system image %s is not properly signed.\r\nThe file has been "
     u"replaced with the signed file.\r\nThe system has been shut down.\r\n"},
    {740, u"The requested operation requires elevation.\r\n"},
    {995,
     u"The I/O operation has been aborted because of either a thread exit or an application "
     u"request.\r\n"},
    {998, u"Invalid access to memory location.\r\n"},
    {1005,
     u"The volume does not contain a recognized file system.\r\nPlease make sure that all required "
     u"file system drivers are loaded and that the volume is not corrupted.\r\n"},
    {1009, u"The configuration registry database is corrupt.\r\n"},
    {1010, u"The configuration registry key is invalid.\r\n"},
    {1011, u"The configuration registry key could not be opened.\r\n"},
    {1012, u"The configuration registry key could not be read.\r\n"},
    {1013, u"The configuration registry key could not be written.\r\n"},
    {1014,
     u"One of the files in the registry database had to be recovered by use of a log or alternate "
     u"copy. The recovery was successful.\r\n"},
    {1015,
     u"The registry is corrupted. The structure of one of the files containing registry data is "
     u"corrupted, or the system's memory image of the file is corrupted, or the file could not be "
     u"recovered because the alternate copy or log was absent or corrupted.\r\n"},
    {1016,
     u"An I/O operation initiated by the registry failed unrecoverably. The registry could not "
     u"read in, or write out, or flush, one of the files that contain the system's image of the "
     u"registry.\r\n"},
    {1017,
     u"The system has attempted to load or restore a file into the registry, but the specified "
     u"file is not in a registry file format.\r\n"},
    {1018, u"Illegal operation attempted on a registry key that has been marked for deletion.\r\n"},
    {1019, u"System could not allocate the required space in a registry log.\r\n"},
    {1020,
     u"Cannot create a symbolic link in a registry key that already has subkeys or values.\r\n"},
    {1021, u"Cannot create a stable subkey under a volatile parent key.\r\n"},
    {1115, u"A system shutdown is in progress.\r\n"},
    {1117, u"The request could not be performed because of an I/O device error.\r\n"},
    {1150, u"The specified program requires a newer version of Windows.\r\n"},
    {1168, u"Element not found.\r\n"},
    {1223, u"The operation was canceled by the user.\r\n"},
    {1305, u"The revision level is unknown.\r\n"},
    {1306, u"Indicates two revision levels are incompatible.\r\n"},
    {1307, u"This security ID may not be assigned as the owner of this object.\r\n"},
    {1308, u"This security ID may not be assigned as the primary group of an object.\r\n"},
    {1314, u"A required privilege is not held by the client.\r\n"},
    {1326, u"Logon failure: unknown user name or bad password.\r\n"},
    {1336, u"The access control list (ACL) structure is invalid.\r\n"},
    {1337, u"The security ID structure is invalid.\r\n"},
    {1338, u"The security descriptor structure is invalid.\r\n"},
    {1344, u"No more memory is available for security information updates.\r\n"},
    {1347, u"Cannot open an anonymous level security token.\r\n"},
    {1392, u"The file or directory is corrupted and unreadable.\r\n"},
    {1393, u"The disk structure is corrupted and unreadable.\r\n"},
    {1413, u"Invalid index.\r\n"},
    {1450, u"Insufficient system resources exist to complete the requested service.\r\n"},
    {1453, u"Insufficient quota to complete the requested service.\r\n"},
    {1455, u"The paging file is too small for this operation to complete.\r\n"},
    {1460, u"This operation returned because the timeout period expired.\r\n"},
    {1503, u"The event log file has changed between read operations.\r\n"},
    {1601,
     u"The Windows Installer Service could not be accessed. This can occur if the Windows "
     u"Installer is not correctly installed. Contact your support personnel for assistance.\r\n"},
    {1602, u"User cancelled installation.\r\n"},
    {1603, u"Fatal error during installation.\r\n"},
    {1604, u"Installation suspended, incomplete.\r\n"},
    {1605, u"This action is only valid for products that are currently installed.\r\n"},
    {1606, u"Feature ID not registered.\r\n"},
    {1607, u"Component ID not registered.\r\n"},
    {1608, u"Unknown property.\r\n"},
    {1609, u"Handle is in an invalid state.\r\n"},
    {1610,
     u"The configuration data for this product is corrupt. Contact your support personnel.\r\n"},
    {1611, u"Component qualifier not present.\r\n"},
    {1612,
     u"The installation source for this product is not available. Verify that the source exists "
     u"and that you can access it.\r\n"},
    {1613,
     u"This installation package cannot be installed by the Windows Installer service. You must "
     u"install a Windows service pack that contains a newer version of the Windows Installer "
     u"service.\r\n"},
    {1614, u"Product is uninstalled.\r\n"},
    {1618,
     u"Another installation is already in progress. Complete that installation before proceeding "
     u"with this install.\r\n"},
    {1619,
     u"This installation package could not be opened. Verify that the package exists and that you "
     u"can access it, or contact the application vendor to verify that this is a valid Windows "
     u"Installer package.\r\n"},
    {1620,
     u"This installation package could not be opened. Contact the application vendor to verify "
     u"that this is a valid Windows Installer package.\r\n"},
    {1621,
     u"There was an error starting the Windows Installer service user interface. Contact your "
     u"support personnel.\r\n"},
    {1622,
     u"Error opening installation log file. Verify that the specified log file location exists "
     u"and that you can write to it.\r\n"},
    {1623, u"The language of this installation package is not supported by your system.\r\n"},
    {1624, u"Error applying transforms. Verify that the specified transform paths are valid.\r\n"},
    {1625,
     u"This installation is forbidden by system policy. Contact your system administrator.\r\n"},
    {1626, u"Function could not be executed.\r\n"},
    {1627, u"Function failed during execution.\r\n"},
    {1628, u"Invalid or unknown table specified.\r\n"},
    {1629, u"Data supplied is of wrong type.\r\n"},
    {1630, u"Data of this type is not supported.\r\n"},
    {1631, u"The Windows Installer service failed to start. Contact your support personnel.\r\n"},
    {1632,
     u"The Temp folder is on a drive that is full or is inaccessible. Free up space on the drive "
     u"or verify that you have write permission on the Temp folder.\r\n"},
    {1633,
     u"This installation package is not supported by this processor type. Contact your product "
     u"vendor.\r\n"},
    {1634, u"Component not used on this computer.\r\n"},
    {1635,
     u"This update package could not be opened. Verify that the update package exists and that "
     u"you can access it, or contact the application vendor to verify that this is a valid Windows "
     u"Installer update package.\r\n"},
    {1636,
     u"This update package could not be opened. Contact the application vendor to verify that "
     u"this is a valid Windows Installer update package.\r\n"},
    {1637,
     u"This update package cannot be processed by the Windows Installer service. You must install "
     u"a Windows service pack that contains a newer version of the Windows Installer service.\r\n"},
    {1638,
     u"Another version of this product is already installed. Installation of this version cannot "
     u"continue. To configure or remove the existing version of this product, use Add/Remove "
     u"Programs on the Control Panel.\r\n"},
    {1639,
     u"Invalid command line argument. Consult the Windows Installer SDK for detailed command line "
     u"help.\r\n"},
    {1641,
     u"The requested operation completed successfully. The system will be restarted so the "
     u"changes can take effect.\r\n"},
    {1642,
     u"The upgrade cannot be installed by the Windows Installer service because the program to be "
     u"upgraded may be missing, or the upgrade may update a different version of the program. "
     u"Verify that the program to be upgraded exists on your computer and that you have the "
     u"correct upgrade.\r\n"},
    {1643, u"The update package is not permitted by software restriction policy.\r\n"},
    {1644, u"One or more customizations are not permitted by software restriction policy.\r\n"},
    {1645,
     u"The Windows Installer does not permit installation from a Remote Desktop Connection.\r\n"},
    {1646, u"Uninstallation of the update package is not supported.\r\n"},
    {1647, u"The update is not applied to this product.\r\n"},
    {1648, u"No valid sequence could be found for the set of updates.\r\n"},
    {1649, u"Update removal was disallowed by policy.\r\n"},
    {1650, u"The XML update data is invalid.\r\n"},
    {1717, u"The interface is unknown.\r\n"},
    {1722, u"The RPC server is unavailable.\r\n"},
    {1815, u"The specified resource language ID cannot be found in the image file.\r\n"},
    {1921, u"The name of the file cannot be resolved by the system.\r\n"},
    {3010,
     u"The requested operation is successful. Changes will not be effective until the system is "
     u"rebooted.\r\n"},
    {6700, u"The transaction handle associated with this operation is not valid.\r\n"},
    {6701,
     u"The requested operation was made in the context of a transaction that is no longer "
     u"active.\r\n"},
    {6701,
     u"The requested operation was made in the context of a transaction that is no longer "
     u"active.\r\n"},
    {6800,
     u"The function attempted to use a name that is reserved for use by another transaction.\r\n"},
    {14001,
     u"The application has failed to start because its side-by-side configuration is incorrect. "
     u"Please see the application event log or use the command-line sxstrace.exe tool for more "
     u"detail.\r\n"},
    // HRESULTs, as the unsigned numbers that they are.
    {0x80000005, u"Invalid pointer\r\n"},
    {0x8000000A, u"The data necessary to complete this operation is not yet available.\r\n"},
    {0x80004001, u"Not implemented\r\n"},
    {0x80004002, u"No such interface supported\r\n"},
    {0x80004003, u"Invalid pointer\r\n"},
    {0x80004004, u"Operation aborted\r\n"},
    {0x80004005, u"Unspecified error\r\n"},
    {0x8000FFFF, u"Catastrophic failure\r\n"},
    {0x80040154, u"Class not registered\r\n"},
    {0x80092002, u"An error occurred during encode or decode operation.\r\n"},
    {0x80092003, u"An error occurred while reading or writing to a file.\r\n"},
    {0x80092004, u"Cannot find object or property.\r\n"},
    {0x80092005, u"The object or property already exists.\r\n"},
    {0x80092009, u"Cannot find the requested object.\r\n"},
    {0x80092010, u"The certificate is revoked.\r\n"},
    {0x80092012,
     u"The revocation function was unable to check revocation for the certificate.\r\n"},
    {0x80092013,
     u"The revocation function was unable to check revocation because the revocation server was "
     u"offline.\r\n"},
    {0x80092026, u"The cryptographic operation failed due to a local security option setting.\r\n"},
    {0x80093103, u"ASN1 corrupted data.\r\n"},
    {0x80096001, u"A system-level error occurred while verifying trust.\r\n"},
    {0x80096002, u"The certificate for the signer of the message is invalid or not found.\r\n"},
    {0x80096003, u"One of the counter signatures was invalid.\r\n"},
    {0x80096004, u"The signature of the certificate cannot be verified.\r\n"},
    {0x80096005,
     u"The timestamp signature and/or certificate could not be verified or is malformed.\r\n"},
    {0x80096010, u"The digital signature of the object did not verify.\r\n"},
    {0x80096019, u"A certificate's basic constraint extension has not been observed.\r\n"},
    {0x800B0001, u"Unknown trust provider.\r\n"},
    {0x800B0002,
     u"The trust verification action specified is not supported by the specified trust "
     u"provider.\r\n"},
    {0x800B0003,
     u"The form specified for the subject is not one supported or known by the specified trust "
     u"provider.\r\n"},
    {0x800B0004, u"The subject is not trusted for the specified action.\r\n"},
    {0x800B0100, u"No signature was present in the subject.\r\n"},
    {0x800B0101,
     u"A required certificate is not within its validity period when verifying against the "
     u"current system clock or the timestamp in the signed file.\r\n"},
    {0x800B0109,
     u"A certificate chain processed, but terminated in a root certificate which is not trusted "
     u"by the trust provider.\r\n"},
    {0x800B010A, u"A certificate chain could not be built to a trusted root authority.\r\n"},
    {0x800B010C, u"A certificate was explicitly revoked by its issuer.\r\n"},
    {0x800B010E,
     u"The revocation process could not continue - the certificate(s) could not be checked.\r\n"},
    {0x800B0110, u"The certificate is not valid for the requested usage.\r\n"},
    {0x800B0111, u"The certificate was explicitly marked as untrusted by the user.\r\n"},
    {0x80310000,
     u"This drive is locked by BitLocker Drive Encryption. You must unlock this drive from Control "
     u"Panel.\r\n"},
    {0x80310068, u"The PIN provided does not meet the minimum or maximum length requirements.\r\n"},
    {0x80310080,
     u"The password provided does not meet the minimum or maximum length requirements.\r\n"},
    {0x803100B5,
     u"No pre-boot keyboard detected. The user may not be able to provide required input to unlock "
     u"the volume.\r\n"},
};

static_assert(std::is_sorted(std::begin(kTexts), std::end(kTexts),
                             [](const ErrorText& left, const ErrorText& right) {
                               return left.number < right.number;
                             }));

}  // namespace

std::u16string_view SystemErrorText(Dword number) noexcept {
  const auto* found =
      std::lower_bound(std::begin(kTexts), std::end(kTexts), number,
                       [](const ErrorText& entry, Dword wanted) { return entry.number < wanted; });
  return found != std::end(kTexts) && found->number == number ? found->text : std::u16string_view();
}

}  // namespace winapi::host
