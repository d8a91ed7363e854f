#include "ConfigFile.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>

namespace {

/// \p content without the lines of [\p section].
QByteArray withoutSection(const QByteArray &content, const QByteArray &section)
{
    QByteArray kept;
    bool inside = false;
    for (const QByteArray &line : content.split('\n')) {
        const QByteArray text = line.trimmed();
        if (text.startsWith('[') && text.endsWith(']'))
            inside = text.mid(1, text.size() - 2).trimmed() == section;
        if (!inside)
            kept += line + '\n';
    }
    return kept.trimmed().isEmpty() ? QByteArray() : kept.trimmed() + "\n\n";
}

} // namespace

bool ConfigFile::write(const QString &source, const QString &target, const QString &section,
                       const QVector<QPair<QString, QString>> &values)
{
    QFile old(source);
    if (old.exists() && !old.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "pelago-setup: cannot read %s: %s\n", qPrintable(source), qPrintable(old.errorString()));
        return false;
    }
    QByteArray content = withoutSection(old.isOpen() ? old.readAll() : QByteArray(), section.toUtf8());
    content += '[' + section.toUtf8() + "]\n";
    for (const auto &[key, value] : values)
        content += (key + QLatin1Char('=') + value).toUtf8() + '\n';

    QDir().mkpath(QFileInfo(target).path());
    QSaveFile file(target);
    const bool written = file.open(QIODevice::WriteOnly) &&
                         file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) &&
                         file.write(content) == content.size() && file.commit();
    if (!written)
        std::fprintf(stderr, "pelago-setup: cannot write %s: %s\n", qPrintable(target), qPrintable(file.errorString()));
    return written;
}
