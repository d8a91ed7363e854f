#include "scene/IsolatedReader.h"

#include "scene/Translators.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The memory limit of the process, in addition to the host's current use. Without it, a file that refers to itself
/// could use all memory.
constexpr rlim_t kBasicMemory = rlim_t(512) << 20;
constexpr rlim_t kMemoryPerByte = 150; ///< of the file

/// An unnamed file in memory that passes the request to the process and the result back.
class SharedMemoryFile
{
public:
    SharedMemoryFile() : m_handle(memfd_create("kelda-import", MFD_CLOEXEC))
    {
        if (m_handle < 0 || !m_file.open(m_handle, QIODevice::ReadWrite))
            throw FileError(QStringLiteral("out of memory"));
    }
    ~SharedMemoryFile()
    {
        m_file.close();
        if (m_handle >= 0)
            close(m_handle);
    }
    SharedMemoryFile(const SharedMemoryFile &) = delete;
    SharedMemoryFile &operator=(const SharedMemoryFile &) = delete;

    int handle() const { return m_handle; }
    /// Moves to the beginning of the file and returns it.
    QFile &rewound()
    {
        if (!m_file.seek(0))
            throw FileError(QStringLiteral("the result of the reader is incomplete"));
        return m_file;
    }

private:
    int m_handle;
    QFile m_file;
};

rlim_t addressSpaceInUse()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readLine().split(' ').first().toULongLong() * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

/// kelda_reader in the folder of the running program, or in the folder "bin" beside that folder.
QByteArray readerProgram()
{
    const QString own = QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath()).absolutePath();
    const QString beside = own + QStringLiteral("/kelda_reader");
    return QFile::encodeName(QFileInfo(beside).isExecutable() ? beside : own + QStringLiteral("/../bin/kelda_reader"));
}

void startTimer(__itimer_which kind, int milliseconds)
{
    itimerval limit{};
    limit.it_value.tv_sec = milliseconds / 1000;
    limit.it_value.tv_usec = (milliseconds % 1000) * 1000;
    setitimer(kind, &limit, nullptr);
}

/// Starts the reader in the forked process. Must not allocate memory, because another thread of the host may have held
/// a lock during the fork. The limits stay in force after execv(). A crash writes no core file and no output.
[[noreturn]] void becomeReader(char *const *arguments, int handle, int computingMs, rlim_t memory)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int number : {SIGPROF, SIGALRM, SIGINT, SIGTERM})
        std::signal(number, SIG_DFL);
    startTimer(ITIMER_PROF, computingMs);
    startTimer(ITIMER_REAL, computingMs * 6); // for a file system that blocks
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const rlimit space{memory, memory};
    setrlimit(RLIMIT_AS, &space);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    fcntl(handle, F_SETFD, 0);
    execv(arguments[0], arguments);
    _exit(EXIT_FAILURE);
}

/// Runs the reader with limits of its computing time and its memory in bytes. Returns the status of waitpid().
int runReader(int handle, int computingMs, rlim_t memory)
{
    QByteArray program = readerProgram();
    QByteArray number = QByteArray::number(handle);
    char *const arguments[] = {program.data(), number.data(), nullptr};
    if (access(program.constData(), X_OK) != 0)
        throw FileError(QStringLiteral("the program %1 is missing").arg(QFile::decodeName(program)));
    const pid_t child = fork();
    if (child < 0)
        throw FileError(QStringLiteral("the reader process cannot be started"));
    if (child == 0)
        becomeReader(arguments, handle, computingMs, memory);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

} // namespace

int IsolatedReader::s_timeoutMs = IsolatedReader::kDefaultTimeoutMs;

ModelData IsolatedReader::read(const QString &path, const Translator *translator, const OptionValues &options)
{
    SharedMemoryFile memory;
    QDataStream request(&memory.rewound());
    request << ReadRequest{path, translator ? translator->name : QString(), options};
    memory.rewound(); // also flushes; both processes share the position

    const qint64 size = QFileInfo(path).size();
    const rlim_t limit = addressSpaceInUse() + kBasicMemory + kMemoryPerByte * static_cast<rlim_t>(size);
    const int status = runReader(memory.handle(), s_timeoutMs + static_cast<int>(size >> 8), limit);
    if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGPROF || WTERMSIG(status) == SIGALRM))
        throw FileError(QStringLiteral("reading takes too long, the file is probably damaged"));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != EXIT_SUCCESS)
        throw FileError(QStringLiteral("it is damaged"));

    QDataStream result(&memory.rewound());
    QString problem;
    ModelData model;
    result >> problem >> model;
    if (!problem.isEmpty())
        throw FileError(problem);
    if (result.status() != QDataStream::Ok)
        throw FileError(QStringLiteral("the result of the reader is incomplete"));
    return model;
}
