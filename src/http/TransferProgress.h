// http/TransferProgress.h
//
// The list of the running transfers of this process, of every portal and protocol. The pages show them.

#pragma once

#include <QObject>

#include <vector>

class Transfer;

class TransferProgress : public QObject
{
    Q_OBJECT
public:
    /// Returns the only instance, which the first call creates.
    static TransferProgress &instance();

    /// Returns the running transfers, the outermost first.
    const std::vector<Transfer *> &running() const { return m_running; }

signals:
    /// Emitted when a transfer starts or ends. Displays poll the numbers of a running one.
    void changed();

private:
    friend class Transfer;
    void begin(Transfer *transfer);
    void end(Transfer *transfer);

    std::vector<Transfer *> m_running;
};
