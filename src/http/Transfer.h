// http/Transfer.h
//
// The progress of one request, download or upload of any protocol. Create it on the stack of the function that
// transfers the bytes. TransferProgress lists the running transfers.

#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <deque>

class Transfer : public QObject
{
    Q_OBJECT
public:
    enum class Kind {
        /// A request that moves no file, such as a listing or a sign-in.
        Waiting,
        Download,
        Upload
    };

    /// Starts the transfer. \p name is the file's name for the user.
    explicit Transfer(Kind kind, const QString &name = QString());
    /// Ends the transfer.
    ~Transfer() override;

    Kind kind() const { return m_kind; }
    const QString &name() const { return m_name; }
    qint64 ageMs() const { return m_clock.elapsed(); }
    qint64 bytes() const { return m_bytes; }
    /// Returns -1 while the total is unknown.
    qint64 totalBytes() const { return m_totalBytes; }
    /// Returns the rate of about the last second, or -1 in the first 100 ms.
    double bytesPerSecond() const;

public slots:
    /// Stores the number of transferred bytes and the total, which is unknown if it is 0 or less. Emits no signal;
    /// displays poll the values.
    void report(qint64 bytes, qint64 totalBytes);

private:
    struct Sample
    {
        qint64 ms;
        qint64 bytes;
    };

    const Kind m_kind;
    const QString m_name;
    QElapsedTimer m_clock;
    qint64 m_bytes = 0;
    qint64 m_totalBytes = -1;
    std::deque<Sample> m_samples; ///< the newest one that is at least a second old, and all newer ones
};
