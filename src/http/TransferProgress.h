// http/TransferProgress.h
//
// The transfers that run in this process, whichever portal and protocol they belong to, for the pages that show them.

#pragma once

#include <QObject>

#include <vector>

class Transfer;

class TransferProgress : public QObject
{
    Q_OBJECT
public:
    /// The only one, made by the first call.
    static TransferProgress &instance();

    /// From the outermost to the innermost.
    const std::vector<Transfer *> &running() const { return m_running; }

signals:
    /// A transfer has begun or ended. What runs tells its numbers when asked, so a slow display costs nothing.
    void changed();

private:
    friend class Transfer;
    void begin(Transfer *transfer);
    void end(Transfer *transfer);

    std::vector<Transfer *> m_running;
};
