// localcloud/http/OneTimeFiles.h
//
// Downloads from addresses that hold a random key: no header is needed, and each address works once.

#pragma once

#include <QHash>

#include <localcloud/http/HttpTypes.h>

namespace localcloud {

class OneTimeFiles
{
public:
    /// \p prefix is the path below which the addresses lie, with its slashes.
    explicit OneTimeFiles(const QByteArray &prefix) : m_prefix(prefix) {}

    /// Answers with a redirect to a new address of the local \p file at \p host, over https when \p request came so.
    /// After a thousand unused addresses all of them are forgotten.
    void redirect(const HttpRequest &request, const QString &host, const QString &file, HttpResponse &response);

    /// Serves a request whose path begins after the prefix. 403 for an address that was used or never given out.
    void serve(const HttpRequest &request, HttpResponse &response);

private:
    QByteArray m_prefix;
    QHash<QString, QString> m_files; ///< key to local path
};

} // namespace localcloud
