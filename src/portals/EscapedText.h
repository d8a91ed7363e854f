// portals/EscapedText.h
//
// Text of users and services inside the path of a request.

#pragma once

#include <QString>

/// \p text with the ASCII \p characters, which would end or change a path, percent-encoded; all others are left to the
/// HTTP client.
QString escapedText(const QString &text, const char *characters);
