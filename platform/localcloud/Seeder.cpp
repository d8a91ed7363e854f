#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <localcloud/Seeder.h>
#include <unistd.h>

namespace localcloud {

Seeder::Seeder(const QString &root) : m_root(root)
{
    QDir().mkpath(root);
}

void Seeder::makeFolder(const QString &name)
{
    if (m_error.isEmpty() && !QDir(m_root).mkpath(name))
        m_error = m_root + '/' + name + QStringLiteral(": the folder cannot be made");
}

void Seeder::write(const QString &name, const QByteArray &bytes)
{
    QFile file(m_root + '/' + name);
    if (!m_error.isEmpty())
        return;
    const bool made = file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
    if (!made && file.exists())
        return;
    if (!made || file.write(bytes) != bytes.size() || !file.flush())
        m_error = file.fileName() + QStringLiteral(": ") + file.errorString();
}

bool Seeder::link(const QString &name, const QString &existing)
{
    const QByteArray target = QFile::encodeName(m_root + '/' + name);
    return ::link(QFile::encodeName(existing).constData(), target.constData()) == 0;
}

bool seedOnce(const QString &folder, const QString &marker, SeedAmount amount, QString *error,
              const std::function<void(Seeder &)> &fill)
{
    Seeder seeder(folder);
    if (amount == SeedAmount::Nothing || QFileInfo::exists(marker))
        return true;
    fill(seeder);
    if (error)
        *error = seeder.error();
    if (!seeder.error().isEmpty())
        return false;
    Seeder(QFileInfo(marker).path()).write(QFileInfo(marker).fileName(), "The folder has been filled once.\n");
    return true;
}

} // namespace localcloud
