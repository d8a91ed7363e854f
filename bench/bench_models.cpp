// How long the host takes to import large models, and how much memory, against "assimp info" on the same files, which
// this program writes. Usage: bench_models [ROUNDS]; each import runs in a new process.

#include "Memory.h"
#include "Programs.h"
#include "Report.h"
#include "scene/ModelExporter.h"
#include "scene/Translators.h"
#include "ui/KeldaProgram.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <limits>
#include <sys/resource.h>

namespace {

const QString writeMode = QStringLiteral("--write");
const QString importMode = QStringLiteral("--import");
const QString referenceMode = QStringLiteral("--reference");
const QStringList kinds{"STL", "PLY", "OBJ", "FBX"};
const int side = 1000; ///< squares on a side of the surface, each of two triangles
const double unknown = std::numeric_limits<double>::quiet_NaN();

/// A wavy surface of two million triangles with normals and texture coordinates.
std::vector<SceneObject> surface()
{
    auto mesh = std::make_shared<Mesh>();
    for (int row = 0; row <= side; ++row) {
        for (int column = 0; column <= side; ++column) {
            const float x = float(column) / side;
            const float y = float(row) / side;
            mesh->positions.emplace_back(x, y, std::sin(20 * x) * std::cos(30 * y) / 10);
            mesh->normals.push_back(
                QVector3D(-2 * std::cos(20 * x) * std::cos(30 * y), 3 * std::sin(20 * x) * std::sin(30 * y), 1)
                    .normalized());
            mesh->uvs.emplace_back(x, y);
        }
    }
    const auto point = [](int column, int row) { return quint32(row * (side + 1) + column); };
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column) {
            mesh->addFace({point(column, row), point(column + 1, row), point(column + 1, row + 1)});
            mesh->addFace({point(column, row), point(column + 1, row + 1), point(column, row + 1)});
        }
    }
    mesh->updateBounds();
    return {{QStringLiteral("surface"), mesh, std::make_shared<Material>()}};
}

QString fileOf(const QString &folder, const QString &kind)
{
    return folder + QStringLiteral("/surface.") + Translators::named(kind).extension();
}

/// Runs in a new process, so that the measuring process stays small.
int writeModels(const QString &folder)
{
    const std::vector<SceneObject> objects = surface();
    for (const QString &kind : kinds) {
        const Translator &translator = Translators::named(kind);
        ModelExporter::write(objects, fileOf(folder, kind), translator,
                             OptionStore().values(FileAction::Export, translator));
    }
    std::puts("1");
    return 0;
}

/// The largest resident memory of the processes that this one started, in bytes.
double peakOfChildren()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return 1024.0 * double(usage.ru_maxrss);
}

/// In the process that is measured: imports \p file and prints the peaks of the host and of its reader, added up. The
/// host's own holds the whole model, so the sum is not below what both and the memory between them take at any time.
int importModel(const QString &file)
{
    const QTemporaryDir folder;
    KeldaOptions options;
    options.mode = KGlobal::kBatch;
    options.userDir = folder.path();
    options.echo = false;
    options.tasks.push_back({false, QStringLiteral("file -i \"") + file + '"'});
    options.tasks.push_back(
        {false, QStringLiteral("if (`sceneInfo -q -triangles` != %1) error \"wrong count\"").arg(2 * side * side)});
    KeldaProgram host(options);
    if (!host.start())
        return 1;
    std::printf("%.0f\n", double(peakResidentBytes()) + peakOfChildren());
    return 0;
}

/// Prints the seconds and the peak of "assimp info".
int readWithReference(const QString &file)
{
    QElapsedTimer clock;
    clock.start();
    if (outputOf(QStringLiteral("assimp"), {QStringLiteral("info"), file}).isEmpty())
        return 1;
    std::printf("%.4f %.0f\n", double(clock.elapsed()) / 1000, peakOfChildren());
    return 0;
}

double mebibytes(double bytes)
{
    return bytes / (1024 * 1024);
}

void measure(Report &report, const QString &kind, const QString &file, int rounds)
{
    Rounds memory;
    const auto ours = [&] {
        QElapsedTimer clock;
        clock.start();
        const std::vector<double> peak = numbersOfSelf({importMode, file});
        memory.ours.push_back(peak.size() == 1 ? mebibytes(peak[0]) : unknown);
        return peak.size() == 1 ? double(clock.elapsed()) / 1000 : unknown;
    };
    const auto reference = [&] {
        const std::vector<double> taken = numbersOfSelf({referenceMode, file});
        memory.reference.push_back(taken.size() == 2 ? mebibytes(taken[1]) : unknown);
        return taken.size() == 2 ? taken[0] : unknown;
    };
    const Rounds seconds = alternate(rounds, ours, reference);
    const QString figure =
        QStringLiteral("2 million triangles, %1 of %2 MB: ").arg(kind).arg(QFileInfo(file).size() / 1000000);
    report.addRatio(figure + QStringLiteral("time"), seconds, QStringLiteral("s"), {Target::Kind::AtMost, 1.3});
    report.addRatio(figure + QStringLiteral("memory"), memory, QStringLiteral("MiB"), {Target::Kind::AtMost, 1.5});
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QString mode = QCoreApplication::arguments().value(1);
    const QString path = QCoreApplication::arguments().value(2);
    if (mode == writeMode)
        return writeModels(path);
    if (mode == importMode)
        return importModel(path);
    if (mode == referenceMode)
        return readWithReference(path);

    const QTemporaryDir folder;
    if (numbersOfSelf({writeMode, folder.path()}).empty())
        return 2;
    Report report(QStringLiteral("models"));
    for (const QString &kind : kinds)
        measure(report, kind, fileOf(folder.path(), kind), roundsFrom(argc, argv));
    return report.exitStatus();
}
