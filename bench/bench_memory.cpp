// Signs in to a portal and changes folders 500 times and imports 50 files, as a user would: how much the resident
// memory grows once the first tenth is done. Usage: bench_memory [ROUNDS]; each round is a process of its own.

#include "Memory.h"
#include "Programs.h"
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
#include <limits>

namespace {

const QString child = QStringLiteral("--journey");
const int steps = 50; ///< each with ten folder changes and one import
const int changesPerStep = 10;
const int files = 200;
const QString folderName = QStringLiteral("Shelf");
const QString model = QStringLiteral("quads.obj");

/// A folder with enough entries that losing them would show.
bool fillShelf(const QString &folder)
{
    if (!QDir().mkpath(folder) || !writeQuads(folder + '/' + model, 100))
        return false;
    for (int i = 0; i < files; ++i) {
        QFile file(folder + QStringLiteral("/part %1.obj").arg(i));
        if (!file.open(QIODevice::WriteOnly) || file.write("v 0 0 0\n") < 0)
            return false;
    }
    return true;
}

/// What the host's event loop does between two clicks of a user: also what was put off until no call is running.
bool rest()
{
    QTest::qWait(1);
    return true;
}

bool step(Driver &driver, CloudPage &page)
{
    for (int i = 0; i < changesPerStep; i += 2) {
        if (!page.openFolder(folderName) || !rest() || !page.goUp() || !rest())
            return false;
    }
    const auto imported = [&] { return driver.ask(QStringLiteral("sceneInfo -q -triangles")) == QLatin1String("200"); };
    if (!page.openFolder(folderName) || !page.importByDoubleClick(model) ||
        !driver.waitFor(imported, QStringLiteral("the import")) || !rest() || !page.goUp() || !rest())
        return false;
    driver.ask(QStringLiteral("file -new -force"));
    driver.takeHostMessages();
    return driver.takeMessages().isEmpty() || driver.fail(QStringLiteral("a message appeared"));
}

/// In the process that is measured: prints the largest memory after the first tenth as a part of that at its end.
int travel()
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
    if (!cloud.start({folder.filePath(QStringLiteral("cloud")), {}, 0}))
        return fail();
    const std::unique_ptr<PortalGuide> guide = portalGuide(portal, driver, cloud);
    if (!fillShelf(cloud.dropboxFolder() + '/' + folderName) ||
        !driver.start({folder.filePath(QStringLiteral("kelda")), cloud.caFile()}) || !page.open() ||
        !guide->openSignInPage(page) || !guide->signIn(page))
        return fail();
    std::vector<double> resident;
    for (int i = 0; i < steps; ++i) {
        if (!step(driver, page))
            return fail();
        resident.push_back(double(residentBytes()));
        std::fprintf(stderr, "step %d: %.1f MiB\n", i + 1, resident.back() / 1048576);
    }
    const auto settled = resident.begin() + steps / 10;
    std::printf("%.5f\n", *std::max_element(settled, resident.end()) / *(settled - 1));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == child)
        return travel();

    std::vector<double> growth;
    for (int round = 0; round < roundsFrom(argc, argv); ++round) {
        const std::vector<double> result = numbersOfSelf({child});
        growth.push_back(result.empty() ? std::numeric_limits<double>::quiet_NaN() : 100 * (result.front() - 1));
    }
    Report report(QStringLiteral("memory"));
    report.addValues(QStringLiteral("500 folder changes, 50 imports: growth after a tenth"), growth, median,
                     QStringLiteral("%"), {Target::Kind::AtMost, 5});
    return report.exitStatus();
}
