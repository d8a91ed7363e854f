#include <QJsonDocument>

#include <algorithm>
#include <localcloud/http/Replies.h>

namespace localcloud {

void setJson(HttpResponse &response, const QJsonObject &object)
{
    response.set(200, "application/json", QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void setJsonError(HttpResponse &response, int status, const QByteArray &message)
{
    setJson(response, {{"error", QString::fromUtf8(message)}});
    response.status = status;
}

void setText(HttpResponse &response, int status, const QByteArray &message)
{
    response.set(status, "text/plain; charset=utf-8", message + '\n');
}

void setFile(HttpResponse &response, const QString &file, qint64 size, const QByteArray &range)
{
    response.set(200, mediaType(file), {});
    response.setHeader("Accept-Ranges", "bytes");
    response.file = file;
    response.fileLength = size;
    const QByteArray spec = range.mid(6).trimmed();
    const int dash = spec.indexOf('-');
    if (!range.startsWith("bytes=") || dash < 0 || spec.contains(','))
        return;
    bool firstOk = true;
    bool lastOk = true;
    qint64 first = dash > 0 ? spec.left(dash).toLongLong(&firstOk) : 0;
    qint64 last = dash + 1 < spec.size() ? spec.mid(dash + 1).toLongLong(&lastOk) : size - 1;
    if (!firstOk || !lastOk || spec == "-" || last < -1 || (dash > 0 && dash + 1 < spec.size() && last < first))
        return;
    if (dash == 0) { // the last bytes
        first = std::max<qint64>(0, size - last);
        last = size - 1;
    }
    last = std::min(last, size - 1);
    if (first > last) {
        setJsonError(response, 416, "The range lies beyond the end of the file.");
        response.setHeader("Content-Range", "bytes */" + QByteArray::number(size));
        return;
    }
    response.status = 206;
    response.fileOffset = first;
    response.fileLength = last - first + 1;
    response.setHeader("Content-Range", "bytes " + QByteArray::number(first) + '-' + QByteArray::number(last) + '/' +
                                            QByteArray::number(size));
}

} // namespace localcloud
