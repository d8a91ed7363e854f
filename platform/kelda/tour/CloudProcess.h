// tour/CloudProcess.h
//
// Runs the local cloud as a separate process and reads its log of requests.

#pragma once

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
    struct Request
    {
        QString host;
        QString method;
        QString target;
        bool tls = false;
        int status = 0;
    };

    CloudProcess() = default;
    ~CloudProcess();

    /// Starts the process on a free port, blocks until it is ready (60 s at most), and calls use(). Data, certificate
    /// and log are in \p folder, which is created if it is missing. A rule is "HOST PATH-GLOB ACTION". Returns false on
    /// failure; see error().
    bool start(const QString &folder, const QStringList &rules = {});
    /// Makes it the proxy of this process and its children.
    void use() const;
    QString error() const { return m_error; }

    QString caFile() const { return m_folder + QStringLiteral("/ca.pem"); }
    // The folders with the data of the services.
    QString dropboxFolder() const { return dataFolder() + QStringLiteral("/dropbox"); }
    QString plyxFolder() const { return dataFolder() + QStringLiteral("/plyx"); }
    QString zephalFolder() const { return dataFolder() + QStringLiteral("/zephal"); }
    /// The requests so far whose target begins with \p targetStart.
    std::vector<Request> requests(const QString &targetStart = QString()) const;

private:
    QString dataFolder() const { return m_folder + QStringLiteral("/data"); }

    DependentProcess m_process;
    QString m_folder;
    QString m_log;
    QUrl m_address;
    QString m_error;
};
