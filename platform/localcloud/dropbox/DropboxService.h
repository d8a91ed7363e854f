// localcloud/dropbox/DropboxService.h
//
// Version 1 of the Dropbox interface over a folder of real files: sign-in, account, listing, download, upload.

#pragma once

#include "localcloud/CloudService.h"
#include "localcloud/dropbox/DropboxSignIn.h"
#include "localcloud/ServedFolder.h"

namespace localcloud {

class DropboxService : public CloudService
{
public:
    explicit DropboxService(const ServiceStorage &storage);

    DropboxSignIn &signIn() { return m_signIn; }

private:
    void list(const HttpRequest &request, HttpResponse &response) const;
    void download(const HttpRequest &request, HttpResponse &response) const;
    void upload(HttpRequest &request, HttpResponse &response) const;

    DropboxSignIn m_signIn;
    ServedFolder m_folder;
};

} // namespace localcloud
