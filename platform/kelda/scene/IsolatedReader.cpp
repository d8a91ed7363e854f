#include "scene/ModelReader.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// How much more memory than the host has the child may take: some for every file, and a multiple of the file's size.
/// A file that refers to itself in a circle would fill the machine otherwise.
constexpr rlim_t basicMemory = rlim_t(512) << 20;
constexpr rlim_t memoryPerByte = 150;

/// A file without a name, for what the child has to say.
class SharedMemoryFile
{
public:
    SharedMemoryFile() : m_handle(memfd_create("kelda-import", MFD_CLOEXEC))
    {
        if (m_handle < 0)
            throw FileError(QStringLiteral("there is no memory for it"));
    }
    ~SharedMemoryFile() { close(m_handle); }
    SharedMemoryFile(const SharedMemoryFile &) = delete;
    SharedMemoryFile &operator=(const SharedMemoryFile &) = delete;

    int handle() const { return m_handle; }

private:
    int m_handle;
};

void startTimer(__itimer_which kind, int milliseconds)
{
    itimerval limit{};
    limit.it_value.tv_sec = milliseconds / 1000;
    limit.it_value.tv_usec = (milliseconds % 1000) * 1000;
    setitimer(kind, &limit, nullptr);
}

rlim_t addressSpaceInUse()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readLine().split(' ').first().toULongLong() * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

/// What the child may use up before it is ended. Its death is quiet: no core file, nothing on the terminal.
void restrictChild(int computingMs, rlim_t memory)
{
    for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGINT, SIGTERM})
        std::signal(number, SIG_DFL);
    startTimer(ITIMER_PROF, computingMs);
    // A lock that another thread of the host held when the process split would otherwise be waited for for ever.
    startTimer(ITIMER_REAL, computingMs * 6);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const rlimit space{memory, memory};
    setrlimit(RLIMIT_AS, &space);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
}

[[noreturn]] void runChild(int handle, const std::function<ModelData()> &read)
{
    QString problem;
    ModelData model;
    try {
        model = read();
    } catch (const std::bad_alloc &) {
        problem = QStringLiteral("it needs more memory than there is");
    } catch (const std::exception &error) {
        problem = QString::fromUtf8(error.what());
    } catch (...) {
        problem = QStringLiteral("it is damaged");
    }
    QFile file;
    if (!file.open(handle, QIODevice::WriteOnly))
        _exit(EXIT_FAILURE);
    QDataStream stream(&file);
    stream << problem << model;
    _exit(file.flush() && stream.status() == QDataStream::Ok ? EXIT_SUCCESS : EXIT_FAILURE);
}

/// How the child ended.
int waitFor(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

} // namespace

int ModelReader::s_patienceMs = ModelReader::defaultPatienceMs;

void ModelReader::setPatience(int milliseconds)
{
    s_patienceMs = milliseconds;
}

ModelData ModelReader::readIsolated(const QString &path, const Translator *translator, const OptionValues &options)
{
    const SharedMemoryFile memory;
    const qint64 size = QFileInfo(path).size();
    const int computingMs = s_patienceMs + static_cast<int>(size >> 8);
    const rlim_t space = addressSpaceInUse() + basicMemory + memoryPerByte * static_cast<rlim_t>(size);
    const pid_t child = fork();
    if (child < 0)
        throw FileError(QStringLiteral("no process can be started to read it"));
    if (child == 0) {
        restrictChild(computingMs, space);
        runChild(memory.handle(), [&] { return read(path, translator, options); });
    }
    const int status = waitFor(child);
    if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGPROF || WTERMSIG(status) == SIGALRM))
        throw FileError(QStringLiteral("reading it does not come to an end, it is probably damaged"));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != EXIT_SUCCESS)
        throw FileError(QStringLiteral("it is damaged"));

    QFile file;
    if (!file.open(memory.handle(), QIODevice::ReadOnly) || !file.seek(0))
        throw FileError(QStringLiteral("its contents got lost"));
    QDataStream stream(&file);
    QString problem;
    ModelData model;
    stream >> problem >> model;
    if (!problem.isEmpty())
        throw FileError(problem);
    if (stream.status() != QDataStream::Ok)
        throw FileError(QStringLiteral("its contents got lost"));
    return model;
}
