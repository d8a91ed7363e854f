// localcloud/Secrets.h
//
// Random keys, and the private files in which services keep what they have given out.

#pragma once

#include <QJsonObject>
#include <QString>

namespace localcloud {

/// A string of 64 random characters out of a-z and 0-9.
QString randomKey();

/// "+/" and 32 characters of Base64, a key that must be escaped in addresses.
QString randomBase64Key();

/// The object kept in \p file; an empty one when there is none.
QJsonObject readSecrets(const QString &file);

/// Replaces \p file in one step, mode 0600. False leaves it as it was.
bool writeSecrets(const QString &file, const QJsonObject &object);

} // namespace localcloud
