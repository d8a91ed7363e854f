// setup/Arguments.h
//
// The command line of pelago-setup, and the user name and the password.

#pragma once

#include <QString>
#include <QStringList>

struct Arguments
{
    /// Parses the command line, then reads the user name and the password from the environment or the standard input.
    /// Returns false if the program must end with exitStatus.
    bool read(const QStringList &commandLine);

    QString address;
    int section = 0; ///< as in Skein_Service_Deployment
    bool allowsPlainHttp = false;
    QString caFile; ///< empty if not given
    QString user;
    QString password;
    int exitStatus = 2;

    QString sectionName() const;

private:
    bool parse(const QStringList &commandLine);
};
