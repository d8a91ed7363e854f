// tour/Tour.h
//
// Runs the steps of all portals and writes a picture of each step and tour.json.

#pragma once

#include "tour/PortalGuide.h"

#include <QJsonArray>
#include <QTemporaryDir>

class Tour
{
public:
    /// \p folder for pictures and tour.json; created if it is missing.
    explicit Tour(const QString &folder);

    /// Runs every step, also after a failure. Returns true if all steps succeeded and all files were written.
    bool run();

private:
    using Step = bool (Tour::*)();
    static Step stepNamed(const QString &name);

    // Each step starts where the one before it ended. It sets m_detail, or fails with m_driver.fail().
    bool signIn();
    bool list() { return checkList({}); }
    bool openFolder();
    bool search();
    bool nextPage();
    bool downloadLargeModel();
    bool importTexturedModel();
    bool exportScene();
    bool checkUpload();
    bool replaceFile();

    bool begin();
    void runStep(const QString &name);
    void takePicture();
    bool savePicture(const QString &suffix = QString()) const;
    bool writeReport() const;

    bool goTo(const QStringList &folder);
    /// Compares the list with the cloud's disk, and checks that the cloud served it.
    bool checkList(const PortalGuide::View &view);
    /// Imports \p name from the current folder into an empty scene, and compares the downloaded file with the cloud's.
    bool import(const QString &name);
    /// The path of a file below the download folder; empty if it does not exist.
    QString localFile(const QString &name) const;
    QString userDir() const { return m_scratch.filePath(QStringLiteral("kelda")); }
    const PortalGuide::Facts &facts() const { return m_guide->facts(); }

    QString m_folder;
    QTemporaryDir m_scratch;
    CloudProcess m_cloud;
    Driver m_driver;
    std::unique_ptr<PortalGuide> m_guide;
    std::unique_ptr<CloudPage> m_page;
    QStringList m_place; ///< the current folder
    QString m_detail;
    QString m_pictureName; ///< of the current step, without suffix
    QImage m_picture;
    QJsonArray m_steps;
    bool m_ok = true;
};
