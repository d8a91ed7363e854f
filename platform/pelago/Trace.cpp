#include "Trace.h"

#include <QByteArray>

#include <cstdio>

namespace pelago {

namespace {

struct Sink
{
    int level = 0;
    TraceCallback callback = nullptr;
    void *context = nullptr;
};

Sink &sink()
{
    static Sink only;
    return only;
}

} // namespace

void setTraceLevel(int level)
{
    sink().level = level;
}

void setTraceCallback(TraceCallback callback, void *context)
{
    sink().callback = callback;
    sink().context = context;
}

void trace(TraceLevel level, const QString &line)
{
    const Sink target = sink();
    const int number = static_cast<int>(level);
    if (number > target.level)
        return;
    const QByteArray text = line.toUtf8();
    if (target.callback)
        target.callback(target.context, number, text.constData());
    else
        std::fprintf(stderr, "pelago: %s\n", text.constData());
}

} // namespace pelago
