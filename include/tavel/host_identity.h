// Identity of the module on the network and towards the maker's servers.
#ifndef TAVEL_HOST_IDENTITY_H
#define TAVEL_HOST_IDENTITY_H

#include <string>

#include <tavel/export.h>

namespace tavel {

// The module's host name, built from the board's device tree: the model name
// in lower case followed by '-' and the last three bytes of the module's MAC
// address as six lower-case hex digits, e.g. model "KMX-630" and MAC
// 00:1A:2B:3C:4D:5E give "kmx-630-3c4d5e". The model may be stored with a
// trailing '\0' or newline; the MAC as text ("00:1A:2B:3C:4D:5E") or as six
// raw bytes. Characters of the model other than letters, digits and '-'
// become '-'. When either file is missing or unusable: the kernel's host name
// if usar_nombre_kernel is true, else the empty string.
TAVEL_API std::string getModuleHostName(bool usar_nombre_kernel);

// The identifier the module gives when it calls home: the maker label, '-'
// and the serial number, e.g. "TAVEL-K63012345". The serial is the one the
// unit was configured with (/tavel/conf/tavel_numserie), else the board's
// from the device tree; trimmed of trailing '\0', blanks and newlines, it
// must be 1 to 64 letters, digits, '-' or '_' to count. Empty when neither
// file gives one.
TAVEL_API std::string getPhoneHomeId();

} // namespace tavel

#endif
