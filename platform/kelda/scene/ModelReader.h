// scene/ModelReader.h
//
// Reads a model file with the import library. The library trusts its input more than files from anywhere deserve: a
// damaged one can crash it or keep it busy for ever, so readIsolated() lets a process of its own do the work.

#pragma once

#include "scene/FileOptions.h"
#include "scene/ModelData.h"

struct Translator;

class ModelReader
{
public:
    /// More corners or points than this in one file are refused.
    static constexpr qint64 mostCorners = 100'000'000;
    /// Coordinates beyond this, after scaling, are refused.
    static constexpr float largestCoordinate = 1e15F;

    /// Reads \p path as \p translator does; null tries what the file's first bytes suggest. At least one part. Throws
    /// FileError, and whatever the library throws.
    static ModelData read(const QString &path, const Translator *translator, const OptionValues &options);

    /// The same in a child process; blocks until it ended. A child that crashes, or computes longer than the patience
    /// and four seconds per MiB of the file, throws FileError. That is some twenty times what sound files take.
    static ModelData readIsolated(const QString &path, const Translator *translator, const OptionValues &options);
    static void setPatience(int milliseconds);
    static constexpr int defaultPatienceMs = 20'000;

private:
    static int s_patienceMs;
};
