// localcloud/zephal/ZephalService.h
//
// The document cloud Zephal: a sign-in page at /signin and a folder of files over WebDAV below /dav/.

#pragma once

#include "localcloud/CloudService.h"
#include "localcloud/TokenStore.h"
#include "localcloud/zephal/DavStorage.h"

namespace localcloud {

class ZephalService : public CloudService
{
public:
    explicit ZephalService(const ServiceStorage &storage);

    /// Returns a new token; empty if it cannot be stored.
    QString issueToken() { return m_tokens.add(randomBase64Key()); }
    void revokeTokens() { m_tokens.clear(); }

private:
    /// GET shows the page. POST takes the fields "user" and "password"; it shows the page with an error, or redirects
    /// to /signin/done with "user", "token", "first" and "last" in the query.
    void signIn(const HttpRequest &request, HttpResponse &response);
    /// Returns true if the request has the user's name with a token or the password; else fills \p response with 401.
    bool isSignedIn(const HttpRequest &request, HttpResponse &response) const;

    TokenStore m_tokens;
    DavStorage m_storage;
};

} // namespace localcloud
