// localcloud/LocalCloud.h
//
// The cloud services of the demo and the tests in one object: an HTTP proxy on 127.0.0.1 that answers for the services'
// real host names from a folder of files. It lives in the thread that made it, beside its clients; nothing here spins
// the event loop, so it works while they do.

#pragma once

#include <QObject>
#include <QTemporaryDir>
#include <QUrl>
#include <QVector>

#include <localcloud/CloudService.h>
#include <localcloud/dropbox/DropboxService.h>
#include <localcloud/http/HttpConnection.h>
#include <localcloud/http/RequestLog.h>
#include <localcloud/http/Rules.h>
#include <localcloud/plyx/PlyxService.h>
#include <localcloud/Seeder.h>
#include <localcloud/zephal/ZephalService.h>
#include <memory>
#include <vector>

class QTcpServer;

struct LocalCloudOptions
{
    quint16 port = 0; ///< 0 takes a free one
    QString dataDir;  ///< kept; empty uses a temporary folder that goes with the object
    QString logFile;  ///< empty for none
    localcloud::SeedAmount seed = localcloud::SeedAmount::Nothing;
    bool ownAuthority = false; ///< keep the certificate authority in dataDir instead of sharing one per process
    bool keepRequests = true;  ///< collect requests()
    int maxConnections = 1000;
    localcloud::DropboxOptions dropbox;
    localcloud::PlyxOptions plyx;
    localcloud::ZephalOptions zephal;
    localcloud::ConnectionLimits limits;
};

class LocalCloud : public QObject, private localcloud::ConnectionHost
{
    Q_OBJECT
public:
    explicit LocalCloud(const LocalCloudOptions &options = {}, QObject *parent = nullptr);
    ~LocalCloud() override; // closes every connection

    /// Makes the folders, seeds, and listens. False with a reason; may be called again then.
    bool start(QString *error = nullptr);

    quint16 port() const;
    /// "http://127.0.0.1:PORT", to be used as the proxy for http and https.
    QUrl proxyUrl() const;
    /// The certificate authority to trust, a PEM file; valid after start().
    QString caFile() const;
    QSslCertificate caCertificate() const;
    /// The folder that the Dropbox service shows, absolute and without a slash at its end.
    QString dropboxDir() const;
    /// The folder of the Plyx catalogue, absolute and without a slash at its end.
    QString plyxDir() const;
    /// The folder that the Zephal service shows, absolute and without a slash at its end.
    QString zephalDir() const;

    /// Adds a rule: see localcloud::Rules::add. \p times requests, 0 for all.
    bool addRule(const QString &host, const QString &pathGlob, const QString &action, int times = 0);
    /// The same from "HOST PATH-GLOB ACTION".
    bool addRule(const QString &line);
    void clearRules();

    /// What was served so far, oldest first. A CONNECT is no request; those inside its tunnel are.
    const QVector<RequestRecord> &requests() const { return m_requests; }
    void clearRequests() { m_requests.clear(); }

    /// A Dropbox token that is valid at once, for tests that need no sign-in page.
    QString issueDropboxToken();
    /// A one-time code as the Allow button sends it.
    QString issueDropboxCode(const QString &clientId, const QString &redirectUri);
    /// Makes every Dropbox token invalid.
    void revokeDropboxTokens();

    /// A Plyx session that is valid at once.
    localcloud::PlyxSession issuePlyxSession();
    /// Ends every Plyx session and forgets the browsers that stay signed in.
    void revokePlyxSessions();
    /// How many Plyx sessions there are.
    int plyxSessionCount() const;

    /// A Zephal token that is valid at once.
    QString issueZephalToken();
    /// Makes every Zephal token invalid. The account's password stays good.
    void revokeZephalTokens();
    /// How many Zephal tokens there are.
    int zephalTokenCount() const;

    /// Adds another service, before start() or after.
    void addService(std::unique_ptr<localcloud::CloudService> service);

signals:
    /// After the answer has been decided and before its first byte is written. Do not delete the cloud in a slot.
    void requestServed(const RequestRecord &record);

private:
    std::optional<localcloud::ServerIdentity> identityFor(const QString &host) override;
    void serve(localcloud::HttpRequest &request, localcloud::HttpResponse &response, bool direct) override;
    QString spoolFolder() const override;

    bool prepareFolders(QString *error);
    bool prepareDropbox(QString *error);
    bool preparePlyx(QString *error);
    bool prepareZephal(QString *error);
    QString stateFile(const char *name) const;
    bool openAuthority(QString *error);
    localcloud::CloudService *serviceFor(const localcloud::HttpRequest &request, bool direct) const;
    void accept(qintptr descriptor);

    LocalCloudOptions m_options;
    std::unique_ptr<QTemporaryDir> m_temporary;
    QString m_dataDir;
    std::shared_ptr<localcloud::CertificateAuthority> m_authority;
    std::vector<std::unique_ptr<localcloud::CloudService>> m_services;
    localcloud::DropboxService *m_dropbox = nullptr; // one of m_services
    localcloud::PlyxService *m_plyx = nullptr;       // likewise
    localcloud::ZephalService *m_zephal = nullptr;   // likewise
    localcloud::Rules m_rules;
    localcloud::RequestLog m_log;
    QVector<RequestRecord> m_requests;
    std::unique_ptr<QTcpServer> m_server;
};
