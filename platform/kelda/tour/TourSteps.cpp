// The steps of a tour: each does with the widgets what a person would, then proves it by the cloud's log, by the bytes
// on disk, or by what the host counts in its scene.

#include "tour/Evidence.h"
#include "tour/Tour.h"

#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>

namespace {

const int dockWidth = 440;
const int exportScale = 2;
const QString exportTyped = QStringLiteral("Scene From Kelda");
const QString exportName = QStringLiteral("scene from kelda.glb");

QString megabytesPerSecond(qint64 bytes, qint64 ms)
{
    const double seconds = double(qMax<qint64>(ms, 1)) / 1000;
    return QString::number(double(bytes) / 1e6 / seconds, 'f', 1) + QStringLiteral(" MB/s");
}

} // namespace

Tour::Outcome Tour::failed() const
{
    return {m_driver.error().isEmpty() ? QStringLiteral("unknown reason") : m_driver.error(), QString()};
}

qint64 Tour::sceneInfo(const QString &what) const
{
    return m_driver.ask(QStringLiteral("sceneInfo -q -") + what).toLongLong();
}

QList<double> Tour::sceneSize() const
{
    QList<double> size;
    const QStringList box = m_driver.ask(QStringLiteral("sceneInfo -q -boundingBox")).split(QLatin1Char(' '));
    for (int axis = 0; axis < 3 && box.size() == 6; ++axis)
        size << box[axis + 3].toDouble() - box[axis].toDouble();
    return size;
}

bool Tour::openFolders(const QStringList &folder)
{
    for (const QString &name : folder) {
        if (!m_page->openFolder(name))
            return false;
        m_place << name;
    }
    return true;
}

bool Tour::goToRoot()
{
    while (!m_place.isEmpty()) {
        if (!m_page->goUp())
            return false;
        m_place.removeLast();
    }
    return true;
}

Tour::Outcome Tour::signIn()
{
    if (!m_page->open() || !m_page->widen(dockWidth) || !m_guide->askToSignIn(*m_page))
        return failed();
    m_driver.settle();
    m_picture = m_driver.picture();
    const int before = m_guide->answers(m_guide->facts().admission);
    if (!m_guide->answerSignIn(*m_page))
        return failed();
    if (m_guide->answers(m_guide->facts().admission) != before + 1)
        return {QStringLiteral("the cloud has not let in exactly one user"), {}};
    if (!m_guide->hasStoredSession(userDir()))
        return {QStringLiteral("no session is stored"), {}};
    return {{}, QStringLiteral("\"%1\"; one session issued and stored").arg(m_page->loginText())};
}

Tour::Outcome Tour::compareWithCloud(const PortalGuide::View &view)
{
    const QStringList names = m_guide->entries(view);
    if (names.isEmpty() || sorted(m_page->entries()) != sorted(names))
        return {QStringLiteral("the list shows %1").arg(m_page->entries().join(QStringLiteral(", "))), {}};
    if (m_guide->answers(m_guide->listing(view)) < 1)
        return {QStringLiteral("the cloud has not answered ") + m_guide->listing(view).target, {}};
    return {{}, QStringLiteral("%1 entries, the same as on the cloud's disk").arg(names.size())};
}

Tour::Outcome Tour::list()
{
    m_driver.settle();
    return compareWithCloud(PortalGuide::View());
}

Tour::Outcome Tour::openFolder()
{
    const QStringList folder = m_guide->facts().sights.folder;
    return openFolders(folder) ? compareWithCloud({folder, {}, 1}) : failed();
}

Tour::Outcome Tour::search()
{
    const QString keyword = m_guide->facts().sights.keyword;
    return m_page->search(keyword) ? compareWithCloud({m_place, keyword, 1}) : failed();
}

Tour::Outcome Tour::turnPage()
{
    if (!m_page->search(QString()) || !m_page->nextPage())
        return failed();
    Outcome outcome = compareWithCloud({m_place, {}, 2});
    outcome.detail += QStringLiteral(", on page 2");
    return outcome;
}

QString Tour::localFile(const QString &name) const
{
    for (const QString &file : filesBelow(userDir() + QStringLiteral("/temp_cloud"))) {
        if (file.endsWith(QLatin1Char('/') + name))
            return file;
    }
    return QString();
}

Tour::Outcome Tour::fetch(const QStringList &folder, const QString &name)
{
    const int served = m_guide->answers(m_guide->facts().download);
    if (!m_page->select(name) || !m_page->import())
        return failed();
    const int files = m_guide->filesOf(folder, name);
    if (m_guide->answers(m_guide->facts().download) != served + files)
        return {QStringLiteral("the cloud has not served exactly %1 of its files").arg(files), {}};
    const QString original = sha256(m_guide->original(folder, name));
    if (original.isEmpty() || sha256(localFile(m_guide->localName(folder, name))) != original)
        return {QStringLiteral("no downloaded file has the bytes of ") + name, {}};
    return {{}, QStringLiteral("SHA-256 %1... equal").arg(original.left(12))};
}

Tour::Outcome Tour::download()
{
    const PortalGuide::Sights sights = m_guide->facts().sights;
    if (!goToRoot() || !openFolders(sights.archive) || !m_driver.run(QStringLiteral("file -new -force")))
        return failed();
    const QString original = m_guide->original(sights.archive, sights.large);
    QElapsedTimer timer;
    timer.start();
    Outcome outcome = fetch(sights.archive, sights.large);
    const qint64 bytes = QFileInfo(original).size();
    const qint64 triangles = trianglesInObj(original);
    if (outcome.error.isEmpty() && sceneInfo(QStringLiteral("triangles")) != triangles)
        outcome.error = QStringLiteral("the scene has not %1 triangles").arg(triangles);
    outcome.detail = QStringLiteral("%1 bytes, %2, and %3 triangles in the scene at %4")
                         .arg(bytes)
                         .arg(outcome.detail)
                         .arg(triangles)
                         .arg(megabytesPerSecond(bytes, timer.elapsed()));
    return outcome;
}

Tour::Outcome Tour::import()
{
    const PortalGuide::Sights sights = m_guide->facts().sights;
    if (!goToRoot() || !openFolders(sights.folder) || !m_driver.run(QStringLiteral("file -new -force")))
        return failed();
    Outcome outcome = fetch(sights.folder, sights.model);
    const qint64 triangles = sceneInfo(QStringLiteral("triangles"));
    const qint64 textures = sceneInfo(QStringLiteral("textures"));
    if (outcome.error.isEmpty() && (triangles < 1 || textures < 1))
        outcome.error = QStringLiteral("%1 triangles and %2 textures in the scene").arg(triangles).arg(textures);
    m_driver.settle();
    outcome.detail += QStringLiteral("; %1 triangles, %2 texture in the scene").arg(triangles).arg(textures);
    return outcome;
}

bool Tour::setExportScale()
{
    bool set = false;
    m_driver.setDialogHandler([&](QDialog &dialog) {
        auto *scale = dialog.findChild<QDoubleSpinBox *>(QStringLiteral("KeldaOption_scale"));
        auto *buttons = dialog.findChild<QDialogButtonBox *>();
        if (set || !scale || !buttons || !m_driver.replace(scale, QString::number(exportScale)))
            return false;
        m_driver.settle();
        set = savePicture(m_pictureName + QStringLiteral("-options"), m_driver.picture()) &&
              m_driver.click(buttons->button(QDialogButtonBox::Ok));
        return set;
    });
    const bool shown = m_page->showExportOptions();
    m_driver.setDialogHandler({});
    return shown && (set || m_driver.fail(QStringLiteral("the export options cannot be set")));
}

Tour::Outcome Tour::exportScene()
{
    if (!m_page->showExportTab() || !m_page->chooseTranslator(QStringLiteral("glTF binary")) ||
        !m_page->setExportName(exportTyped) || !setExportScale())
        return failed();
    m_driver.takeHostMessages();
    if (!m_page->exportAll())
        return failed();
    const QString file = localFile(exportName);
    const QStringList said = m_driver.takeHostMessages();
    if (!QFileInfo(file).size() || said.filter(file).isEmpty())
        return {QStringLiteral("the host has not written %1; it said: %2").arg(exportName, said.join(" | ")), {}};
    return {{},
            QStringLiteral("%1, %2 bytes, at scale %3").arg(exportName).arg(QFileInfo(file).size()).arg(exportScale)};
}

Tour::Outcome Tour::upload()
{
    const QString local = localFile(exportName);
    const QString original = m_guide->original(m_place, exportName);
    if (m_guide->answers(m_guide->facts().upload) != 1)
        return {QStringLiteral("the cloud has not taken exactly one file"), {}};
    if (local.isEmpty() || sha256(local) != sha256(original))
        return {QStringLiteral("what the cloud has is not what the host wrote"), {}};
    if (!m_page->entries().contains(exportName))
        return {QStringLiteral("the list does not show the new file"), {}};

    const qint64 triangles = sceneInfo(QStringLiteral("triangles"));
    const QList<double> size = sceneSize();
    QFile::remove(local);
    if (!m_driver.run(QStringLiteral("file -new -force")) || !m_page->showImportTab())
        return failed();
    Outcome outcome = fetch(m_place, exportName);
    const QList<double> scaled = sceneSize();
    for (int axis = 0; axis < 3 && outcome.error.isEmpty(); ++axis) {
        if (qAbs(scaled.value(axis) - exportScale * size.value(axis)) > 1e-4 * size.value(axis))
            outcome.error = QStringLiteral("the model came back in another size");
    }
    if (outcome.error.isEmpty() && (triangles < 1 || sceneInfo(QStringLiteral("triangles")) != triangles))
        outcome.error = QStringLiteral("the model came back with other triangles");
    outcome.detail += QStringLiteral("; back in an empty scene with %1 triangles").arg(triangles);
    return outcome;
}

bool Tour::exportOver()
{
    bool asked = false;
    m_driver.setDialogHandler([&](QDialog &dialog) {
        auto *box = qobject_cast<QMessageBox *>(&dialog);
        if (asked || !box || box->icon() != QMessageBox::Question)
            return false;
        m_driver.settle();
        m_picture = m_driver.picture();
        asked = m_driver.click(box->button(QMessageBox::Yes));
        return true; // a box that was not ready is shown again
    });
    const bool exported = m_page->exportAll();
    m_driver.setDialogHandler({});
    return exported && (asked || m_driver.fail(QStringLiteral("nobody asked whether the file may be replaced")));
}

Tour::Outcome Tour::replace()
{
    const QString original = m_guide->original(m_place, exportName);
    const QString before = sha256(original);
    const int replaced = m_guide->answers(m_guide->facts().replacement);
    QFile::remove(localFile(exportName)); // the one that came back from the cloud
    if (!m_page->showExportTab() || !m_page->setExportName(exportTyped) || !exportOver())
        return failed();
    const QString after = sha256(original);
    if (m_guide->answers(m_guide->facts().replacement) != replaced + 1)
        return {QStringLiteral("the cloud has not replaced exactly one file"), {}};
    if (after == before || after != sha256(localFile(exportName)))
        return {QStringLiteral("what the cloud has is not what the host wrote"), {}};
    const Outcome outcome = compareWithCloud({m_place, {}, 1});
    if (!outcome.error.isEmpty())
        return outcome;
    return {{}, QStringLiteral("asked once; SHA-256 %1... became %2...").arg(before.left(12), after.left(12))};
}
