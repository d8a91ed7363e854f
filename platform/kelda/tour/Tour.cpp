#include "tour/Tour.h"

#include "tour/Evidence.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QMap>
#include <QTextStream>
#include <QWebView>

namespace {

const QString settingsName = QStringLiteral("TavrinSettings_DropBoxAppBrowser_Kelda");

const int dockWidth = 440;

QString megabytesPerSecond(qint64 bytes, qint64 ms)
{
    const double seconds = double(qMax<qint64>(ms, 1)) / 1000;
    return QString::number(double(bytes) / 1e6 / seconds, 'f', 1) + QStringLiteral(" MB/s");
}

} // namespace

const std::vector<Tour::Plan> &Tour::plans()
{
    static const std::vector<Plan> all{
        {QStringLiteral("dropbox"),
         QStringLiteral("Dropbox"),
         {QStringLiteral("Models"), QStringLiteral("Textured")},
         QStringLiteral("Large terrain.obj"),
         QStringLiteral("Painted barrel.glb"),
         {QStringLiteral("sign-in"), QStringLiteral("list"), QStringLiteral("open-folder"), QStringLiteral("download"),
          QStringLiteral("import")}},
    };
    return all;
}

Tour::Step Tour::stepNamed(const QString &name)
{
    static const QMap<QString, Step> steps{
        {QStringLiteral("sign-in"), &Tour::signIn},         {QStringLiteral("list"), &Tour::list},
        {QStringLiteral("open-folder"), &Tour::openFolder}, {QStringLiteral("download"), &Tour::download},
        {QStringLiteral("import"), &Tour::import},
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
    for (const Plan &plan : plans()) {
        m_page = std::make_unique<CloudPage>(m_driver, plan.tab);
        for (const QString &step : plan.steps)
            take(plan, step);
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
    return m_driver.start({m_scratch.filePath(QStringLiteral("kelda")), m_cloud.caFile()});
}

void Tour::take(const Plan &plan, const QString &name)
{
    QElapsedTimer timer;
    timer.start();
    m_picture = QImage();
    Outcome outcome = (this->*stepNamed(name))(plan);
    const qint64 ms = timer.elapsed();
    const QStringList messages = m_driver.takeMessages();
    if (outcome.error.isEmpty() && !messages.isEmpty())
        outcome.error = QStringLiteral("a message appeared: ") + messages.join(QStringLiteral(" | "));

    const int number = m_steps.size() + 1;
    const QString file = QStringLiteral("%1-%2-%3.png").arg(number, 2, 10, QLatin1Char('0')).arg(plan.id, name);
    if (m_picture.isNull()) {
        m_driver.settle();
        m_picture = m_driver.picture();
    }
    if (!m_picture.save(m_folder + QLatin1Char('/') + file) && outcome.error.isEmpty())
        outcome.error = file + QStringLiteral(" cannot be written");

    const bool ok = outcome.error.isEmpty();
    m_ok = m_ok && ok;
    const QString detail = ok ? outcome.detail : outcome.error;
    m_steps << QJsonObject{{QStringLiteral("portal"), plan.id},
                           {QStringLiteral("step"), name},
                           {QStringLiteral("ok"), ok},
                           {QStringLiteral("detail"), detail},
                           {QStringLiteral("ms"), ms}};
    QTextStream(stdout) << (ok ? "ok      " : "FAILED  ") << plan.id << ' ' << name.leftJustified(12) << ms << " ms  "
                        << detail << '\n';
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

Tour::Outcome Tour::failed() const
{
    return {m_driver.error().isEmpty() ? QStringLiteral("unknown reason") : m_driver.error(), QString()};
}

int Tour::answeredWith200(const QString &targetStart, const QString &method) const
{
    int count = 0;
    for (const CloudProcess::Request &request : m_cloud.requests(targetStart))
        count += request.status == 200 && request.method == method ? 1 : 0;
    return count;
}

qint64 Tour::sceneInfo(const QString &what) const
{
    return m_driver.ask(QStringLiteral("sceneInfo -q -") + what).toLongLong();
}

Tour::Outcome Tour::signIn(const Plan &)
{
    if (!m_page->open() || !m_page->widen(dockWidth) || !m_page->askToSignIn())
        return failed();
    m_driver.placeInFront(m_page->browser()->window(), QPoint(60, 70));
    m_driver.settle();
    m_picture = m_driver.picture();
    if (!m_page->allow())
        return failed();
    if (answeredWith200(QStringLiteral("/1/oauth2/token"), QStringLiteral("POST")) != 1)
        return {QStringLiteral("the cloud has not exchanged exactly one code for a token"), {}};
    if (storedSession(settingsName).isEmpty())
        return {QStringLiteral("no session is stored"), {}};
    return {{}, QStringLiteral("\"%1\"; one token issued and stored").arg(m_page->loginText())};
}

Tour::Outcome Tour::compareWithDisk(const QString &path, const QString &target)
{
    const QStringList names = namesIn(m_cloud.dropboxFolder() + path);
    if (sorted(m_page->entries()) != sorted(names))
        return {QStringLiteral("the list shows %1").arg(m_page->entries().join(QStringLiteral(", "))), {}};
    if (answeredWith200(target, QStringLiteral("GET")) < 1)
        return {QStringLiteral("the cloud has not answered ") + target, {}};
    return {{}, QStringLiteral("%1 entries, the same as on the cloud's disk").arg(names.size())};
}

Tour::Outcome Tour::list(const Plan &)
{
    m_driver.settle();
    return compareWithDisk(QString(), QStringLiteral("/1/metadata/dropbox/?"));
}

Tour::Outcome Tour::openFolder(const Plan &plan)
{
    QString path;
    for (const QString &name : plan.folder) {
        if (!m_page->openFolder(name))
            return failed();
        path += QLatin1Char('/') + name;
    }
    return compareWithDisk(path, QStringLiteral("/1/metadata/dropbox/") + path);
}

Tour::Outcome Tour::fetch(const QString &name, const QString &path)
{
    const int served = answeredWith200(QStringLiteral("/1/files/"), QStringLiteral("GET"));
    if (!m_page->select(name) || !m_page->import())
        return failed();
    if (answeredWith200(QStringLiteral("/1/files/"), QStringLiteral("GET")) != served + 1)
        return {QStringLiteral("the cloud has not served exactly one file"), {}};
    const QString original = sha256(m_cloud.dropboxFolder() + path);
    for (const QString &file : filesBelow(m_scratch.filePath(QStringLiteral("kelda/temp_cloud")))) {
        if (file.endsWith(QLatin1Char('/') + name) && !original.isEmpty() && sha256(file) == original)
            return {{}, QStringLiteral("SHA-256 %1... equal").arg(original.left(12))};
    }
    return {QStringLiteral("no downloaded file has the bytes of ") + path, {}};
}

Tour::Outcome Tour::download(const Plan &plan)
{
    for (int i = 0; i < plan.folder.size(); ++i) {
        if (!m_page->goUp())
            return failed();
    }
    const QString path = QLatin1Char('/') + plan.large;
    QElapsedTimer timer;
    timer.start();
    Outcome outcome = fetch(plan.large, path);
    const qint64 bytes = QFileInfo(m_cloud.dropboxFolder() + path).size();
    const qint64 triangles = trianglesInObj(m_cloud.dropboxFolder() + path);
    if (outcome.error.isEmpty() && sceneInfo(QStringLiteral("triangles")) != triangles)
        outcome.error = QStringLiteral("the scene has not %1 triangles").arg(triangles);
    outcome.detail = QStringLiteral("%1 bytes, %2, and %3 triangles in the scene at %4")
                         .arg(bytes)
                         .arg(outcome.detail)
                         .arg(triangles)
                         .arg(megabytesPerSecond(bytes, timer.elapsed()));
    return outcome;
}

Tour::Outcome Tour::import(const Plan &plan)
{
    QString path;
    for (const QString &name : plan.folder) {
        if (!m_page->openFolder(name))
            return failed();
        path += QLatin1Char('/') + name;
    }
    if (!m_driver.run(QStringLiteral("file -new -force")))
        return failed();
    Outcome outcome = fetch(plan.model, path + QLatin1Char('/') + plan.model);
    const qint64 triangles = sceneInfo(QStringLiteral("triangles"));
    const qint64 textures = sceneInfo(QStringLiteral("textures"));
    if (outcome.error.isEmpty() && (triangles < 1 || textures < 1))
        outcome.error = QStringLiteral("%1 triangles and %2 textures in the scene").arg(triangles).arg(textures);
    m_driver.settle();
    outcome.detail += QStringLiteral("; %1 triangles, %2 texture in the scene").arg(triangles).arg(textures);
    return outcome;
}
