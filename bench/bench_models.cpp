// The time and the memory of the host's import of large models, against "assimp info" on the same files. Usage:
// bench_models [ROUNDS]; each import runs in a new process.

#include "Measure.h"
#include "References.h"
#include "Report.h"
#include "scene/ModelExporter.h"
#include "scene/Translators.h"
#include "ui/KeldaProgram.h"

#include <QApplication>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <sys/resource.h>

namespace {

const QString kWriteMode = QStringLiteral("--write");
const QString kImportMode = QStringLiteral("--import");
const QString kReferenceMode = QStringLiteral("--reference");
const QStringList kKinds{"STL", "PLY", "OBJ", "FBX"};
constexpr int kSide = 1000; ///< squares on a side of the surface, each of two triangles

/// A wavy surface of two million triangles with normals and texture coordinates.
std::vector<SceneObject> surface()
{
    auto mesh = std::make_shared<Mesh>();
    for (int row = 0; row <= kSide; ++row) {
        for (int column = 0; column <= kSide; ++column) {
            const float x = float(column) / kSide;
            const float y = float(row) / kSide;
            mesh->positions.emplace_back(x, y, std::sin(20 * x) * std::cos(30 * y) / 10);
            mesh->normals.push_back(
                QVector3D(-2 * std::cos(20 * x) * std::cos(30 * y), 3 * std::sin(20 * x) * std::sin(30 * y), 1)
                    .normalized());
            mesh->uvs.emplace_back(x, y);
        }
    }
    const auto point = [](int column, int row) { return quint32(row * (kSide + 1) + column); };
    for (int row = 0; row < kSide; ++row) {
        for (int column = 0; column < kSide; ++column) {
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

/// Runs in a child process, so that the measuring process stays small.
int writeModels(const QString &folder)
{
    const std::vector<SceneObject> objects = surface();
    for (const QString &kind : kKinds) {
        const Translator &translator = Translators::named(kind);
        ModelExporter::write(objects, fileOf(folder, kind), translator,
                             OptionStore().values(FileAction::Export, translator));
    }
    std::puts("1");
    return 0;
}

/// The largest resident memory of a child process, in bytes.
double peakOfChildren()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return 1024.0 * double(usage.ru_maxrss);
}

/// In the measured process: imports \p file and prints the sum of the peaks of the host and of its reader process. The
/// host's peak includes the whole model, so the sum is an upper limit for both at any time.
int importModel(const QString &file)
{
    const QTemporaryDir folder;
    KeldaOptions options;
    options.mode = KGlobal::kBatch;
    options.userDir = folder.path();
    options.echo = false;
    options.tasks.push_back({false, QStringLiteral("file -i \"") + file + '"'});
    options.tasks.push_back(
        {false, QStringLiteral("if (`sceneInfo -q -triangles` != %1) error \"wrong count\"").arg(2 * kSide * kSide)});
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
    std::printf("%.4f %.0f\n", milliseconds(clock) / 1000, peakOfChildren());
    return 0;
}

double mebibytes(double bytes)
{
    return bytes / double(kMebibyte);
}

void measure(Report &report, const QString &kind, const QString &file, int rounds)
{
    Rounds memory;
    const auto ours = [&] {
        QElapsedTimer clock;
        clock.start();
        const std::vector<double> peak = numbersOfSelf({kImportMode, file});
        memory.ours.push_back(peak.size() == 1 ? mebibytes(peak[0]) : kFailed);
        return peak.size() == 1 ? milliseconds(clock) / 1000 : kFailed;
    };
    const auto reference = [&] {
        const std::vector<double> taken = numbersOfSelf({kReferenceMode, file});
        memory.reference.push_back(taken.size() == 2 ? mebibytes(taken[1]) : kFailed);
        return taken.size() == 2 ? taken[0] : kFailed;
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
    if (mode == kWriteMode)
        return writeModels(path);
    if (mode == kImportMode)
        return importModel(path);
    if (mode == kReferenceMode)
        return readWithReference(path);

    const QTemporaryDir folder;
    if (numbersOfSelf({kWriteMode, folder.path()}).empty())
        return 2;
    Report report(QStringLiteral("models"));
    for (const QString &kind : kKinds)
        measure(report, kind, fileOf(folder.path(), kind), roundsFrom(argc, argv));
    return report.exitStatus();
}
