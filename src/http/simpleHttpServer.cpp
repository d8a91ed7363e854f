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

constexpr int kMaxRequestBytes = 64 * 1024;
constexpr char kTimeoutCode[] = "timeout";

int defaultRedirectMs = 300000;
int defaultConnectionMs = 30000;

void writePage(QTcpSocket &browser)
{
    QTextStream stream(&browser);
    stream.setCodec("UTF-8");
    stream.setAutoDetectUnicode(true);
    stream << "HTTP/1.0 200 Ok\r\nContent-Type: text/html; charset=\"utf-8\"\r\n\r\n<h1>"
           << KQtUtil::toQString(TavrinStrings::getString(TavrinStrings::kCloudPortalLoginDone)) << "</h1>\n"
           << QDateTime::currentDateTime().toString() << "\n";
}

/// Ends the reply. Closes only the sending direction, because closing both loses the page if the browser is still
/// sending its header. Bytes that arrive later are ignored until the browser closes the connection.
void endReply(QTcpSocket &browser)
{
    browser.flush();
    if (browser.bytesToWrite() == 0)
        ::shutdown(static_cast<int>(browser.socketDescriptor()), SHUT_WR);
    else
        browser.close();
}

} // namespace

/// One connection and its request.
struct SimpleHttpServer::Browser : QTcpSocket
{
    using QTcpSocket::QTcpSocket;
    RedirectRequest request;
    QTimer limit; ///< aborts a connection without a reply
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
    client->setReadBufferSize(kMaxRequestBytes);
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
    KString code(kTimeoutCode);
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
        m_browser.clear();
    }
    pause();
    endWait();
}

/// Closes the port and all connections except the one that sent the code.
void SimpleHttpServer::endWait()
{
    m_watchdog.stop();
    disconnect();
    close();
    for (auto *client : findChildren<QTcpSocket *>()) {
        if (client != m_browser)
            client->abort();
    }
}

/// Schedules the callback, because it may delete this server and with it the socket whose signal is on the stack.
void SimpleHttpServer::acceptCode(Browser *browser, const KString &code)
{
    m_codeReceived = true;
    m_code = code;
    m_browser = browser;
    browser->limit.stop();
    endWait();
    QTimer::singleShot(0, this, &SimpleHttpServer::passCode);
}

void SimpleHttpServer::passCode()
{
    if (m_code.isEmpty())
        return;
    KString code = m_code;
    m_code = KString();
    const QPointer<Browser> browser = m_browser;
    if (m_callback)
        m_callback(m_userData, code);
    if (browser && browser->state() == QAbstractSocket::ConnectedState) {
        writePage(*browser);
        endReply(*browser);
        browser->limit.start();
    }
}

#include "moc_simpleHttpServer.cpp"
