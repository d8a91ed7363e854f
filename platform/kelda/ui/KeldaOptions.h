// ui/KeldaOptions.h
//
// The host program's command line.

#pragma once

#include <openkelda/KGlobal.h>

#include <QString>
#include <QStringList>

#include <vector>

struct KeldaOptions
{
    /// One thing to do after load, in the order given.
    struct Task
    {
        bool isScript = false; ///< text is a file to run, else a command
        QString text;
    };

    KGlobal::KeldaState mode = KGlobal::kInteractive;
    QString location; ///< empty: found from the program's own folder
    QString userDir;  ///< empty: the user's data folder for kelda
    QStringList plugIns;
    QString caFile;
    bool internalBrowser = false;
    std::vector<Task> tasks;
    bool quit = false;
    bool help = false;
    bool echo = true; ///< results and messages go to stdout

    bool hasWindow() const { return mode == KGlobal::kInteractive || mode == KGlobal::kBaseUI; }

    /// \p arguments without the program's name. False, with one line in \p error, for anything not understood.
    static bool parse(const QStringList &arguments, KeldaOptions &options, QString &error);
    static QString usage();
    /// The nearest folder at or above \p programFolder, three levels at most, that holds scripts and icons, or that has
    /// them in lib/kelda; \p programFolder itself when there is none.
    static QString findLocation(const QString &programFolder);
};
