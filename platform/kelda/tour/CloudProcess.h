// tour/CloudProcess.h
//
// Runs the local cloud as a separate process and reads its log of requests.

#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <vector>

/// A process that the system ends when this one ends, even after a crash.
class DependentProcess : public QProcess
{
protected:
    void setupChildProcess() override;
};

class CloudProcess
{
public:
    struct Setup
    {
        QString folder;    ///< for the data, the certificate and the log; created if it is missing
        QStringList rules; ///< "HOST PATH-GLOB ACTION"
        quint16 port = 0;  ///< 0: any free port
    };
    struct Request
    {
        QString host;
        QString method;
        QString target;
        QJsonObject headers;
        bool tls = false;
        int status = 0;
    };

    CloudProcess() = default;
    ~CloudProcess();

    /// Starts the process, blocks until it is ready (60 s at most), and calls use(). Returns false on failure; see
    /// error().
    bool start(const Setup &setup);
    /// Makes it the proxy of this process and its children.
    void use() const;
    /// Kills the process.
    void kill();
    QString error() const { return m_error; }

    QUrl address() const { return m_address; }
    QString caFile() const { return m_setup.folder + QStringLiteral("/ca.pem"); }
    // The folders with the data of the services.
    QString dropboxFolder() const { return dataFolder() + QStringLiteral("/dropbox"); }
    QString plyxFolder() const { return dataFolder() + QStringLiteral("/plyx"); }
    QString zephalFolder() const { return dataFolder() + QStringLiteral("/zephal"); }
    /// The requests so far whose target begins with \p targetStart.
    std::vector<Request> requests(const QString &targetStart = QString()) const;

private:
    QString dataFolder() const { return m_setup.folder + QStringLiteral("/data"); }

    DependentProcess m_process;
    Setup m_setup;
    QString m_log;
    QUrl m_address;
    QString m_error;
};
