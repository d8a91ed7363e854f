// http/Transfer.h
//
// One piece of work that the user waits for: a request, a download or an upload. It stands on the stack of whoever does
// the work, whatever the protocol, and says how far that has got. TransferProgress lists those that run.

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

    /// Starts. \p name is the name of the file that the user sees.
    explicit Transfer(Kind kind, const QString &name = QString());
    ~Transfer() override; // ends

    Kind kind() const { return m_kind; }
    const QString &name() const { return m_name; }
    qint64 ageMs() const { return m_clock.elapsed(); }
    qint64 bytes() const { return m_bytes; }
    /// -1 when nobody has said.
    qint64 totalBytes() const { return m_totalBytes; }
    /// The rate of the last second or so; negative until it can be told.
    double bytesPerSecond() const;

public slots:
    /// \p bytes of \p totalBytes have moved; a total that is not positive is not known. Cheap: it tells nobody, who
    /// shows the transfer asks for its numbers.
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
    std::deque<Sample> m_samples; ///< the last one that is a second old, and the newer ones
};
