// tour/PortalGuide.h
//
// One portal of the tour: its steps, its sign-in, its models, and the requests and files by which the local cloud shows
// that an action succeeded.

#pragma once

#include "tour/CloudPage.h"
#include "tour/CloudProcess.h"

#include <memory>
#include <vector>

class PortalGuide
{
public:
    /// Matches requests that the cloud answered with \a status and whose target begins with \a target.
    struct Pattern
    {
        QString method;
        QString target;
        int status = 200;
    };
    /// A folder as the list shows it.
    struct View
    {
        QStringList folder; ///< names from the root
        QString keyword;
        int page = 1;
    };

    struct Facts
    {
        QString id;            ///< in file names and in tour.json
        QString tab;           ///< the portal's display name
        QStringList steps;     ///< names of steps of the tour, in order
        QStringList folder;    ///< for the steps open-folder, search, page and import
        QString texturedModel; ///< in `folder`
        QString keyword;       ///< for the step search
        QStringList largeModelFolder;
        QString largeModel; ///< an OBJ file for the step download
        QString settings;   ///< the plug-in's settings file with the session
        Pattern signIn;     ///< one request for each sign-in
        Pattern download;   ///< one request for each of fileCount() files
        Pattern upload;     ///< one request for each new file
        Pattern replacement;
    };

    virtual ~PortalGuide() = default;
    const Facts &facts() const { return m_facts; }

    /// Clicks Login and waits for the sign-in page. By default it is in the plug-in's dialog and has the fields "user"
    /// and "password" and the button "sign-in".
    virtual bool openSignInPage(CloudPage &page);
    /// Signs in on that page and waits until the tab shows the user's name and files.
    virtual bool signIn(CloudPage &page);
    /// The session that the plug-in has stored; empty if it does not exist. \p userDir is the host's user folder.
    virtual QString storedSession(const QString &userDir) const;

    /// The names that the list must show, in any order.
    virtual QStringList entries(const View &view) const;
    /// The request for \p view.
    virtual Pattern listing(const View &view) const = 0;
    /// The number of files that a download of the entry consists of.
    virtual int fileCount(const QStringList &folder, const QString &name) const;
    /// The entry's file on the disk of the cloud.
    virtual QString original(const QStringList &folder, const QString &name) const;
    /// The name of the downloaded file.
    virtual QString localName(const QStringList &folder, const QString &name) const;

    int countRequests(const Pattern &pattern) const;

protected:
    PortalGuide(Driver &driver, const CloudProcess &cloud, const QString &servedFolder, const Facts &facts)
        : m_driver(driver), m_cloud(cloud), m_servedFolder(servedFolder), m_facts(facts)
    {}

    Driver &m_driver;
    const CloudProcess &m_cloud;
    const QString m_servedFolder; ///< the service's data on the disk of the cloud

private:
    const Facts m_facts;
};

/// The guides of all portals, in the order of the tabs. \p driver and \p cloud, which was started, must outlive them.
std::vector<std::unique_ptr<PortalGuide>> portalGuides(Driver &driver, const CloudProcess &cloud);
/// The guide of the portal with that display name, which must exist.
std::unique_ptr<PortalGuide> portalGuide(const QString &tab, Driver &driver, const CloudProcess &cloud);
