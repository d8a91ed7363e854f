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

    /// What is the same at every visit.
    struct Facts
    {
        QString id;  ///< in file names and in tour.json
        QString tab; ///< the portal's display name
        QStringList steps;
        Sights sights;
        QString settings;  ///< the plug-in's settings file that keeps the session, where one does
        Trace admission;   ///< what shows that the service let the user in, once
        Trace download;    ///< one answer for each file that comes with an entry; filesOf() says how many there are
        Trace upload;      ///< the answer to an upload of a new file, on a portal that takes files
        Trace replacement; ///< and to one that replaces another
    };

    virtual ~PortalGuide() = default;
    const Facts &facts() const { return m_facts; }

    /// Clicks Login and waits until the sign-in page can be answered: as it is here, one in the plug-in's dialog with
    /// the fields "user" and "password" and the button "sign-in".
    virtual bool askToSignIn(CloudPage &page);
    /// Answers it and waits until the tab shows the user's name and files.
    virtual bool answerSignIn(CloudPage &page);
    /// Whether the plug-in keeps a session on disk, \p userDir being the host's folder for the user.
    virtual bool hasStoredSession(const QString &userDir) const;

    /// What the list must show, in any order.
    virtual QStringList entries(const View &view) const;
    virtual Trace listing(const View &view) const = 0;
    virtual int filesOf(const QStringList &folder, const QString &name) const;
    /// The file on the cloud's disk that the entry stands for, and the name under which it arrives.
    virtual QString original(const QStringList &folder, const QString &name) const;
    virtual QString localName(const QStringList &folder, const QString &name) const;

    int answers(const Trace &trace) const;

protected:
    PortalGuide(const Facts &facts, Driver &driver, const CloudProcess &cloud)
        : m_driver(driver), m_cloud(cloud), m_facts(facts)
    {}
    /// What the service serves, on the cloud's disk.
    virtual QString served() const = 0;

    Driver &m_driver;
    const CloudProcess &m_cloud;

private:
    Facts m_facts;
};

/// A guide for each portal that the plug-in has, in the order of its tabs. Both references must outlive the guides.
std::vector<std::unique_ptr<PortalGuide>> portalGuides(Driver &driver, const CloudProcess &cloud);
