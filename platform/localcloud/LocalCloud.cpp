#include "localcloud/LocalCloud.h"

#include "localcloud/DemoData.h"
#include "localcloud/dropbox/DropboxService.h"
#include "localcloud/plyx/PlyxService.h"
#include "localcloud/zephal/ZephalService.h"

#include <QDir>
#include <QHostAddress>
#include <QSslSocket>
#include <QTcpServer>

#include <functional>
#include <sys/socket.h>
#include <utility>

using namespace localcloud;

namespace {

constexpr int kPendingConnections = 1000;

template <class Service>
std::unique_ptr<CloudService> make(const ServiceStorage &storage)
{
    return std::make_unique<Service>(storage);
}

/// The services. Their folders in the data folder and their demo data have the same names.
const std::pair<QString, std::unique_ptr<CloudService> (*)(const ServiceStorage &)> kServices[] = {
    {"dropbox", make<DropboxService>},
    {"plyx", make<PlyxService>},
    {"zephal", make<ZephalService>},
};

/// Passes on descriptors instead of sockets, because a tunnel needs a QSslSocket.
class Listener : public QTcpServer
{
public:
    explicit Listener(std::function<void(qintptr)> accept) : m_accept(std::move(accept)) {}

protected:
    void incomingConnection(qintptr descriptor) override { m_accept(descriptor); }

private:
    std::function<void(qintptr)> m_accept;
};

} // namespace

LocalCloud::LocalCloud(const LocalCloudOptions &options, QObject *parent) : QObject(parent), m_options(options) {}

LocalCloud::~LocalCloud()
{
    // The connections refer to this object.
    qDeleteAll(findChildren<HttpConnection *>(QString(), Qt::FindDirectChildrenOnly));
}

bool LocalCloud::start(QString *error)
{
    QString ignored;
    QString &reason = error ? *error : ignored;
    if (m_options.dataDir.isEmpty())
        m_temporary = std::make_unique<QTemporaryDir>();
    m_dataDir = QDir(m_temporary ? m_temporary->path() : m_options.dataDir).absolutePath();
    if (!startServices(&reason) || !openAuthority(&reason))
        return false;
    if (!m_options.logFile.isEmpty() && !m_log.open(m_options.logFile, &reason))
        return false;
    m_server = std::make_unique<Listener>([this](qintptr descriptor) { accept(descriptor); });
    if (!m_server->listen(QHostAddress::LocalHost, m_options.port)) {
        reason = QStringLiteral("port %1: %2").arg(m_options.port).arg(m_server->errorString());
        return false;
    }
    // Qt's limit of 50 makes further clients of a burst wait a second for their next attempt.
    ::listen(static_cast<int>(m_server->socketDescriptor()), kPendingConnections);
    return true;
}

bool LocalCloud::startServices(QString *error)
{
    if (!QDir().mkpath(uploadFolder())) {
        *error = m_dataDir + QStringLiteral(": cannot create the data folder");
        return false;
    }
    QFile::setPermissions(m_dataDir + "/.localcloud", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const auto &[name, makeService] : kServices) {
        const ServiceStorage storage{serviceFolder(name), uploadFolder(), stateFile(name + "-tokens.json")};
        QDir().mkpath(storage.folder);
        if (m_options.demoData && !fillOnce(name, storage.folder, stateFile("seeded-" + name), error))
            return false;
        m_services.push_back(makeService(storage));
        if (!m_services.back()->open(error))
            return false;
    }
    return true;
}

bool LocalCloud::openAuthority(QString *error)
{
    if (!m_options.ownAuthority) {
        m_authority = CertificateAuthority::forProcess(error);
        return m_authority != nullptr;
    }
    m_authority = std::make_shared<CertificateAuthority>(stateFile("certificates"));
    return m_authority->open(error);
}

QString LocalCloud::stateFile(const QString &name) const
{
    return m_dataDir + "/.localcloud/" + name;
}

QString LocalCloud::uploadFolder() const
{
    return stateFile("uploads");
}

quint16 LocalCloud::port() const
{
    return m_server ? m_server->serverPort() : quint16(0);
}

QUrl LocalCloud::proxyUrl() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port()));
}

/// Returns the registered service of that type, which must exist.
template <class Service>
Service &LocalCloud::service() const
{
    for (const auto &entry : m_services) {
        if (auto *found = dynamic_cast<Service *>(entry.get()))
            return *found;
    }
    qFatal("the local cloud has not been started");
}

QString LocalCloud::issueDropboxToken()
{
    return service<DropboxService>().signIn().issueToken();
}

QString LocalCloud::issueDropboxCode(const QString &clientId, const QString &redirectUri)
{
    return service<DropboxService>().signIn().issueCode(clientId, redirectUri);
}

PlyxSession LocalCloud::issuePlyxSession()
{
    return service<PlyxService>().signIn().openSession();
}

QString LocalCloud::issueZephalToken()
{
    return service<ZephalService>().issueToken();
}

void LocalCloud::revokeZephalTokens()
{
    service<ZephalService>().revokeTokens();
}

void LocalCloud::addService(std::unique_ptr<CloudService> service)
{
    m_services.push_back(std::move(service));
}

void LocalCloud::accept(qintptr descriptor)
{
    auto socket = std::make_unique<QSslSocket>();
    if (socket->setSocketDescriptor(descriptor))
        new HttpConnection(socket.release(), *this, this);
}

CloudService *LocalCloud::serviceFor(const QString &host) const
{
    for (const auto &service : m_services) {
        if (service->hasHost(host))
            return service.get();
    }
    return nullptr;
}

std::optional<ServerIdentity> LocalCloud::identityFor(const QString &host)
{
    if (!serviceFor(host) && !m_rules.matchesHost(host))
        return {};
    QString error;
    auto identity = m_authority->identity(host, &error);
    if (!identity)
        qWarning("%s", qPrintable(error));
    return identity;
}

void LocalCloud::serve(HttpRequest &request, HttpResponse &response)
{
    RequestRecord record{request.host,    request.tls,         request.method,       request.target(),
                         request.headers, request.body.size(), request.body.bytes(), 0};
    if (!m_rules.apply(request, response)) {
        if (const CloudService *service = serviceFor(request.host))
            service->serve(request, response);
        else
            response.setJsonError(502, "Unknown host name.");
    }
    record.status = response.status;
    m_log.write(record);
    if (m_options.keepRequests)
        m_requests.append(record);
    emit requestServed(record);
}

#include "moc_LocalCloud.cpp"
