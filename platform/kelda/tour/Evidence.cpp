#include "tour/Evidence.h"

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

QByteArray contentBelow(const QString &folder)
{
    QByteArray bytes;
    for (const QString &name : filesBelow(folder)) {
        QFile file(name);
        if (file.open(QIODevice::ReadOnly))
            bytes += file.readAll();
    }
    return bytes;
}

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
}

QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

bool writeQuads(const QString &file, int count)
{
    QByteArray text("o quads\n");
    for (int i = 0; i < count; ++i) {
        for (const char *corner : {"0 0", "1 0", "1 1", "0 1"})
            text += "v " + QByteArray(corner) + ' ' + QByteArray::number(i) + '\n';
    }
    for (int i = 0; i < count; ++i)
        text += "f -" + QByteArray::number(4 * (count - i)) + " -" + QByteArray::number(4 * (count - i) - 1) + " -" +
                QByteArray::number(4 * (count - i) - 2) + " -" + QByteArray::number(4 * (count - i) - 3) + '\n';
    QDir().mkpath(QFileInfo(file).path());
    QFile target(file);
    return target.open(QIODevice::WriteOnly) && target.write(text) == text.size();
}

qint64 trianglesInObj(const QString &file)
{
    QFile source(file);
    qint64 triangles = 0;
    if (!source.open(QIODevice::ReadOnly))
        return 0;
    while (!source.atEnd()) {
        const QList<QByteArray> words = source.readLine().simplified().split(' ');
        if (words.first() == "f")
            triangles += words.size() - 3;
    }
    return triangles;
}

QString settingsFile(const QString &name)
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Corvane"), name).fileName();
}

QString storedSession(const QString &name)
{
    return QSettings(settingsFile(name), QSettings::IniFormat).value(QStringLiteral("plyx_session_id")).toString();
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
