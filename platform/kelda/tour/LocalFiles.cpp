#include "tour/LocalFiles.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSettings>

QString sha256(const QString &file)
{
    QFile source(file);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!source.open(QIODevice::ReadOnly) || !hash.addData(&source))
        return QString();
    return QString::fromLatin1(hash.result().toHex());
}

QStringList filesBelow(const QString &folder)
{
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files << walk.next();
    return files;
}

QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

QStringList namesIn(const QString &folder)
{
    return sorted(QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot));
}

bool writeQuads(const QString &file, int count)
{
    QByteArray text("o quads\n");
    for (int i = 0; i < count; ++i) {
        for (const char *corner : {"0 0", "1 0", "1 1", "0 1"})
            text += "v " + QByteArray(corner) + ' ' + QByteArray::number(i) + '\n';
        text += "f -4 -3 -2 -1\n";
    }
    QDir().mkpath(QFileInfo(file).path());
    QFile target(file);
    return target.open(QIODevice::WriteOnly) && target.write(text) == text.size();
}

QString settingsFile(const QString &name)
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Corvane"), name).fileName();
}

void storeDockedAtTheRight()
{
    QSettings dock(settingsFile(QStringLiteral("CloudBrowser_Dock_Widget")), QSettings::IniFormat);
    dock.setValue(QStringLiteral("version"), 1);
    dock.setValue(QStringLiteral("preview_window_Floating"), false);
    dock.setValue(QStringLiteral("preview_window_Dock"), int(Qt::RightDockWidgetArea));
}

void removeSettings()
{
    QDir(QFileInfo(settingsFile(QStringLiteral("any"))).path()).removeRecursively();
}
