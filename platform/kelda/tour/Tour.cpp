#include "tour/Tour.h"

#include "tour/Evidence.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QMap>
#include <QTextStream>

Tour::Step Tour::stepNamed(const QString &name)
{
    static const QMap<QString, Step> steps{
        {QStringLiteral("sign-in"), &Tour::signIn},         {QStringLiteral("list"), &Tour::list},
        {QStringLiteral("open-folder"), &Tour::openFolder}, {QStringLiteral("download"), &Tour::download},
        {QStringLiteral("import"), &Tour::import},          {QStringLiteral("export"), &Tour::exportScene},
        {QStringLiteral("upload"), &Tour::upload},          {QStringLiteral("search"), &Tour::search},
        {QStringLiteral("page"), &Tour::turnPage},          {QStringLiteral("replace"), &Tour::replace},
    };
    return steps.value(name);
}

Tour::Tour(const QString &folder) : m_folder(QDir(folder).absolutePath()) {}

bool Tour::run()
{
    if (!begin()) {
        QTextStream(stderr) << "tour: " << m_driver.error() << '\n';
        return false;
    }
    for (std::unique_ptr<PortalGuide> &guide : portalGuides(m_driver, m_cloud)) {
        m_guide = std::move(guide);
        m_page = std::make_unique<CloudPage>(m_driver, m_guide->facts().tab);
        m_place.clear();
        for (const QString &step : m_guide->facts().steps)
            take(step);
    }
    return report() && m_ok;
}

bool Tour::begin()
{
    if (!QDir().mkpath(m_folder))
        return m_driver.fail(m_folder + QStringLiteral(" cannot be made"));
    for (const QString &old :
         QDir(m_folder).entryList({QStringLiteral("[0-9][0-9]-*.png"), QStringLiteral("tour.json")}))
        QFile::remove(m_folder + QLatin1Char('/') + old);
    if (!m_cloud.start({m_scratch.filePath(QStringLiteral("cloud")), {}, 0}))
        return m_driver.fail(m_cloud.error());
    storeDockedAtTheRight();
    return m_driver.start({userDir(), m_cloud.caFile()});
}

void Tour::take(const QString &name)
{
    QElapsedTimer timer;
    timer.start();
    m_picture = QImage();
    m_pictureName =
        QStringLiteral("%1-%2-%3").arg(m_steps.size() + 1, 2, 10, QLatin1Char('0')).arg(m_guide->facts().id, name);
    Outcome outcome = (this->*stepNamed(name))();
    const qint64 ms = timer.elapsed();
    const QStringList messages = m_driver.takeMessages();
    if (outcome.error.isEmpty() && !messages.isEmpty())
        outcome.error = QStringLiteral("a message appeared: ") + messages.join(QStringLiteral(" | "));

    if (m_picture.isNull()) {
        m_driver.settle();
        m_picture = m_driver.picture();
    }
    if (!savePicture(m_pictureName, m_picture) && outcome.error.isEmpty())
        outcome.error = m_pictureName + QStringLiteral(".png cannot be written");

    const bool ok = outcome.error.isEmpty();
    m_ok = m_ok && ok;
    const QString detail = ok ? outcome.detail : outcome.error;
    m_steps << QJsonObject{{QStringLiteral("portal"), m_guide->facts().id},
                           {QStringLiteral("step"), name},
                           {QStringLiteral("ok"), ok},
                           {QStringLiteral("detail"), detail},
                           {QStringLiteral("ms"), ms}};
    QTextStream(stdout) << (ok ? "ok      " : "FAILED  ") << m_guide->facts().id << ' ' << name.leftJustified(12) << ms
                        << " ms  " << detail << '\n';
}

bool Tour::savePicture(const QString &name, const QImage &picture) const
{
    return picture.save(m_folder + QLatin1Char('/') + name + QStringLiteral(".png"));
}

bool Tour::report()
{
    const QJsonObject tour{{QStringLiteral("steps"), m_steps}, {QStringLiteral("ok"), m_ok}};
    const QByteArray text = QJsonDocument(tour).toJson();
    QFile file(m_folder + QStringLiteral("/tour.json"));
    const bool written = file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
    QTextStream(stdout) << (m_ok && written ? "tour: ok" : "tour: FAILED") << ", pictures in " << m_folder << '\n';
    return written;
}
