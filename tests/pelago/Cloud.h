// pelago/Cloud.h
//
// One user at one storage address, through the flat interface only.

#pragma once

#include <pelago/pelago.h>

#include <QTemporaryDir>
#include <QVector>

struct Entry
{
    QString id;
    QString name;
    QString modified;
    QString mediaType;
    qint64 size;

    bool isFolder() const { return mediaType.isEmpty() && size == 0; }
};

class Cloud
{
public:
    /// Writes a pelago.ini with \p more lines and opens a session, with what its file remembers.
    explicit Cloud(const QString &storage, const QByteArray &more = "kind=password\n");
    ~Cloud();

    /// Signs in as demo and makes the end point.
    int signIn(const char *password = "demo");
    int list(const QString &folder, QVector<Entry> *entries) const;
    /// Into local("got").
    int download(const QString &folder, const QString &name) const;
    int upload(const QString &folder, const QString &name, const QByteArray &content) const;
    int replace(const QString &folder, const QString &name, const QByteArray &content) const;

    QString local(const QString &name) const { return m_home.filePath(name); }
    QByteArray got() const;

    int64_t session = -1;
    int64_t endPoint = -1;
    QString storage;
    mutable qint64 done = -1;     ///< what the last transfer told last
    mutable qint64 total = -2;    ///< likewise
    mutable QVector<int> results; ///< of the transfer call-backs

private:
    QByteArray writeLocal(const QByteArray &content) const;

    QTemporaryDir m_home;
};
