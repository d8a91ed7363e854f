// scene/IsolatedReader.h
//
// Reads a model file in a process of its own, the program kelda_reader. The import library trusts its input more than
// files from anywhere deserve: a damaged one can crash it or keep it busy for ever.

#pragma once

#include "scene/FileOptions.h"
#include "scene/ModelData.h"

struct Translator;

class IsolatedReader
{
public:
    /// As ModelReader::read; blocks until the process has ended. A process that crashes, takes more memory than the
    /// file's size explains, or computes longer than the patience and four seconds per MiB of the file, throws
    /// FileError. That is some twenty times what sound files take.
    static ModelData read(const QString &path, const Translator *translator, const OptionValues &options);
    static void setPatience(int milliseconds);
    static constexpr int defaultPatienceMs = 20'000;

private:
    static int s_patienceMs;
};
