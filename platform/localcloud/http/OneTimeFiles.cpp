#include <QFileInfo>
#include <QUrl>

#include <localcloud/http/OneTimeFiles.h>
#include <localcloud/http/Replies.h>
#include <localcloud/Secrets.h>

namespace localcloud {

namespace {

constexpr int kMaxFiles = 1000;

} // namespace

void OneTimeFiles::redirect(const HttpRequest &request, const QString &host, const QString &file,
                            HttpResponse &response)
{
    if (m_files.size() >= kMaxFiles)
        m_files.clear();
    const QString key = randomKey();
    m_files.insert(key, file);
    response.set(302, "text/plain", "The file is at another address.\n");
    // The name at the end only tells people and rules what it is.
    response.setHeader("Location", (request.tls ? "https://" : "http://") + host.toLatin1() + m_prefix +
                                       key.toLatin1() + '/' + QUrl::toPercentEncoding(QFileInfo(file).fileName()));
}

void OneTimeFiles::serve(const HttpRequest &request, HttpResponse &response)
{
    const QString path = m_files.take(QString::fromLatin1(request.path.left(request.path.indexOf('/'))));
    const QFileInfo info(path);
    if (path.isEmpty())
        setJsonError(response, 403, "This address has been used or was never given out.");
    else if (!info.isFile())
        setJsonError(response, 404, "The file is gone.");
    else
        setFile(response, path, info.size(), request.header("Range"));
}

} // namespace localcloud
