// localcloud/plyx/PlyxService.h
//
// The model-sharing service Plyx over a folder of published models: sign-in, member, search, models, downloads.
// Two further hosts serve the downloads; each redirects to the other one.

#pragma once

#include "localcloud/CloudService.h"
#include "localcloud/plyx/PlyxCatalogue.h"
#include "localcloud/plyx/PlyxSignIn.h"

namespace localcloud {

class PlyxService : public CloudService
{
public:
    explicit PlyxService(const ServiceStorage &storage);
    bool open(QString *error) override { return m_catalogue.open(m_folder, error); }

    PlyxSignIn &signIn() { return m_signIn; }

private:
    using Shelf = PlyxQuery::Shelf;

    void member(const HttpRequest &request, HttpResponse &response) const;
    void list(const HttpRequest &request, Shelf shelf, HttpResponse &response) const;
    void asset(const HttpRequest &request, HttpResponse &response) const;
    void chooseServer(HttpResponse &response);
    void download(const HttpRequest &request, HttpResponse &response) const;
    void sendFile(const HttpRequest &request, HttpResponse &response) const;
    void thumbnail(const HttpRequest &request, HttpResponse &response) const;

    QString m_folder;
    PlyxSignIn m_signIn;
    PlyxCatalogue m_catalogue;
    int m_nextServer = 0;
};

} // namespace localcloud
