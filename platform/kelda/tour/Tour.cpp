#include "tour/Tour.h"

#include "tour/LocalFiles.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QTextStream>

#include <cmath>

namespace {

constexpr int kDockWidth = 440;
constexpr int kExportScale = 2;
const QString kTypedName = QStringLiteral("Scene From Kelda");
const QString kExportName = QStringLiteral("scene from kelda.glb");

/// The diagonal of the scene's bounding box.
double sceneSize(const Driver &driver)
{
    const QStringList box = driver.ask(QStringLiteral("sceneInfo -q -boundingBox")).split(QLatin1Char(' '));
    const auto side = [&box](int axis) { return box.value(axis + 3).toDouble() - box.value(axis).toDouble(); };
    return std::hypot(side(0), side(1), side(2));
}

} // namespace

Tour::Step Tour::stepNamed(const QString &name)
{
    static const QMap<QString, Step> steps{
        {QStringLiteral("sign-in"), &Tour::signIn},
        {QStringLiteral("list"), &Tour::list},
        {QStringLiteral("open-folder"), &Tour::openFolder},
        {QStringLiteral("search"), &Tour::search},
        {QStringLiteral("page"), &Tour::nextPage},
        {QStringLiteral("download"), &Tour::downloadLargeModel},
        {QStringLiteral("import"), &Tour::importTexturedModel},
        {QStringLiteral("export"), &Tour::exportScene},
        {QStringLiteral("upload"), &Tour::checkUpload},
        {QStringLiteral("replace"), &Tour::replaceFile},
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
        m_page = std::make_unique<CloudPage>(m_driver, facts().tab);
        m_place.clear();
        for (const QString &step : facts().steps)
            runStep(step);
    }
    m_ok = writeReport() && m_ok;
    QTextStream(stdout) << (m_ok ? "tour: ok" : "tour: FAILED") << ", pictures in " << m_folder << '\n';
    return m_ok;
}

bool Tour::begin()
{
    if (!QDir().mkpath(m_folder))
        return m_driver.fail(QStringLiteral("cannot create ") + m_folder);
    QDir folder(m_folder);
    for (const QString &old : folder.entryList({QStringLiteral("[0-9][0-9]-*.png"), QStringLiteral("tour.json")}))
        folder.remove(old);
    if (!m_cloud.start(m_scratch.filePath(QStringLiteral("cloud"))))
        return m_driver.fail(m_cloud.error());
    storeDockedAtTheRight();
    return m_driver.start({userDir(), m_cloud.caFile()});
}

void Tour::runStep(const QString &name)
{
    QElapsedTimer timer;
    timer.start();
    m_picture = QImage();
    m_detail.clear();
    m_pictureName = QStringLiteral("%1-%2-%3").arg(m_steps.size() + 1, 2, 10, QLatin1Char('0')).arg(facts().id, name);
    bool ok = (this->*stepNamed(name))();
    const qint64 ms = timer.elapsed();
    const QStringList messages = m_driver.takeMessages();
    if (ok && !messages.isEmpty())
        ok = m_driver.fail(QStringLiteral("a message box appeared: ") + messages.join(QStringLiteral(" | ")));
    if (m_picture.isNull())
        takePicture();
    if (!savePicture() && ok)
        ok = m_driver.fail(QStringLiteral("cannot write %1.png").arg(m_pictureName));
    m_ok = m_ok && ok;
    const QString detail = ok ? m_detail : m_driver.error();
    m_steps << QJsonObject{{QStringLiteral("portal"), facts().id},
                           {QStringLiteral("step"), name},
                           {QStringLiteral("ok"), ok},
                           {QStringLiteral("detail"), detail},
                           {QStringLiteral("ms"), ms}};
    QTextStream(stdout) << (ok ? "ok      " : "FAILED  ") << facts().id << ' ' << name.leftJustified(12) << ms
                        << " ms  " << detail << '\n';
}

void Tour::takePicture()
{
    m_driver.settle();
    m_picture = m_driver.picture();
}

bool Tour::savePicture(const QString &suffix) const
{
    return m_picture.save(m_folder + QLatin1Char('/') + m_pictureName + suffix + QStringLiteral(".png"));
}

bool Tour::writeReport() const
{
    const QJsonObject tour{{QStringLiteral("steps"), m_steps}, {QStringLiteral("ok"), m_ok}};
    const QByteArray text = QJsonDocument(tour).toJson();
    QFile file(m_folder + QStringLiteral("/tour.json"));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
}

bool Tour::goTo(const QStringList &folder)
{
    for (; !m_place.isEmpty(); m_place.removeLast()) {
        if (!m_page->goUp())
            return false;
    }
    for (const QString &name : folder) {
        if (!m_page->openFolder(name))
            return false;
        m_place << name;
    }
    return true;
}

bool Tour::checkList(const PortalGuide::View &view)
{
    m_driver.settle();
    const QStringList names = m_guide->entries(view);
    if (names.isEmpty() || sorted(m_page->entries()) != sorted(names))
        return m_driver.fail(QStringLiteral("the list shows ") + m_page->entries().join(QStringLiteral(", ")));
    if (m_guide->countRequests(m_guide->listing(view)) < 1)
        return m_driver.fail(QStringLiteral("the cloud did not serve ") + m_guide->listing(view).target);
    m_detail = QStringLiteral("%1 entries, as on the disk of the cloud").arg(names.size());
    return true;
}

QString Tour::localFile(const QString &name) const
{
    for (const QString &file : filesBelow(userDir() + QStringLiteral("/temp_cloud"))) {
        if (file.endsWith(QLatin1Char('/') + name))
            return file;
    }
    return QString();
}

bool Tour::import(const QString &name)
{
    const int files = m_guide->fileCount(m_place, name);
    const int before = m_guide->countRequests(facts().download);
    if (!m_driver.run(QStringLiteral("file -new -force")) || !m_page->select(name) || !m_page->import())
        return false;
    if (m_guide->countRequests(facts().download) != before + files)
        return m_driver.fail(QStringLiteral("the cloud did not serve exactly %1 files").arg(files));
    const QString original = m_guide->original(m_place, name);
    const QString hash = sha256(original);
    if (hash.isEmpty() || sha256(localFile(m_guide->localName(m_place, name))) != hash)
        return m_driver.fail(QStringLiteral("the downloaded file differs from ") + original);
    const qint64 triangles = m_driver.sceneInfo("triangles");
    m_detail = QStringLiteral("%1 bytes, SHA-256 %2... equal; %3 triangles, %4 textures in the scene")
                   .arg(QFileInfo(original).size())
                   .arg(hash.left(12))
                   .arg(triangles)
                   .arg(m_driver.sceneInfo("textures"));
    return triangles > 0 || m_driver.fail(QStringLiteral("the scene is empty"));
}

bool Tour::signIn()
{
    if (!m_page->open())
        return false;
    auto *window = qobject_cast<QMainWindow *>(m_driver.mainWindow());
    window->resizeDocks({qobject_cast<QDockWidget *>(m_page->dock())}, {kDockWidth}, Qt::Horizontal);
    if (!m_guide->openSignInPage(*m_page))
        return false;
    takePicture();
    const int before = m_guide->countRequests(facts().signIn);
    if (!m_guide->signIn(*m_page))
        return false;
    if (m_guide->countRequests(facts().signIn) != before + 1)
        return m_driver.fail(QStringLiteral("the cloud did not serve exactly one sign-in"));
    m_detail = QStringLiteral("\"%1\", one session stored").arg(m_page->loginText());
    return !m_guide->storedSession(userDir()).isEmpty() || m_driver.fail(QStringLiteral("no session is stored"));
}

bool Tour::openFolder()
{
    return goTo(facts().folder) && checkList({m_place, {}, 1});
}

bool Tour::search()
{
    return m_page->search(facts().keyword) && checkList({m_place, facts().keyword, 1});
}

bool Tour::nextPage()
{
    return m_page->search(QString()) && m_page->nextPage() && checkList({m_place, {}, 2});
}

bool Tour::downloadLargeModel()
{
    return goTo(facts().largeModelFolder) && import(facts().largeModel);
}

bool Tour::importTexturedModel()
{
    if (!goTo(facts().folder) || !import(facts().texturedModel))
        return false;
    return m_driver.sceneInfo("textures") > 0 || m_driver.fail(QStringLiteral("the scene has no texture"));
}

bool Tour::exportScene()
{
    bool scaled = false;
    const auto setScale = [&](QDialog &dialog) {
        auto *scale = dialog.findChild<QDoubleSpinBox *>(QStringLiteral("KeldaOption_scale"));
        auto *buttons = dialog.findChild<QDialogButtonBox *>();
        if (scaled || !scale || !buttons || !m_driver.replace(scale, QString::number(kExportScale)))
            return false;
        takePicture();
        scaled = savePicture(QStringLiteral("-options")) && m_driver.click(buttons->button(QDialogButtonBox::Ok));
        return scaled;
    };
    if (!m_page->showExportTab() || !m_page->chooseTranslator(QStringLiteral("glTF binary")) ||
        !m_page->setExportName(kTypedName))
        return false;
    m_driver.setDialogHandler(setScale);
    const bool optionsShown = m_page->showExportOptions();
    m_driver.setDialogHandler({});
    m_picture = QImage();
    m_driver.takeHostMessages();
    if (!optionsShown || !scaled || !m_page->exportAll())
        return false;
    const QString file = localFile(kExportName);
    m_detail =
        QStringLiteral("%1, %2 bytes, at scale %3").arg(kExportName).arg(QFileInfo(file).size()).arg(kExportScale);
    const QStringList messages = m_driver.takeHostMessages();
    return !messages.filter(file).isEmpty() ||
           m_driver.fail(QStringLiteral("the host posted: ") + messages.join(QStringLiteral(" | ")));
}

bool Tour::checkUpload()
{
    const qint64 triangles = m_driver.sceneInfo("triangles");
    const double size = kExportScale * sceneSize(m_driver);
    if (m_guide->countRequests(facts().upload) != 1)
        return m_driver.fail(QStringLiteral("the cloud did not store exactly one file"));
    if (sha256(localFile(kExportName)) != sha256(m_guide->original(m_place, kExportName)))
        return m_driver.fail(QStringLiteral("the uploaded file differs from the exported one"));
    QFile::remove(localFile(kExportName));
    if (!m_page->showImportTab() || !import(kExportName))
        return false;
    if (qAbs(sceneSize(m_driver) - size) > 1e-4 * size)
        return m_driver.fail(QStringLiteral("the uploaded model is not %1 times as large").arg(kExportScale));
    return m_driver.sceneInfo("triangles") == triangles ||
           m_driver.fail(QStringLiteral("the uploaded model has not %1 triangles").arg(triangles));
}

bool Tour::replaceFile()
{
    const QString original = m_guide->original(m_place, kExportName);
    const QString before = sha256(original);
    const int replacements = m_guide->countRequests(facts().replacement);
    bool asked = false;
    m_driver.setDialogHandler([&](QDialog &dialog) {
        auto *box = qobject_cast<QMessageBox *>(&dialog);
        if (asked || !box || box->icon() != QMessageBox::Question)
            return false;
        takePicture();
        asked = m_driver.click(box->button(QMessageBox::Yes));
        return true; // the driver calls this again if the box was not ready
    });
    const bool exported = m_page->showExportTab() && m_page->setExportName(kTypedName) && m_page->exportAll();
    m_driver.setDialogHandler({});
    if (!exported)
        return false;
    if (!asked || m_guide->countRequests(facts().replacement) != replacements + 1)
        return m_driver.fail(QStringLiteral("the file was not replaced exactly once after a question"));
    const QString after = sha256(original);
    if (after == before || after != sha256(localFile(kExportName)))
        return m_driver.fail(QStringLiteral("the stored file differs from the exported one"));
    m_detail = QStringLiteral("asked once; SHA-256 %1... became %2...").arg(before.left(12), after.left(12));
    return true;
}
