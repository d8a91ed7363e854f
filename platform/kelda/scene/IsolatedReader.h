// scene/IsolatedReader.h
//
// Reads a model file in a separate process, the program kelda_reader, because Assimp can crash or loop endlessly on a
// damaged file.

#pragma once

#include "scene/FileOptions.h"
#include "scene/ModelData.h"

#include <QDataStream>

struct Translator;

/// The request that the host sends to kelda_reader.
struct ReadRequest
{
    QString path;
    QString translator; ///< the translator's name; if empty, the file's first bytes determine the kind of file
    OptionValues options;
};

inline QDataStream &operator<<(QDataStream &stream, const ReadRequest &request)
{
    return stream << request.path << request.translator << request.options;
}

inline QDataStream &operator>>(QDataStream &stream, ReadRequest &request)
{
    return stream >> request.path >> request.translator >> request.options;
}

class IsolatedReader
{
public:
    static constexpr int kDefaultTimeoutMs = 20'000;

    /// Like ModelReader::read. Blocks until the process ends, without spinning the event loop. Throws FileError also if
    /// the process crashes, exceeds its memory limit, or computes longer than the time-out plus four seconds per MiB of
    /// the file.
    static ModelData read(const QString &path, const Translator *translator, const OptionValues &options);
    static void setTimeout(int milliseconds) { s_timeoutMs = milliseconds; }

private:
    static int s_timeoutMs;
};
