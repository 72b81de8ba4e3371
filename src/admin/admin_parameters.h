// Parameters of the administration procedures, taken out of a descriptor area.
#pragma once

#include <string>

#include "src/call/procedure_frame.h"

namespace orvxml {

// The text of parameter `position`. 0, or the code of the message: QRKA019E for a null value,
// QRKA074E for another type, QRKQ054E for a text with a NUL inside, which would be cut there.
int takeText(Call& call, sqlda* da, int position, std::string& text);
// The same where a null value stands for an empty text.
int takeOptionalText(Call& call, sqlda* da, int position, std::string& text);

}  // namespace orvxml
