#include "localcloud/DemoData.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

static void initResources()
{
    Q_INIT_RESOURCE(localcloud_demo_data); // the macro must be outside of a namespace
}

namespace localcloud {

namespace {

const QString kDemoData = QStringLiteral(":/demo-data/");
constexpr int kTerrainColumns = 400;
constexpr int kTerrainRows = 250;

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray number(double value)
{
    return QByteArray::number(value, 'f', 5); // the same in every locale
}

/// Returns hills of 200,000 triangles as an OBJ file.
QByteArray terrain()
{
    QByteArray obj = "o Terrain\n";
    for (int row = 0; row <= kTerrainRows; ++row) {
        for (int column = 0; column <= kTerrainColumns; ++column) {
            const double x = 4.0 * column / kTerrainColumns - 2;
            const double z = 4.0 * row / kTerrainRows - 2;
            const double y = 0.30 * std::sin(1.9 * x) * std::cos(2.3 * z) + 0.12 * std::sin(5 * x + 3 * z) +
                             0.04 * std::cos(13 * x - 7 * z);
            obj += "v " + number(x) + ' ' + number(y) + ' ' + number(z) + '\n';
        }
    }
    for (int row = 0; row < kTerrainRows; ++row) {
        for (int column = 0; column < kTerrainColumns; ++column) {
            const int first = row * (kTerrainColumns + 1) + column + 1;
            const QByteArray a = QByteArray::number(first) + ' ';
            const QByteArray b = QByteArray::number(first + kTerrainColumns + 1) + ' ';
            const QByteArray c = QByteArray::number(first + 1) + ' ';
            const QByteArray d = QByteArray::number(first + kTerrainColumns + 2) + ' ';
            obj += "f " + a + b + c + "\nf " + c + b + d + '\n';
        }
    }
    return obj;
}

/// Writes files below one folder until the first failure.
class Writer
{
public:
    explicit Writer(const QString &folder) : m_folder(folder) {}

    /// Creates a file and its folders. An existing file stays unchanged.
    void write(const QString &name, const QByteArray &content)
    {
        QFile file(m_folder.filePath(name));
        makeFolder(QFileInfo(name).path());
        if (!m_error.isEmpty() || file.exists())
            return;
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush())
            m_error = file.fileName() + QStringLiteral(": ") + file.errorString();
    }
    void makeFolder(const QString &name)
    {
        if (m_error.isEmpty() && !m_folder.mkpath(name))
            m_error = m_folder.filePath(name) + QStringLiteral(": cannot create the folder");
    }
    const QString &error() const { return m_error; }

private:
    QDir m_folder;
    QString m_error;
};

void fill(const QString &name, Writer &writer)
{
    const QDir tree(kDemoData + name);
    for (QDirIterator file(tree.path(), QDir::Files, QDirIterator::Subdirectories); file.hasNext();) {
        const QString path = file.next();
        writer.write(tree.relativeFilePath(path), contentOf(path));
    }
    const QJsonObject plan = QJsonDocument::fromJson(contentOf(kDemoData + "folders.json"))[name].toObject();
    const QJsonObject files = plan["files"].toObject();
    for (auto file = files.begin(); file != files.end(); ++file)
        writer.write(file.key(), contentOf(kDemoData + "models/" + file.value().toString()));
    for (const QJsonValue &folder : plan["emptyFolders"].toArray())
        writer.makeFolder(folder.toString());
    if (plan.contains("terrain"))
        writer.write(plan["terrain"].toString(), terrain());
    const QJsonObject series = plan["series"].toObject();
    const QByteArray content = contentOf(kDemoData + "models/" + series["file"].toString());
    for (int i = 1; i <= series["count"].toInt(); ++i)
        writer.write(series["path"].toString().arg(i, 5, 10, QLatin1Char('0')), content);
}

} // namespace

bool fillOnce(const QString &name, const QString &folder, const QString &marker, QString *error)
{
    if (QFileInfo::exists(marker))
        return true;
    initResources();
    Writer writer(folder);
    fill(name, writer);
    if (writer.error().isEmpty())
        writer.write(marker, "The folder has been filled.\n");
    *error = writer.error();
    return error->isEmpty();
}

} // namespace localcloud
