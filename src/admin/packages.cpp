// The list of the library's packages.
#include "orvxml/packages.h"

namespace orvxml {

std::span<const orv::esql::Module* const> packages() {
  static const orv::esql::Module* const kPackages[] = {&kQrksuwo, &kQrkcnuwo, &kQrkrdbi, &kQrktab,
                                                       &kQrkcomp, &kQrksqlda, &kQrkcoll, &kQrkdb};
  return kPackages;
}

}  // namespace orvxml
