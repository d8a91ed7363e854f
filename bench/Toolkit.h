// bench/Toolkit.h
//
// The same transfers with nothing but the toolkit: what a QNetworkAccessManager takes that hands the bytes on and does
// nothing else. Both calls spin the event loop.

#pragma once

#include <QString>
#include <QUrl>

/// The time in seconds until \p source stands in the file \p target, whatever its certificate; not a number on failure.
double toolkitDownloadSeconds(const QUrl &source, const QString &target);
/// The time in seconds for a POST of the file \p source, which is read as it is sent; not a number on failure.
double toolkitUploadSeconds(const QString &source, const QUrl &target);
