// Parameters of the administration procedures, taken out of a descriptor area.
#pragma once

#include <string>

#include "src/call/procedure_frame.h"

namespace orvxml {

// The text of parameter `position`. QRKA019E for a null value, QRKA074E for another type, QRKQ054E
// for a text with a NUL inside, which would be cut there.
std::string takeText(Call& call, sqlda* da, int position);
// The same where a null value stands for an empty text.
std::string takeOptionalText(Call& call, sqlda* da, int position);

}  // namespace orvxml
