// localcloud/Seeder.h
//
// Fills a service's folder when the local cloud starts for the first time, and leaves it alone ever after. Whatever is
// put there is made by this program.

#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace localcloud {

/// How much is put into the services' empty folders.
enum class SeedAmount {
    Nothing,
    Small,     ///< what is made in a moment, the whole Plyx catalogue included
    Everything ///< also a model of 200,000 triangles and a folder of ten thousand files
};

/// Writes files below one folder and remembers the first failure.
class Seeder
{
public:
    explicit Seeder(const QString &root);

    void makeFolder(const QString &name);
    /// Writes a file; one that exists is left as it is. Does nothing after a failure.
    void write(const QString &name, const QByteArray &bytes);

    /// Gives \p existing, a file on the same file system, another name; false when that cannot be done.
    bool link(const QString &name, const QString &existing);

    /// Empty as long as everything went well.
    const QString &error() const { return m_error; }

private:
    QString m_root;
    QString m_error;
};

/// Makes \p folder and calls \p fill, unless \p amount is Nothing or \p marker, a file elsewhere, tells that it was
/// done. False with a reason when something could not be written; the next start tries again.
bool seedOnce(const QString &folder, const QString &marker, SeedAmount amount, QString *error,
              const std::function<void(Seeder &)> &fill);

} // namespace localcloud
