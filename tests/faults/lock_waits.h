// What happens while this process waits for a lock: instead of sleeping, it is told, and its clock
// goes on by itself. The definitions behind this stand in front of the system's own.
#pragma once

#include <functional>

namespace orvxml::test {

// From here on no sleep takes time. At the first one `onWait` is called.
void watchWaits(std::function<void()> onWait);

}  // namespace orvxml::test
