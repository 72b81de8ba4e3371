// The list of the library's packages.
#include "orvxml/packages.h"

namespace orvxml {

namespace {

// Modules that run no statement under a package of their own. Their packages are bound with the
// others: whoever administers the packages of a database finds all of them.
constexpr orv::esql::Module kQrkrcomp{"QRKRCOMP", "QRC00001", {}};
constexpr orv::esql::Module kQrkscomp{"QRKSCOMP", "QSC00001", {}};
constexpr orv::esql::Module kQrklm{"QRKLM", "QLM00001", {}};

}  // namespace

std::span<const orv::esql::Module* const> packages() {
  static const orv::esql::Module* const kPackages[] = {&kQrksuwo, &kQrkcnuwo, &kQrkrdbi,  &kQrktab,
                                                       &kQrkcomp, &kQrksqlda, &kQrkcol,   &kQrkcoll,
                                                       &kQrkdb,   &kQrkrcomp, &kQrkscomp, &kQrklm};
  return kPackages;
}

}  // namespace orvxml
