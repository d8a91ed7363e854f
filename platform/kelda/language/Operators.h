// language/Operators.h
//
// Arithmetic, comparison and conversion of values. Nothing here is undefined: integers wrap around, and what has no
// result throws CommandError.

#pragma once

#include "language/Ast.h"
#include "language/Value.h"

/// A text beside anything makes "+" a concatenation, two arrays are joined; a text in any other arithmetic counts as
/// the number it begins with. Two texts compare by their characters, a text and a number as numbers.
Value applyOperator(Operator op, const Value &left, const Value &right);
Value negated(const Value &operand);

/// \p value as \p type, where no value becomes 0, "" or an empty array. Throws CommandError where one is an array and
/// the other is not.
Value converted(const Value &value, DeclaredType type);
