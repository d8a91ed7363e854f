// tour/CloudProcess.h
//
// The local cloud as a process of its own, the way people run it, and what its log says about the requests it served.

#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <vector>

/// Ends when this process does, however that happens.
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
        QString folder;    ///< for the data, the certificate and the log; made when missing
        QStringList rules; ///< "HOST PATH-GLOB ACTION", for the whole life of the process
        quint16 port = 0;  ///< 0 takes any
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

    /// Starts the process, waits until it serves (a minute at most: it may have to make its models first), and makes it
    /// the proxy of this process and its children. False on failure, see error().
    bool start(const Setup &setup);
    /// Makes it the proxy of this process and its children again, after another one was started.
    void use() const;
    /// Ends it at once, as a crash would.
    void kill();
    QString error() const { return m_error; }

    QUrl address() const { return m_address; }
    QString caFile() const { return m_setup.folder + QStringLiteral("/ca.pem"); }
    /// What the Dropbox service serves.
    QString dropboxFolder() const { return dataFolder() + QStringLiteral("/dropbox"); }
    /// The catalogue and the files of the Plyx service.
    QString plyxFolder() const { return dataFolder() + QStringLiteral("/plyx"); }
    /// What the Zephal service stores.
    QString zephalFolder() const { return dataFolder() + QStringLiteral("/zephal"); }
    /// All requests so far, or those whose target begins with \p targetStart.
    std::vector<Request> requests(const QString &targetStart = QString()) const;

private:
    QString dataFolder() const { return m_setup.folder + QStringLiteral("/data"); }

    DependentProcess m_process;
    Setup m_setup;
    QString m_log;
    QUrl m_address;
    QString m_error;
};
