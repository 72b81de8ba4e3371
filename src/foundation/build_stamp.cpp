// The build stamp stands alone in its file: the one object that no build can take from a cache.
#include "orvxml/context.h"

namespace orvxml {

const char* buildStamp() {
  return __DATE__ " " __TIME__;
}

}  // namespace orvxml
