// tour/PortalGuide.h
//
// What a traveller must know of one portal: how one signs in there, what is worth a visit, and how the local cloud
// proves, without the plug-in's help, that something happened.

#pragma once

#include "tour/CloudPage.h"
#include "tour/CloudProcess.h"

#include <memory>
#include <vector>

class PortalGuide
{
public:
    struct Sights
    {
        QStringList folder;  ///< opened by `open-folder`, from the root on
        QStringList archive; ///< holds `large`
        QString large;       ///< a big file, for `download`
        QString model;       ///< a file with a texture in `folder`, for `import`
        QString keyword;     ///< for `search` in `folder`
    };
    /// Requests that count as a proof when the cloud answered them with \a status.
    struct Trace
    {
        QString method;
        QString target; ///< its beginning
        int status = 200;
    };
    /// What is shown of a folder.
    struct View
    {
        QStringList folder;
        QString keyword;
        int page = 1;
    };

    PortalGuide(Driver &driver, const CloudProcess &cloud) : m_driver(driver), m_cloud(cloud) {}
    virtual ~PortalGuide() = default;

    virtual QString id() const = 0;  ///< in file names and in tour.json
    virtual QString tab() const = 0; ///< the portal's display name
    virtual QStringList steps() const = 0;
    virtual Sights sights() const = 0;

    /// Clicks Login and waits until the sign-in page can be answered.
    virtual bool askToSignIn(CloudPage &page) = 0;
    /// Answers it and waits until the tab shows the user's name and files.
    virtual bool answerSignIn(CloudPage &page) = 0;
    /// What shows that the service let the user in, once.
    virtual Trace admission() const = 0;
    /// Whether the plug-in keeps a session on disk, \p userDir being the host's folder for the user.
    virtual bool hasStoredSession(const QString &userDir) const = 0;

    /// What the list must show, in any order.
    virtual QStringList entries(const View &view) const = 0;
    virtual Trace listing(const View &view) const = 0;
    /// One answer for each file that comes with the entry \p name of \p folder; filesOf() says how many there are.
    virtual Trace download() const = 0;
    virtual int filesOf(const QStringList &folder, const QString &name) const;
    /// The file on the cloud's disk that the entry stands for, and the name under which it arrives.
    virtual QString original(const QStringList &folder, const QString &name) const = 0;
    virtual QString localName(const QStringList &folder, const QString &name) const;
    /// The answer to an upload of a new file, and of one that replaces another, on a portal that takes files.
    virtual Trace upload() const;
    virtual Trace replacement() const;

    int answers(const Trace &trace) const;

protected:
    // For portals whose page stands in the plug-in's dialog, with the fields "user" and "password" and the button
    // "sign-in".
    bool askInDialog(CloudPage &page);
    bool answerInDialog(CloudPage &page, const QString &user, const QString &password);

    Driver &m_driver;
    const CloudProcess &m_cloud;
};

/// A guide for each portal that the plug-in has, in the order of its tabs. Both references must outlive the guides.
std::vector<std::unique_ptr<PortalGuide>> portalGuides(Driver &driver, const CloudProcess &cloud);
