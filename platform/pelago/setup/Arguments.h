// setup/Arguments.h
//
// What the user of pelago-setup wants: the command line, and the name and password that are asked for.

#pragma once

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

class Arguments
{
public:
    /// Reads the command line and asks for what is missing. False if the program must end with exitStatus().
    bool read(const QStringList &commandLine);
    int exitStatus() const { return m_exitStatus; }

    /// The number of the section in Skein_Service_Deployment.
    int number() const;
    /// The lines of the section.
    QVector<QPair<QString, QString>> values() const;

    QString address;
    QString section = QStringLiteral("production");
    QString caFile;
    QString user;
    QString password;

private:
    bool parse(const QStringList &commandLine);

    bool m_allowsPlainHttp = false;
    int m_exitStatus = 2;
};
