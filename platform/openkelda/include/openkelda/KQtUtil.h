// openkelda/KQtUtil.h

#pragma once

#include "openkelda/KString.h"

#include <QString>

class QWidget;

/// Conversions between the host's and Qt's types, and the host's window.
class KQtUtil
{
public:
    static QString toQString(const KString &text);
    static KString toKString(const QString &text);
    /// The host's main window, which the host owns. Null without a user interface.
    static QWidget *mainWindow();
};
