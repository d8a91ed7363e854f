#include "Fuzz.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>
#include <random>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // The script engine needs an application, which must not remove arguments of libFuzzer.
    static char name[] = "fuzz";
    static char *arguments[] = {name, nullptr};
    static int count = 1;
    static QCoreApplication application(count, arguments);
    return 0;
}

namespace Fuzz {

void require(bool holds, const char *property)
{
    if (holds)
        return;
    std::fprintf(stderr, "Broken property: %s\n", property);
    std::abort();
}

QByteArray bytes(const std::uint8_t *data, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size));
}

QList<QByteArray> pieces(const QByteArray &bytes)
{
    QList<QByteArray> pieces;
    std::minstd_rand random(static_cast<unsigned>(qHash(bytes, 1)));
    // Half of the texts are cut into single bytes, the others into pieces of up to 16 bytes.
    const int longest = random() % 2 == 0 ? 1 : 16;
    for (int at = 0; at < bytes.size();) {
        pieces.append(bytes.mid(at, 1 + static_cast<int>(random()) % longest));
        at += pieces.last().size();
    }
    return pieces;
}

bool staysInside(const QString &subFolder, const QString &name)
{
    const QString area = QStringLiteral("/area/");
    const QByteArray written = QFile::encodeName(area + subFolder + QLatin1Char('/') + name);
    if (written.contains('\0') || written.contains('\\'))
        return false;
    const QStringList parts = QString::fromUtf8(written).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const bool hasDots = parts.contains(QStringLiteral(".")) || parts.contains(QStringLiteral(".."));
    const QString folder = QDir::cleanPath(area + subFolder) + QLatin1Char('/');
    return !hasDots && folder.startsWith(area) &&
           QDir::cleanPath(area + subFolder + QLatin1Char('/') + name) == folder + name;
}

} // namespace Fuzz
