// http/UploadBody.h
//
// The content of a file on its way into a POST. Behind a proxy, QtNetwork keeps what it was given and could not send
// yet; so what it has taken is let go of here, and both together never hold the file more than once.

#pragma once

#include "http/PageBlock.h"

#include <QIODevice>
#include <QString>

#include <vector>

class UploadBody : public QIODevice
{
public:
    explicit UploadBody(const QString &file) : m_file(file) {}

    /// Reads the whole file, at most \p largest bytes of it, and opens the device. False, with the device closed, when
    /// the file cannot be read or does not fit into memory; isTooLarge() then tells the third reason.
    bool load(qint64 largest);
    bool isTooLarge() const { return m_isTooLarge; }

    bool isSequential() const override { return false; }
    qint64 size() const override { return m_size; }
    /// Going back to what was let go of reads the file again. False when it is not as long as it was.
    bool seek(qint64 position) override;

protected:
    qint64 readData(char *data, qint64 size) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    bool readFile();

    QString m_file;
    std::vector<PageBlock> m_blocks;
    std::size_t m_released = 0;
    qint64 m_size = 0;
    bool m_isTooLarge = false;
};
