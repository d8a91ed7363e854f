// The reader process of the host: answers the one request in the file whose handle is its argument, in that same file.

#include "scene/ModelReader.h"
#include "scene/ReadRequest.h"
#include "scene/Translators.h"

#include <QFile>
#include <QLocale>

#include <cstdlib>

namespace {

/// The reason for a failure; empty for success.
QString readInto(ModelData &model, const ReadRequest &request)
{
    try {
        model = ModelReader::read(request.path, Translators::find(request.translator), request.options);
        return QString();
    } catch (const std::bad_alloc &) {
        return QStringLiteral("it needs more memory than there is");
    } catch (const std::exception &error) {
        return QString::fromUtf8(error.what());
    } catch (...) {
        return QStringLiteral("it is damaged");
    }
}

} // namespace

int main(int argc, char **argv)
{
    QLocale::setDefault(QLocale::c()); // messages name kinds of files in English, as all of the host's
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
    // Straight out: what a damaged file left in the library may not survive an orderly end.
    std::_Exit(file.flush() && stream.status() == QDataStream::Ok ? EXIT_SUCCESS : EXIT_FAILURE);
}
