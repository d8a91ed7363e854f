#include "Toolkit.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslConfiguration>

#include <functional>
#include <limits>
#include <memory>

namespace {

using Send = std::function<QNetworkReply *(QNetworkAccessManager &, QNetworkRequest &, QFile &)>;

/// The time from opening \p file until the reply to what \p send sends has finished and the file is closed again.
double secondsOf(const QUrl &url, QFile &file, QIODevice::OpenMode mode, const Send &send)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    QNetworkAccessManager manager;
    QEventLoop loop;
    QElapsedTimer clock;
    clock.start();
    const bool isOpen = file.open(mode);
    const std::unique_ptr<QNetworkReply> reply(send(manager, request, file));
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    file.close();
    const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    const bool held = isOpen && reply->error() == QNetworkReply::NoError && file.error() == QFile::NoError;
    return held ? seconds : std::numeric_limits<double>::quiet_NaN();
}

} // namespace

double toolkitDownloadSeconds(const QUrl &source, const QString &target)
{
    QFile out(target);
    const auto receive = [](QNetworkAccessManager &manager, QNetworkRequest &request, QFile &file) {
        QSslConfiguration tls = request.sslConfiguration();
        tls.setPeerVerifyMode(QSslSocket::VerifyNone);
        request.setSslConfiguration(tls);
        QNetworkReply *const reply = manager.get(request);
        QObject::connect(reply, &QNetworkReply::readyRead, &file, [reply, &file] { file.write(reply->readAll()); });
        return reply;
    };
    return secondsOf(source, out, QIODevice::WriteOnly, receive);
}

double toolkitUploadSeconds(const QString &source, const QUrl &target)
{
    QFile in(source);
    const auto post = [](QNetworkAccessManager &manager, QNetworkRequest &request, QFile &file) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/octet-stream");
        return manager.post(request, &file);
    };
    return secondsOf(target, in, QIODevice::ReadOnly, post);
}
