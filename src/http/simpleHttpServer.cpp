#include "http/simpleHttpServer.h"

#include "http/RedirectRequest.h"
#include "TavrinStrings.h"

#include <openkelda/KGlobal.h>
#include <openkelda/KQtUtil.h>

#include <QDateTime>
#include <QPointer>
#include <QTcpSocket>
#include <QTextStream>

#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int largestRequestBytes = 64 * 1024;
constexpr char timeoutCode[] = "timeout";

int defaultRedirectMs = 300000;
int defaultConnectionMs = 30000;

void writeAnswer(QTcpSocket &client)
{
    QTextStream stream(&client);
    stream.setCodec("UTF-8");
    stream.setAutoDetectUnicode(true);
    stream << "HTTP/1.0 200 Ok\r\nContent-Type: text/html; charset=\"utf-8\"\r\n\r\n<h1>"
           << KQtUtil::toQString(TavrinStrings::getString(TavrinStrings::kCloudPortalLoginDone)) << "</h1>\n"
           << QDateTime::currentDateTime().toString() << "\n";
}

/// Ends the answer. A browser that is still sending its header would lose the answer to a plain close, so only the
/// sending side is shut; what still comes is read and dropped until the browser hangs up.
void endAnswer(QTcpSocket &client)
{
    client.flush();
    if (client.bytesToWrite() == 0)
        ::shutdown(static_cast<int>(client.socketDescriptor()), SHUT_WR);
    else
        client.close();
}

} // namespace

/// One connection, with what it has asked so far.
struct SimpleHttpServer::Browser : QTcpSocket
{
    using QTcpSocket::QTcpSocket;
    RedirectRequest request;
    QTimer limit; ///< how long it may stay unanswered
};

SimpleHttpServer::SimpleHttpServer(QObject *parent) : QTcpServer(parent), m_connectionMs(defaultConnectionMs)
{
    m_watchdog.setSingleShot(true);
    m_watchdog.setInterval(defaultRedirectMs);
    connect(&m_watchdog, &QTimer::timeout, this, &SimpleHttpServer::serverTimeout);
}

void SimpleHttpServer::setDefaultTimeouts(int redirectMs, int connectionMs)
{
    defaultRedirectMs = redirectMs;
    defaultConnectionMs = connectionMs;
}

void SimpleHttpServer::setCallback(void (*callback)(void *, KString &), void *userData)
{
    m_callback = callback;
    m_userData = userData;
}

bool SimpleHttpServer::StartListenPort(unsigned short port)
{
    m_codeReceived = false;
    m_watchdog.start();
    if (internalListen(port))
        return true;
    KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kHttpServerListenError) +
                          static_cast<unsigned>(port));
    return false;
}

bool SimpleHttpServer::tryListen(unsigned short port)
{
    if (!internalListen(port))
        return false;
    stop();
    return true;
}

void SimpleHttpServer::pause()
{
    m_paused = true;
}

void SimpleHttpServer::resume()
{
    m_paused = false;
}

bool SimpleHttpServer::internalListen(unsigned short port)
{
    return listen(QHostAddress::LocalHost, port);
}

void SimpleHttpServer::incomingConnection(qintptr socketDescriptor)
{
    if (m_paused) {
        ::close(static_cast<int>(socketDescriptor));
        return;
    }
    auto *client = new Browser(this);
    connect(client, &QTcpSocket::readyRead, this, &SimpleHttpServer::readClient);
    connect(client, &QTcpSocket::disconnected, this, &SimpleHttpServer::discardClient);
    client->setReadBufferSize(largestRequestBytes);
    if (!client->setSocketDescriptor(socketDescriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite)) {
        client->deleteLater();
        return;
    }
    client->limit.setSingleShot(true);
    connect(&client->limit, &QTimer::timeout, client, &QTcpSocket::abort);
    client->limit.start(m_connectionMs);
}

void SimpleHttpServer::serverTimeout()
{
    stop();
    if (m_codeReceived || !m_callback)
        return;
    KString code(timeoutCode);
    m_callback(m_userData, code);
}

void SimpleHttpServer::readClient()
{
    auto *client = dynamic_cast<Browser *>(sender());
    if (!client)
        return;
    const QByteArray bytes = client->readAll();
    if (client->request.state() != RedirectRequest::State::Reading)
        return;
    if (client->request.read(bytes) == RedirectRequest::State::Refused) {
        client->abort();
        return;
    }
    const QString code = client->request.code();
    if (!code.isEmpty() && !m_codeReceived)
        acceptCode(client, KQtUtil::toKString(code));
}

void SimpleHttpServer::discardClient()
{
    if (QObject *client = sender())
        client->deleteLater();
}

void SimpleHttpServer::stop()
{
    if (!m_code.isEmpty()) {
        m_code = KString();
        m_answered.clear();
    }
    pause();
    endWait();
}

/// Closes the port and every connection but the one whose code the call-back receives.
void SimpleHttpServer::endWait()
{
    m_watchdog.stop();
    disconnect();
    close();
    for (auto *client : findChildren<QTcpSocket *>()) {
        if (client != m_answered)
            client->abort();
    }
}

/// Calls back from the event loop: the call-back may delete this server, and with it the socket whose signal brought
/// the code.
void SimpleHttpServer::acceptCode(Browser *client, const KString &code)
{
    m_codeReceived = true;
    m_code = code;
    m_answered = client;
    client->limit.stop();
    endWait();
    QTimer::singleShot(0, this, &SimpleHttpServer::handOver);
}

void SimpleHttpServer::handOver()
{
    if (m_code.isEmpty())
        return;
    KString code = m_code;
    m_code = KString();
    const QPointer<Browser> browser = m_answered;
    if (m_callback)
        m_callback(m_userData, code);
    if (browser && browser->state() == QAbstractSocket::ConnectedState) {
        writeAnswer(*browser);
        endAnswer(*browser);
        browser->limit.start();
    }
}
