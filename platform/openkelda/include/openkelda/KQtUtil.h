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
    /// Returns the main window, which the host owns, or null without a user interface.
    static QWidget *mainWindow();
};
