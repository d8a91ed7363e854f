// http/ThumbnailTest.h
//
// What the tests of thumbnails share: a service with certificates and names of its own, and a loader.

#pragma once

#include "http/ThumbnailLoader.h"
#include "localcloud/LocalCloud.h"
#include "support/Table.h"

#include <QtNetwork>

#include <memory>

using localcloud::HttpRequest;
using localcloud::HttpResponse;

Q_DECLARE_METATYPE(HttpResponse)

inline const QString kHost = QStringLiteral("gallery.example");

/// Serves pictures under the names that the tests use.
class PictureService : public localcloud::CloudService
{
public:
    PictureService()
    {
        const auto answer = [this](HttpRequest &request, HttpResponse &response) {
            response = answers.value(request.path, answers.value("*"));
        };
        localcloud::Route route;
        route.hosts = QStringList{kHost, "cdn." + kHost, "elsewhere.example", "othergallery.example"};
        route.match = localcloud::Route::Match::Prefix;
        route.methods = {"GET"};
        route.transport = localcloud::Route::Transport::Any;
        route.handler = answer;
        addRoute(route);
    }

    QHash<QByteArray, HttpResponse> answers; ///< by path; "*" answers all others
};

inline HttpResponse reply(const QByteArray &body, const QByteArray &type = "image/png")
{
    HttpResponse response;
    response.set(200, type, body);
    return response;
}

inline HttpResponse redirect(const QByteArray &target, int status = 302)
{
    HttpResponse response;
    response.set(status, "text/plain", "moved");
    response.setHeader("Location", target);
    return response;
}

inline HttpResponse hanging()
{
    HttpResponse response;
    response.hang = true;
    return response;
}

inline QByteArray encoded(const QImage &image, const char *format)
{
    QBuffer buffer;
    image.save(&buffer, format);
    return buffer.data();
}

inline QByteArray picture(int width, int height, const char *format = "png")
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::red);
    return encoded(image, format);
}

inline ThumbnailSource source(const QString &address)
{
    return {QUrl(address), kHost};
}

/// The addresses \p path + 0, 1 and so on.
inline std::vector<ThumbnailSource> sources(const QString &path, int count)
{
    std::vector<ThumbnailSource> all;
    for (int at = 0; at < count; ++at)
        all.push_back(source(path + QString::number(at)));
    return all;
}

/// Each test starts with a loader whose requests do not time out, and a service that answers with a small picture.
class ThumbnailTest : public QObject
{
    Q_OBJECT

protected:
    static void trust(const QList<QSslCertificate> &authorities)
    {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates(authorities);
        QSslConfiguration::setDefaultConfiguration(tls);
    }

    void useLoader(int timeoutMs)
    {
        m_loader = std::make_unique<ThumbnailLoader>(timeoutMs);
        m_loaded.clear();
        connect(m_loader.get(), &ThumbnailLoader::loaded, this,
                [this](const QUrl &address) { m_loaded << address.path(); });
    }

    bool waitForLoaded(int count)
    {
        return QTest::qWaitFor([&] { return m_loaded.size() >= count; }, 30000);
    }
    bool waitForRequests(int count)
    {
        return QTest::qWaitFor([&] { return requests().size() >= count; }, 30000);
    }

    /// The paths of the requests, in the order of their arrival.
    QStringList requests() const
    {
        QStringList paths;
        for (const RequestRecord &record : m_cloud.requests())
            paths << QUrl(record.target).path();
        return paths;
    }

    int openConnections() const { return m_cloud.findChildren<localcloud::HttpConnection *>().size(); }

    LocalCloud m_cloud;
    QHash<QByteArray, HttpResponse> *m_answers = nullptr;
    std::unique_ptr<ThumbnailLoader> m_loader;
    QStringList m_loaded; ///< paths, in the order of the signals

private slots:
    void initTestCase()
    {
        auto service = std::make_unique<PictureService>();
        m_answers = &service->answers;
        m_cloud.addService(std::move(service));
        QVERIFY(m_cloud.start());
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", m_cloud.port()));
    }

    void init()
    {
        m_loader.reset();
        QVERIFY(QTest::qWaitFor([&] { return openConnections() == 0; }, 30000));
        trust({m_cloud.caCertificate()});
        m_answers->clear();
        m_answers->insert("*", reply(picture(2, 2)));
        m_cloud.clearRequests();
        useLoader(60000);
    }
};
