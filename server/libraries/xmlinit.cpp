// Initialises the parser and ICU when the library is loaded, once for the process, and never
// terminates them: documents of other threads may be open at any time.
#include "orv/xmlinit.h"

#include <unicode/uclean.h>

#include <cstring>
#include <mutex>
#include <string>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLNetAccessor.hpp>

namespace {

constexpr size_t kMaxMessage = 1023;

enum : int {
  kReady = 0,
  kUnknownFailure = -1,
  kXmlException = -2,
  kSaxException = -3,
  kNoIcuData = -5,
};

struct Initialization {
  int code = kReady;
  std::string message;
};

// The text of an exception: the transcoders may not be there, so characters beyond ASCII are left
// out.
std::string narrowed(const XMLCh* text) {
  std::string out;
  for (; text && *text; ++text) out += *text < 0x80 ? static_cast<char>(*text) : '?';
  return out;
}

Initialization initialize() {
  try {
    xercesc::XMLPlatformUtils::Initialize();
    delete xercesc::XMLPlatformUtils::fgNetAccessor;  // documents reach no network
    xercesc::XMLPlatformUtils::fgNetAccessor = nullptr;
  } catch (const xercesc::XMLException& failure) {
    return {kXmlException, narrowed(failure.getMessage())};
  } catch (const xercesc::SAXException& failure) {
    return {kSaxException, narrowed(failure.getMessage())};
  } catch (...) {
    return {kUnknownFailure, "unknown failure"};
  }
  UErrorCode status = U_ZERO_ERROR;
  u_init(&status);
  if (U_FAILURE(status)) return {kNoIcuData, u_errorName(status)};
  return {};
}

const Initialization& initialization() {
  static std::once_flag once;
  static Initialization result;
  std::call_once(once, [] { result = initialize(); });
  return result;
}

[[maybe_unused]] const bool kInitializedAtLoad = (initialization(), true);

}  // namespace

int isSharedLibInitSuccess() {
  return initialization().code == kReady ? 1 : 0;
}

int getLastErrorCode() {
  return initialization().code;
}

void getLastErrorMessage(char* buffer) {
  if (!buffer) return;
  const std::string& message = initialization().message;
  const size_t length = message.copy(buffer, kMaxMessage);
  buffer[length] = '\0';
}
