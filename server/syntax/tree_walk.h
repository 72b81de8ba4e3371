// Visits every expression of a tree, those of the queries within it included, parents first.
#pragma once

#include <cstdint>
#include <functional>

#include "server/syntax/ast.h"

namespace orv {

enum class Walk : uint8_t { Enter, Skip };  // Skip: not what is below this expression

using ExprVisitor = std::function<Walk(const Expr&)>;

void walk(const Expr& expr, const ExprVisitor& visit);
void walk(const Query& query, const ExprVisitor& visit);

}  // namespace orv
