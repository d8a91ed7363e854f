// localcloud/LocalCloud.h
//
// The services of the demo and the tests in one object: an HTTP proxy on 127.0.0.1 that serves the services' real host
// names from a folder of files. It may run in the thread of its clients, because it does not spin the event loop.

#pragma once

#include "localcloud/CloudService.h"
#include "localcloud/http/HttpConnection.h"
#include "localcloud/http/RequestLog.h"
#include "localcloud/http/Rules.h"
#include "localcloud/plyx/PlyxSignIn.h"

#include <QObject>
#include <QTemporaryDir>
#include <QUrl>
#include <QVector>

#include <memory>
#include <vector>

class QTcpServer;

struct LocalCloudOptions
{
    quint16 port = 0;          ///< 0 chooses a free port
    QString dataDir;           ///< empty for a temporary folder, which the destructor deletes
    QString logFile;           ///< empty: no log
    bool demoData = false;     ///< fill the folders of the services once
    bool ownAuthority = false; ///< keep the certificate authority in dataDir instead of sharing one per process
    bool keepRequests = true;  ///< collect requests()
};

class LocalCloud : public QObject, private localcloud::RequestHandler
{
    Q_OBJECT
public:
    explicit LocalCloud(const LocalCloudOptions &options = {}, QObject *parent = nullptr);
    ~LocalCloud() override; // closes every connection

    /// Creates the folders, fills them and listens. Returns false and sets \p error on failure. Called once.
    bool start(QString *error = nullptr);

    quint16 port() const;
    /// Returns "http://127.0.0.1:PORT", the proxy for http and https.
    QUrl proxyUrl() const;
    /// Returns the PEM file of the certificate authority to trust; valid after start().
    QString caFile() const { return m_authority->caFile(); }
    QSslCertificate caCertificate() const { return m_authority->certificate(); }

    /// Return the folder that a service serves: absolute, without a slash at its end; valid after start().
    QString dropboxDir() const { return serviceFolder("dropbox"); }
    QString plyxDir() const { return serviceFolder("plyx"); }
    QString zephalDir() const { return serviceFolder("zephal"); }

    /// Adds a rule for \p times requests, 0 for all; see localcloud::Rules::add().
    bool addRule(const QString &host, const QString &pathGlob, const QString &action, int times = 0)
    {
        return m_rules.add(host, pathGlob, action, times);
    }
    /// Adds the rule "HOST PATH-GLOB ACTION".
    bool addRule(const QString &line) { return m_rules.add(line); }
    void clearRules() { m_rules.clear(); }

    /// Returns the requests served so far, oldest first, including those in tunnels. CONNECT is not recorded.
    const QVector<RequestRecord> &requests() const { return m_requests; }
    void clearRequests() { m_requests.clear(); }

    /// Return the results of a sign-in without its page, for tests; valid after start().
    QString issueDropboxToken();
    QString issueDropboxCode(const QString &clientId, const QString &redirectUri);
    localcloud::PlyxSession issuePlyxSession();
    QString issueZephalToken();
    /// Makes every Zephal token invalid. The account's password stays valid.
    void revokeZephalTokens();

    /// Adds a service to the registered ones. Called after start().
    void addService(std::unique_ptr<localcloud::CloudService> service);

signals:
    /// Emitted before the first byte of the response is written. Slots must not delete the local cloud.
    void requestServed(const RequestRecord &record);

private:
    std::optional<localcloud::ServerIdentity> identityFor(const QString &host) override;
    void serve(localcloud::HttpRequest &request, localcloud::HttpResponse &response) override;
    QString uploadFolder() const override;

    bool startServices(QString *error);
    bool openAuthority(QString *error);
    void accept(qintptr descriptor);
    QString serviceFolder(const QString &name) const { return m_dataDir + '/' + name; }
    QString stateFile(const QString &name) const;
    localcloud::CloudService *serviceFor(const QString &host) const;
    template <class Service>
    Service &service() const;

    LocalCloudOptions m_options;
    std::unique_ptr<QTemporaryDir> m_temporary;
    QString m_dataDir;
    std::shared_ptr<localcloud::CertificateAuthority> m_authority;
    std::vector<std::unique_ptr<localcloud::CloudService>> m_services;
    localcloud::Rules m_rules;
    localcloud::RequestLog m_log;
    QVector<RequestRecord> m_requests;
    std::unique_ptr<QTcpServer> m_server;
};
