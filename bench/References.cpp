#include "References.h"

#include "Measure.h"
#include "tour/CloudProcess.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRandomGenerator>
#include <QSslConfiguration>

#include <cstdio>
#include <functional>
#include <memory>

namespace {

constexpr int kProgramTimeoutMs = 10 * 60 * 1000;

using Send = std::function<QNetworkReply *(QNetworkAccessManager &, QNetworkRequest &, QFile &)>;

/// The time from opening \p file until the reply to the request of \p send has finished and the file is closed.
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
    const double seconds = milliseconds(clock) / 1000;
    const bool succeeded = isOpen && reply->error() == QNetworkReply::NoError && file.error() == QFile::NoError;
    return succeeded ? seconds : kFailed;
}

} // namespace

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    DependentProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(kProgramTimeoutMs);
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return process.readAllStandardOutput();
    std::fprintf(stderr, "%s failed: %s\n%s%s", qPrintable(program), qPrintable(process.errorString()),
                 process.readAllStandardOutput().constData(), process.readAllStandardError().constData());
    process.kill();
    process.waitForFinished(5000);
    return QByteArray();
}

double curlSeconds(const QStringList &arguments)
{
    bool isNumber = false;
    const QStringList all =
        QStringList{QStringLiteral("-sSf"), QStringLiteral("-w"), QStringLiteral("%{time_total}")} + arguments;
    const double seconds = outputOf(QStringLiteral("curl"), all).toDouble(&isNumber);
    return isNumber ? seconds : kFailed;
}

std::vector<double> numbersOfSelf(const QStringList &arguments)
{
    std::vector<double> numbers;
    for (const QByteArray &word :
         outputOf(QCoreApplication::applicationFilePath(), arguments).simplified().split(' ')) {
        bool isNumber = false;
        const double number = word.toDouble(&isNumber);
        if (!isNumber)
            return {};
        numbers.push_back(number);
    }
    return numbers;
}

double qtDownloadSeconds(const QUrl &source, const QString &target)
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

double qtUploadSeconds(const QString &source, const QUrl &target)
{
    QFile in(source);
    const auto post = [](QNetworkAccessManager &manager, QNetworkRequest &request, QFile &file) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/octet-stream");
        return manager.post(request, &file);
    };
    return secondsOf(target, in, QIODevice::ReadOnly, post);
}

bool writeNoise(const QString &file, qint64 size)
{
    QFile out(file);
    QVector<quint32> block(kMebibyte / 4);
    QRandomGenerator generator(1);
    generator.fillRange(block.data(), block.size());
    if (!out.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    for (qint64 written = 0; written < size; written += kMebibyte) {
        block[static_cast<int>(written / kMebibyte) % block.size()] = static_cast<quint32>(written);
        if (out.write(reinterpret_cast<const char *>(block.constData()), kMebibyte) != kMebibyte)
            return false;
    }
    return true;
}
