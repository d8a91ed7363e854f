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
    /// A command or script to run after the plug-ins are loaded.
    struct Task
    {
        bool isScript = false; ///< text is the file of a script, else a command
        QString text;
    };

    KGlobal::KeldaState mode = KGlobal::kInteractive;
    QString location; ///< if empty, findLocation() is used
    QString userDir;  ///< if empty, the user's data folder for kelda
    QStringList plugIns;
    QString caFile;
    bool internalBrowser = false;
    std::vector<Task> tasks;
    bool quit = false;
    bool help = false;
    bool echo = true; ///< print results and messages to stdout

    bool hasWindow() const { return mode == KGlobal::kInteractive || mode == KGlobal::kBaseUI; }

    /// \p arguments without the program's name. Returns false, with one line in \p error, for invalid arguments.
    static bool parse(const QStringList &arguments, KeldaOptions &options, QString &error);
    static QString usage();
    /// Returns the nearest folder at or above \p programFolder, three levels at most, that contains scripts and icons
    /// itself or in lib/kelda; else \p programFolder.
    static QString findLocation(const QString &programFolder);
};
