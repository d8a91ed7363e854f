#include <QDir>
#include <QHostAddress>
#include <QSslSocket>
#include <QTcpServer>

#include <algorithm>
#include <functional>
#include <localcloud/dropbox/DropboxSeed.h>
#include <localcloud/http/Replies.h>
#include <localcloud/LocalCloud.h>
#include <localcloud/plyx/PlyxSeed.h>
#include <localcloud/zephal/ZephalSeed.h>
#include <sys/socket.h>

using namespace localcloud;

namespace {

/// Hands out descriptors, since the sockets made of them must be able to turn to TLS.
class Listener : public QTcpServer
{
public:
    explicit Listener(std::function<void(qintptr)> accept) : m_accept(std::move(accept)) {}

protected:
    void incomingConnection(qintptr descriptor) override { m_accept(descriptor); }

private:
    std::function<void(qintptr)> m_accept;
};

bool isThisMachine(const QString &host)
{
    return host.isEmpty() || host == QLatin1String("localhost") || host == QLatin1String("127.0.0.1") ||
           host == QLatin1String("::1");
}

} // namespace

LocalCloud::LocalCloud(const LocalCloudOptions &options, QObject *parent) : QObject(parent), m_options(options)
{
    m_requests.reserve(64);
}

LocalCloud::~LocalCloud()
{
    if (m_server)
        m_server->close();
    const auto connections = findChildren<HttpConnection *>(QString(), Qt::FindDirectChildrenOnly);
    qDeleteAll(connections); // they use this object as their host
}

bool LocalCloud::start(QString *error)
{
    if (!prepareFolders(error) || !openAuthority(error))
        return false;
    if (!m_options.logFile.isEmpty() && !m_log.open(m_options.logFile, error))
        return false;
    m_server = std::make_unique<Listener>([this](qintptr descriptor) { accept(descriptor); });
    if (m_server->listen(QHostAddress::LocalHost, m_options.port)) {
        // Qt's queue of 50 makes the rest of a burst wait a second for its next try.
        ::listen(static_cast<int>(m_server->socketDescriptor()), m_options.maxConnections);
        return true;
    }
    if (error)
        *error = QStringLiteral("port %1: %2").arg(m_options.port).arg(m_server->errorString());
    m_server.reset();
    return false;
}

bool LocalCloud::prepareFolders(QString *error)
{
    if (m_options.dataDir.isEmpty() && !m_temporary)
        m_temporary = std::make_unique<QTemporaryDir>();
    m_dataDir = QDir(m_temporary ? m_temporary->path() : m_options.dataDir).absolutePath();
    if (!QDir().mkpath(spoolFolder()) || !QDir().mkpath(dropboxDir())) {
        if (error)
            *error = m_dataDir + QStringLiteral(": the data folder cannot be made");
        return false;
    }
    QFile::setPermissions(m_dataDir + "/.localcloud", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return prepareDropbox(error) && preparePlyx(error) && prepareZephal(error);
}

bool LocalCloud::prepareDropbox(QString *error)
{
    if (!seedDropbox(dropboxDir(), stateFile("seeded-dropbox"), m_options.seed, error))
        return false;
    if (!m_dropbox) {
        auto service =
            std::make_unique<DropboxService>(m_options.dropbox, dropboxDir(), stateFile("dropbox-tokens.json"));
        m_dropbox = service.get();
        addService(std::move(service));
    }
    return true;
}

bool LocalCloud::preparePlyx(QString *error)
{
    if (!seedPlyx(plyxDir(), stateFile("seeded-plyx"), m_options.seed, error))
        return false;
    if (!m_plyx) {
        auto service = std::make_unique<PlyxService>(m_options.plyx, plyxDir(), stateFile("plyx-sessions.json"));
        m_plyx = service.get();
        addService(std::move(service));
    }
    return m_plyx->open(error);
}

bool LocalCloud::prepareZephal(QString *error)
{
    const QString largeModel = dropboxDir() + "/Large terrain.obj";
    if (!seedZephal(zephalDir(), stateFile("seeded-zephal"), m_options.seed, largeModel, error))
        return false;
    if (!m_zephal) {
        const ZephalPlaces places{zephalDir(), spoolFolder(), stateFile("zephal-tokens.json")};
        auto service = std::make_unique<ZephalService>(m_options.zephal, places);
        m_zephal = service.get();
        addService(std::move(service));
    }
    return true;
}

QString LocalCloud::stateFile(const char *name) const
{
    return m_dataDir + "/.localcloud/" + name;
}

bool LocalCloud::openAuthority(QString *error)
{
    if (!m_options.ownAuthority) {
        m_authority = CertificateAuthority::forProcess(error);
        return m_authority != nullptr;
    }
    m_authority = std::make_shared<CertificateAuthority>(m_dataDir + "/.localcloud/certificates");
    return m_authority->open(error);
}

quint16 LocalCloud::port() const
{
    return m_server ? m_server->serverPort() : quint16(0);
}

QUrl LocalCloud::proxyUrl() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port()));
}

QString LocalCloud::caFile() const
{
    return m_authority ? m_authority->caFile() : QString();
}

QSslCertificate LocalCloud::caCertificate() const
{
    return m_authority ? m_authority->certificate() : QSslCertificate();
}

QString LocalCloud::dropboxDir() const
{
    return m_dataDir + "/dropbox";
}

QString LocalCloud::plyxDir() const
{
    return m_dataDir + "/plyx";
}

QString LocalCloud::zephalDir() const
{
    return m_dataDir + "/zephal";
}

QString LocalCloud::spoolFolder() const
{
    return m_dataDir + "/.localcloud/uploads";
}

bool LocalCloud::addRule(const QString &host, const QString &pathGlob, const QString &action, int times)
{
    return m_rules.add(host, pathGlob, action, times);
}

bool LocalCloud::addRule(const QString &line)
{
    return m_rules.add(line);
}

void LocalCloud::clearRules()
{
    m_rules.clear();
}

QString LocalCloud::issueDropboxToken()
{
    return m_dropbox ? m_dropbox->tokens().issueToken() : QString();
}

QString LocalCloud::issueDropboxCode(const QString &clientId, const QString &redirectUri)
{
    return m_dropbox ? m_dropbox->tokens().issueCode(clientId, redirectUri) : QString();
}

void LocalCloud::revokeDropboxTokens()
{
    if (m_dropbox)
        m_dropbox->tokens().revokeAll();
}

PlyxSession LocalCloud::issuePlyxSession()
{
    return m_plyx ? m_plyx->sessions().open() : PlyxSession();
}

void LocalCloud::revokePlyxSessions()
{
    if (m_plyx)
        m_plyx->sessions().revokeAll();
}

int LocalCloud::plyxSessionCount() const
{
    return m_plyx ? m_plyx->sessions().count() : 0;
}

QString LocalCloud::issueZephalToken()
{
    return m_zephal ? m_zephal->signIn().issueToken() : QString();
}

void LocalCloud::revokeZephalTokens()
{
    if (m_zephal)
        m_zephal->tokens().revokeAll();
}

int LocalCloud::zephalTokenCount() const
{
    return m_zephal ? m_zephal->tokens().count() : 0;
}

void LocalCloud::addService(std::unique_ptr<CloudService> service)
{
    m_services.push_back(std::move(service));
}

void LocalCloud::accept(qintptr descriptor)
{
    auto socket = std::make_unique<QSslSocket>();
    if (!socket->setSocketDescriptor(descriptor))
        return;
    if (findChildren<HttpConnection *>(QString(), Qt::FindDirectChildrenOnly).size() >= m_options.maxConnections)
        return;
    new HttpConnection(socket.release(), *this, m_options.limits, this);
}

std::optional<ServerIdentity> LocalCloud::identityFor(const QString &host)
{
    const bool known = m_rules.mentions(host) || std::any_of(m_services.begin(), m_services.end(),
                                                             [&](const auto &s) { return s->handles(host); });
    if (!known)
        return {};
    QString error;
    auto identity = m_authority->identity(host, &error);
    if (!identity)
        qWarning("%s", qPrintable(error));
    return identity;
}

CloudService *LocalCloud::serviceFor(const HttpRequest &request, bool direct) const
{
    for (const auto &service : m_services) {
        if (service->handles(request.host))
            return service.get();
    }
    if (!direct || !isThisMachine(request.host))
        return nullptr;
    for (const auto &service : m_services) {
        if (service->handlesPath(request.path))
            return service.get();
    }
    return nullptr;
}

void LocalCloud::serve(HttpRequest &request, HttpResponse &response, bool direct)
{
    RequestRecord record;
    record.host = request.host;
    record.tls = request.tls;
    record.method = request.method;
    record.target = request.target();
    record.headers = request.headers;
    record.bodyBytes = request.body.size();
    record.body = request.body.bytes();
    if (!m_rules.apply(request, response)) {
        if (CloudService *service = serviceFor(request, direct))
            service->handle(request, response);
        else
            setJsonError(response, direct ? 404 : 502, "No service answers for this name.");
    }
    record.status = response.status;
    m_log.write(record);
    if (m_options.keepRequests)
        m_requests.append(record);
    emit requestServed(record);
}
