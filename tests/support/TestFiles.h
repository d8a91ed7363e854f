// support/TestFiles.h
//
// Files that tests write and read, and a locale with a decimal comma.

#pragma once

#include <QtCore>

/// Writes a file that other users may read, and creates its folders. A failure ends the test program.
inline void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
}

/// Makes a locale in \p folder whose decimal sign is a comma, and names it in the environment for LC_NUMERIC. False if
/// the program localedef, or the package locales that it needs, is missing.
inline bool useDecimalComma(const QString &folder)
{
    qputenv("LOCPATH", QFile::encodeName(folder));
    qunsetenv("LC_ALL");
    qputenv("LANG", "C.UTF-8");
    qputenv("LC_NUMERIC", "de_DE.UTF-8");
    return QProcess::execute("localedef", {"-i", "de_DE", "-f", "UTF-8", folder + "/de_DE.UTF-8"}) == 0;
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}
