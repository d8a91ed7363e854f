// localcloud/Seeder.h
//
// Fills a service's folder when the local cloud starts for the first time, and leaves it alone ever after.

#pragma once

#include <functional>
#include <localcloud/SeedData.h>
#include <QByteArray>

namespace localcloud {

/// Writes files below one folder and remembers the first failure.
class Seeder
{
public:
    explicit Seeder(const QString &root);

    void makeFolder(const QString &name);
    /// A file that exists is left as it is. Does nothing after a failure.
    void write(const QString &name, const QByteArray &bytes);

    /// Gives \p existing, a file on the same file system, another name; false when that cannot be done.
    bool link(const QString &name, const QString &existing);

    /// Empty as long as everything went well.
    const QString &error() const { return m_error; }

private:
    QString m_root;
    QString m_error;
};

/// Calls \p fill unless \p amount is Nothing or \p marker, a file elsewhere, tells that it was done. False with a
/// reason when something could not be written; the next start tries again.
bool seedOnce(const QString &folder, const QString &marker, SeedAmount amount, QString *error,
              const std::function<void(Seeder &)> &fill);

} // namespace localcloud
