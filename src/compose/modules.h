// The names by which internal errors tell the modules of composition.
#pragma once

namespace orvxml {

inline constexpr char kComposeModule[] = "qrkcomp";
inline constexpr char kSqlMappingModule[] = "qrkscomp";

}  // namespace orvxml
