// The build stamp stands alone in its file, which is compiled without the compiler cache.
#include "orvxml/context.h"

namespace orvxml {

const char* buildStamp() {
  return __DATE__ " " __TIME__;
}

}  // namespace orvxml
