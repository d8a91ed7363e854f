// ui/CommandText.h

#pragma once

#include <QString>

/// \p text as one argument of the command language, between double quotes.
QString quotedArgument(QString text);
