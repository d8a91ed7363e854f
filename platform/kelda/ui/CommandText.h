// ui/CommandText.h
//
// Text going into the command language and coming out of it.

#pragma once

#include <openkelda/KCommandResult.h>

#include <QString>

/// \p text as one argument between double quotes.
QString quotedArgument(QString text);
/// The result as the command line shows it: numbers in decimal, an array's texts joined by blanks, nothing as "".
QString resultText(const KCommandResult &result);
