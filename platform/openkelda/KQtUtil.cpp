#include "openkelda/KQtUtil.h"

#include "openkelda/host.h"

QString KQtUtil::toQString(const KString &text)
{
    return QString::fromUtf8(text.utf8());
}

KString KQtUtil::toKString(const QString &text)
{
    return KString(text.toUtf8().constData());
}

QWidget *KQtUtil::mainWindow()
{
    KHost *host = KHost::instance();
    return host ? host->mainWindow() : nullptr;
}
