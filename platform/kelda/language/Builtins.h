// language/Builtins.h

#pragma once

class Interpreter;

/// Adds the functions on values that belong to the language itself: size, text and array functions.
void addBuiltins(Interpreter &interpreter);
