// The parser gives up one small entity declaration with every external DTD that it reads: it must
// not be freed while its readers are there, and nobody frees it later. Included by the tests that
// supply DTDs, so that the leak check reports everything else.
#pragma once

extern "C" [[gnu::used, gnu::visibility("default")]] inline const char*
__lsan_default_suppressions() {
  return "leak:xercesc_3_2::XMLScanner::scanProlog\n";
}
