// kelda_reader, the host's reader process. Reads one ReadRequest from the file whose handle is its argument and
// replaces it by the result.

#include "scene/IsolatedReader.h"
#include "scene/ModelReader.h"
#include "scene/Translators.h"

#include <QFile>
#include <QLocale>

#include <cstdlib>

namespace {

/// Returns the reason of a failure, or an empty text.
QString readInto(ModelData &model, const ReadRequest &request)
{
    try {
        model = ModelReader::read(request.path, Translators::find(request.translator), request.options);
        return QString();
    } catch (const std::bad_alloc &) {
        return QStringLiteral("out of memory");
    } catch (const std::exception &error) {
        return QString::fromUtf8(error.what());
    } catch (...) {
        return QStringLiteral("it is damaged");
    }
}

} // namespace

int main(int argc, char **argv)
{
    QLocale::setDefault(QLocale::c()); // the MIME database names kinds of files in this language
    QFile file;
    if (argc != 2 || !file.open(QByteArray(argv[1]).toInt(), QIODevice::ReadWrite))
        return EXIT_FAILURE;
    QDataStream stream(&file);
    ReadRequest request;
    stream >> request;
    ModelData model;
    const QString problem = readInto(model, request);
    if (stream.status() != QDataStream::Ok || !file.resize(0) || !file.seek(0))
        return EXIT_FAILURE;
    stream << problem << model;
    // Skips the destructors, which may crash after Assimp has read a damaged file.
    std::_Exit(file.flush() && stream.status() == QDataStream::Ok ? EXIT_SUCCESS : EXIT_FAILURE);
}
