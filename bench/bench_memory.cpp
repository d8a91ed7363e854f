// Signs in to a portal, changes folders 500 times and imports 50 files through the user interface: the growth of the
// resident memory after the first tenth. Usage: bench_memory [ROUNDS]; each round is a separate process.

#include "Measure.h"
#include "References.h"
#include "Report.h"
#include "tour/LocalFiles.h"
#include "tour/PortalGuide.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cstdio>

namespace {

const QString kChildMode = QStringLiteral("--child");
constexpr int kSteps = 50; ///< each with ten folder changes and one import
constexpr int kChangesPerStep = 10;
constexpr int kFiles = 200;
const QString kFolderName = QStringLiteral("Shelf");
const QString kModel = QStringLiteral("quads.obj");

/// Creates a folder with so many entries that leaked ones would be measurable.
bool fillShelf(const QString &folder)
{
    if (!QDir().mkpath(folder) || !writeQuads(folder + '/' + kModel, 100))
        return false;
    for (int i = 0; i < kFiles; ++i) {
        QFile file(folder + QStringLiteral("/part %1.obj").arg(i));
        if (!file.open(QIODevice::WriteOnly) || file.write("v 0 0 0\n") < 0)
            return false;
    }
    return true;
}

/// Processes the events between two clicks of a user, including deferred deletions.
bool processEvents()
{
    QTest::qWait(1);
    return true;
}

bool step(Driver &driver, CloudPage &page)
{
    for (int i = 0; i < kChangesPerStep; i += 2) {
        if (!page.openFolder(kFolderName) || !processEvents() || !page.goUp() || !processEvents())
            return false;
    }
    const auto imported = [&] { return driver.ask(QStringLiteral("sceneInfo -q -triangles")) == QLatin1String("200"); };
    if (!page.openFolder(kFolderName) || !page.importByDoubleClick(kModel) ||
        !driver.waitFor(imported, QStringLiteral("the import")) || !processEvents() || !page.goUp() || !processEvents())
        return false;
    driver.ask(QStringLiteral("file -new -force"));
    driver.takeHostMessages();
    return driver.takeMessages().isEmpty() || driver.fail(QStringLiteral("a message appeared"));
}

/// In the measured process: prints the largest memory after the first tenth divided by the memory at its end.
int runChild()
{
    const QTemporaryDir folder;
    CloudProcess cloud;
    Driver driver;
    const QString portal = QStringLiteral("Dropbox");
    CloudPage page(driver, portal);
    removeSettings();
    storeDockedAtTheRight();
    const auto fail = [&] {
        std::fprintf(stderr, "bench_memory: %s %s\n", qPrintable(cloud.error()), qPrintable(driver.error()));
        return 1;
    };
    if (!cloud.start(folder.filePath(QStringLiteral("cloud"))))
        return fail();
    const std::unique_ptr<PortalGuide> guide = portalGuide(portal, driver, cloud);
    if (!fillShelf(cloud.dropboxFolder() + '/' + kFolderName) ||
        !driver.start({folder.filePath(QStringLiteral("kelda")), cloud.caFile()}) || !page.open() ||
        !guide->openSignInPage(page) || !guide->signIn(page))
        return fail();
    std::vector<double> resident;
    for (int i = 0; i < kSteps; ++i) {
        if (!step(driver, page))
            return fail();
        resident.push_back(double(residentBytes()));
        std::fprintf(stderr, "step %d: %.1f MiB\n", i + 1, resident.back() / double(kMebibyte));
    }
    const auto settled = resident.begin() + kSteps / 10;
    std::printf("%.5f\n", *std::max_element(settled, resident.end()) / *(settled - 1));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == kChildMode)
        return runChild();

    std::vector<double> growth;
    for (int round = 0; round < roundsFrom(argc, argv); ++round) {
        const std::vector<double> result = numbersOfSelf({kChildMode});
        growth.push_back(result.empty() ? kFailed : 100 * (result.front() - 1));
    }
    Report report(QStringLiteral("memory"));
    report.addValues(QStringLiteral("500 folder changes, 50 imports: growth after a tenth"), growth, median,
                     QStringLiteral("%"), {Target::Kind::AtMost, 5});
    return report.exitStatus();
}
